#include "mechanism/Mechanism_p.h"

#include "resource/p_api.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <string>

namespace
{

TEST(ToolLocation, ADefinedResourceWinsOverThePath)
{
    const test::TempDir dir;
    const std::string file = dir.write("resources", "ORN*Proof*Solver: /opt//bin/./x/../Lösung/\n"
                                                    "ORN*Other*Elsewhere: /other\n"
                                                    "ORN*Proof*Empty: \\\n\n");
    init_resource_manager();
    load_resources(file.c_str(), nullptr, nullptr);
    const char* const rows[][2] = {
        {"", "/a//b/"},
        {"Solver", "/opt/bin/Lösung"},
        {"X*Proof*Solver", "/opt/bin/Lösung"},
        {"Other*Elsewhere", "/a//b/"},
        {"Solver*", "/a//b/"},
        {"Empty", "/a//b/"},
    };
    for (const auto& [resource, path] : rows) {
        EXPECT_EQ(mechanism::computePath(QStringLiteral("/a//b/"), QString::fromUtf8(resource)),
                  QString::fromUtf8(path))
            << resource;
    }
    delete_ormalin_resources();
}

TEST(ToolLocation, RefusesWhatIsMissingOrNotExecutable)
{
    const test::TempDir dir;
    const std::string script = dir.script("tülle", "");
    const std::string text = dir.write("text", "");
    const std::string link = dir.path("link");
    std::filesystem::create_symlink(dir.path("gone"), link);
    const std::string withNul = script + std::string("\0x", 2);
    const std::pair<std::string, std::string> rows[] = {
        {script, ""},
        {dir.path(), ""},
        {"", "Empty tool path\n"},
        {"sh", "Tool path does not exists: sh\n"},
        {link, "Tool path does not exists: " + link + "\n"},
        {text, "Tool path not executable: " + text + "\n"},
        {withNul, "Tool path does not exists: " + withNul + "\n"},
    };
    for (const auto& [path, line] : rows) {
        const test::Captured errors(std::cerr);
        EXPECT_EQ(mechanism::checkPath(QString::fromStdString(path)), line.empty()) << path;
        EXPECT_EQ(errors.text(), line);
    }
}

} // namespace
