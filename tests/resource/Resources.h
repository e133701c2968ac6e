#pragma once

// A manager of its own for each test, in a directory of its own that is also HOME.

#include "resource/p_api.h"
#include "tests/resource/ResourceChecker.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

constexpr T_resource_source W = RESOURCE_SOURCE_ORMALIN;
constexpr T_resource_source U = RESOURCE_SOURCE_USER;
constexpr T_resource_source E = RESOURCE_SOURCE_EXPLICIT;

class Resources : public testing::Test
{
protected:
    Resources()
    {
        std::filesystem::current_path(dir.path());
        setenv("HOME", ".", 1);
        init_resource_manager();
    }
    ~Resources() override
    {
        delete resource_manager;
        resource_manager = nullptr;
    }

    static void check()
    {
        EXPECT_EQ(test::ResourceChecker::faultOf(*resource_manager), "");
    }

    /// Loads a file of that name with that text.
    void load(T_resource_source source, const std::string& text, const char* name = "file") const
    {
        dir.write(name, text);
        const char* paths[] = {nullptr, nullptr, nullptr};
        paths[source] = name;
        load_resources(paths[W], paths[U], paths[E]);
        check();
    }

    /// What `action` writes: standard error, then standard output.
    static std::string printed(const std::function<void()>& action)
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        action();
        const std::string errors = testing::internal::GetCapturedStderr();
        return errors + testing::internal::GetCapturedStdout();
    }
    static void dump()
    {
        print_resources(stdout);
    }

    /// The lines of a loaded file: the name of the resource, or the text when a line defines none.
    static std::string shapeOf(T_resource_source source)
    {
        const T_resource_file* const file = resource_manager->get_file(source);
        std::string shape = file ? "" : "none";
        for (auto* line = file ? file->first_line() : nullptr; line; line = line->next_line()) {
            shape +=
                line->get_ident() ? line->get_ident()->get_name() : line->get_value().get_text();
        }
        return shape;
    }

    test::TempDir dir;
};
