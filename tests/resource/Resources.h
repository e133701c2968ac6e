#pragma once

// A manager of its own for each test, with files in a directory that is also HOME.

#include "resource/p_api.h"
#include "tests/resource/ResourceChecker.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

class Resources : public testing::Test
{
protected:
    Resources()
    {
        setenv("HOME", dir.path().c_str(), 1);
        init_resource_manager();
    }
    ~Resources() override
    {
        delete resource_manager;
        resource_manager = nullptr;
    }

    void check() const
    {
        EXPECT_EQ(test::ResourceChecker::faultOf(*resource_manager), "");
    }

    /// What `action` writes to standard error.
    static std::string messages(const std::function<void()>& action)
    {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }

    void loadWorkbench(const std::string& text) const
    {
        load_resources(dir.write("workbench", text).c_str(), nullptr, nullptr);
        check();
    }
    void loadUser(const std::string& text) const
    {
        load_resources(nullptr, dir.write("user", text).c_str(), nullptr);
        check();
    }
    void loadExplicit(const std::string& text, const std::string& name = "explicit") const
    {
        load_resources(nullptr, nullptr, dir.write(name, text).c_str());
        check();
    }

    /// All resources, as print_resources writes them.
    static std::string dump()
    {
        char* text = nullptr;
        std::size_t size = 0;
        FILE* const stream = open_memstream(&text, &size);
        print_resources(stream);
        std::fclose(stream);
        std::string result(text, size);
        std::free(text);
        return result;
    }

    /// The lines of a loaded file; "-" when there is no such file.
    static std::string linesOf(T_resource_source source)
    {
        const T_resource_file* const file = resource_manager->get_file(source);
        std::string result = file ? "" : "-";
        const T_resource_line* line = file ? file->first_line() : nullptr;
        for (; line != nullptr; line = line->next_line()) {
            result += std::string(line->get_value().get_text()) + "\n";
        }
        return result;
    }

    test::TempDir dir;
};
