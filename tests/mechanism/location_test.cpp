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
                                                    "ORN*Other*Elsewhere: /other\n");
    init_resource_manager();
    load_resources(file.c_str(), nullptr, nullptr);
    set_resource("Proof", "Empty", "");
    const struct {
        const char* resource;
        const char* expected;
    } rows[] = {
        {"", "/a//b/"},
        {"Solver", "/opt/bin/Lösung"},
        {"Other*Proof*Solver", "/opt/bin/Lösung"},
        {"Other*Elsewhere", "/a//b/"},
        {"Solver*", "/a//b/"},
        {"Empty", "/a//b/"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(mechanism::computePath(QStringLiteral("/a//b/"), QString::fromUtf8(row.resource))
                      .toStdString(),
                  row.expected)
            << row.resource;
    }
    delete_user_resources();
    delete_ormalin_resources();
}

TEST(ToolLocation, RefusesWhatIsMissingOrNotExecutable)
{
    const test::TempDir dir;
    const std::string script = dir.script("tülle", "");
    const std::string text = dir.write("text", "");
    const std::string link = dir.path("link");
    std::filesystem::create_symlink(dir.path("gone"), link);
    const struct {
        std::string path;
        std::string line;
    } rows[] = {
        {script, ""},
        {dir.path(), ""},
        {"", "Empty tool path\n"},
        {"sh", "Tool path does not exists: sh\n"},
        {link, "Tool path does not exists: " + link + "\n"},
        {text, "Tool path not executable: " + text + "\n"},
        {script + std::string("\0x", 2),
         "Tool path does not exists: " + script + std::string("\0x", 2) + "\n"},
    };
    for (const auto& row : rows) {
        const test::Captured errors(std::cerr);
        EXPECT_EQ(mechanism::checkPath(QString::fromStdString(row.path)), row.line.empty())
            << row.path;
        EXPECT_EQ(errors.text(), row.line);
    }
}

} // namespace
