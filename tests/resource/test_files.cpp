#include "tests/resource/Resources.h"

#include <csignal>
#include <filesystem>

#include <sys/resource.h>
#include <sys/stat.h>

extern "C" int api_in_c(const char* file);

namespace
{

std::string value(const char* tool, const char* resource)
{
    const char* const found = lookup_resource(tool, resource);
    return found ? found : "(none)";
}

} // namespace

TEST_F(Resources, NothingHappensWithoutManager)
{
    delete resource_manager;
    resource_manager = nullptr;
    EXPECT_EQ(get_resource_manager(), nullptr);
    EXPECT_EQ(lookup_resource("T", "K"), nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(messages([&] {
                  load_resources("/none", "/none", "/none");
                  set_resource("T", "K", "v");
                  save_resources();
                  print_resources(stdout);
                  resource_info();
                  delete_resource("T", "K");
                  delete_tool_resources("T");
                  delete_all_resources();
                  delete_explicit_resources();
              }),
              "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Resources, CProgramsUseTheWholeInterface)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(api_in_c(dir.write("file", "\n").c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ORN*Tool*key: value\n"
                                                      "- Resource Manager version svn\n"
                                                      "The following flags have been used : \n"
                                                      "Compiled with gcc version 7.5.0\n"
                                                      "Compiled for Linux target\n"
                                                      "(Pentium version)\n");
    EXPECT_EQ(test::contentOf(dir.path("file")), "\nORN*Tool*key: value\n");
    check();
}

TEST_F(Resources, DefinitionReadLastCountsAndTakesNoneBackWhenItGoes)
{
    const std::string workbench = dir.write("w", "! why\nORN*T*K: \\\nw\nORN*T*L: w\n");
    const std::string user = dir.write("u", "ORN*T*K: u\n");
    const std::string named = dir.write("e", "ORN*T*K: e\n");
    load_resources(workbench.c_str(), user.c_str(), named.c_str());
    check();
    EXPECT_EQ(value("T", "K"), "e");
    // Every line of the definition moved away is gone; its comment stays in the file.
    EXPECT_EQ(linesOf(RESOURCE_SOURCE_ORMALIN), "! why\nORN*T*L: w\n");
    EXPECT_EQ(linesOf(RESOURCE_SOURCE_USER), "");
    delete_explicit_resources();
    check();
    EXPECT_EQ(lookup_resource("T", "K"), nullptr);
    loadWorkbench("ORN*T*M: w\n");
    EXPECT_EQ(dump(), "ORN*T*M: w\n");
}

TEST_F(Resources, ExplicitFileIsLaidOverTheLinesOfTheOneBefore)
{
    loadExplicit("! one\nORN*T*A: 1\nORN*T*B: \\\n2\nORN*T*C: 3\n");
    loadExplicit("ORN*T*A: 4\n! two\nORN*T*D: 5\n", "other");
    EXPECT_EQ(linesOf(RESOURCE_SOURCE_EXPLICIT), "ORN*T*A: 4\n! two\nORN*T*D: 5\n2\nORN*T*C: 3\n");
    EXPECT_EQ(dump(), "ORN*T*A: 4\nORN*T*D: 5\nORN*T*C: 3\n");
    EXPECT_EQ(resource_manager->get_file(RESOURCE_SOURCE_EXPLICIT)->get_name(), dir.path("other"));
}

TEST_F(Resources, FilesThatHoldNothingReadableAreReportedAndSkipped)
{
    ASSERT_EQ(mkfifo(dir.path("fifo").c_str(), 0600), 0);
    const std::string empty = dir.write("empty", "");
    const std::pair<std::string, std::string> rows[] = {
        {empty, ""},
        {dir.path("fifo"), ""},
        {"/dev/zero", ""},
        {dir.path("none"), "Unable to open resource file " + dir.path("none") +
                               " because: No such file or directory\n"},
        {dir.path(), "Can not read file: " + dir.path() + " because: Is a directory\n"},
    };
    for (const auto& [path, report] : rows) {
        loadUser("ORN*T*K: v\n");
        EXPECT_EQ(messages([&, name = path] {
                      load_resources(nullptr, name.c_str(), nullptr);
                  }),
                  report);
        EXPECT_EQ(dump(), "") << path;
        check();
    }
}

TEST_F(Resources, ResourceThatIsSetIsWrittenIntoTheWritableFile)
{
    loadWorkbench("! why\nORN*T*K: \\\nw\n");
    set_resource("T", "K", "1");
    set_resource("U", "L", "2");
    set_resource("U", nullptr, "x");
    set_resource("U", "M", nullptr);
    set_resource(nullptr, "N", "3");
    check();
    EXPECT_EQ(linesOf(RESOURCE_SOURCE_ORMALIN), "! why\n");
    EXPECT_EQ(linesOf(RESOURCE_SOURCE_USER), "ORN*T*K: 1\nORN*U*L: 2\nORN*T*N: 3\n");
    EXPECT_EQ(resource_manager->get_file(RESOURCE_SOURCE_USER)->get_name(), dir.path(".Ormalin"));

    // In place, on one line: what led up to the value would take the new text for a continuation.
    loadUser("\nORN*T*K: \\\n\\\nu\n! end\n");
    set_resource("T", "K", lookup_resource("T", "K"));
    check();
    EXPECT_EQ(linesOf(RESOURCE_SOURCE_USER), "\nORN*T*K: u\n! end\n");

    // The user's file is not written while an explicit one is loaded.
    loadExplicit("\n");
    set_resource("T", "K", "3");
    check();
    EXPECT_EQ(linesOf(RESOURCE_SOURCE_USER), "\n! end\n");
    EXPECT_EQ(linesOf(RESOURCE_SOURCE_EXPLICIT), "\nORN*T*K: 3\n");
}

TEST_F(Resources, SavedFileKeepsItsFormerContentAsBackup)
{
    const std::string home = dir.write(".Ormalin", "old\n");
    set_resource("T", "K", "v");
    EXPECT_EQ(messages(save_resources), "");
    EXPECT_EQ(test::contentOf(home), "ORN*T*K: v\n");
    EXPECT_EQ(test::contentOf(home + "~"), "old\n");

    // Without any record, an empty one is made; without HOME, its path begins with nothing.
    delete_user_resources();
    EXPECT_EQ(messages(save_resources), "");
    EXPECT_EQ(test::contentOf(home), "");
    EXPECT_EQ(test::contentOf(home + "~"), "ORN*T*K: v\n");
    unsetenv("HOME");
    EXPECT_STREQ(get_default_user_file().get(), "/.Ormalin");
}

TEST_F(Resources, SavingReportsEachFailure)
{
    const std::string lost = dir.path("no/where");
    load_resources(nullptr, dir.write("no/where", "ORN*T*K: v\n").c_str(), nullptr);
    std::filesystem::remove_all(dir.path("no"));
    EXPECT_EQ(messages(save_resources),
              "Can rename file: " + lost + " in " + lost +
                  "~ because: No such file or directory\nCan not open file: " + lost +
                  " because: No such file or directory\n");

    // A full disk shows while writing a long text, and only on closing after a short one.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (const auto& [length, report] :
         {std::pair(3000U, "Can not close file: "), std::pair(90000U, "Can not write in file: ")}) {
        loadUser("\n");
        set_resource("T", "K", std::string(length, 'v').c_str());
        const rlimit small{2048, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        const std::string reported = messages(save_resources);
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(reported, report + dir.path("user") + " because: File too large\n");
    }
    std::signal(SIGXFSZ, handler);
}

TEST_F(Resources, ResourceWithoutLineIsReportedAndNotDefined)
{
    auto* const tool = resource_manager->set_tool("T");
    new T_resource_ident(tool, "K", "v");
    EXPECT_EQ(messages([&] {
                  EXPECT_EQ(tool->set_resource("K", "w", nullptr), nullptr);
              }),
              "Resource \"K\" sans ligne rattachee");
    EXPECT_STREQ(tool->first_ident()->get_value(), "w");
}

// Walking a list for every line would take minutes here.
TEST_F(Resources, HugeFilesTakeTimeInProportionToTheirLength)
{
    std::string distinct, chain = "ORN*T*K: \\\n", repeated, comments;
    for (int i = 0; i < 100000; ++i) {
        const std::string n = std::to_string(i);
        distinct.append("ORN*T").append(n).append("*K: v\nORN*T*K").append(n).append(": v\n");
        chain += "\\\n";
        repeated += "ORN*T*K: v\n";
        comments += "!\n";
    }
    const std::string first = dir.write("first", distinct);
    const std::string second = dir.write("second", chain + repeated + comments + distinct);
    load_resources(first.c_str(), nullptr, first.c_str());
    load_resources(nullptr, nullptr, second.c_str());
    loadUser("ORN*T*long: " + std::string(1 << 20, 'x') + "\n");
    EXPECT_EQ(value("T", "long").size(), 1U << 20);
    delete_tool_resources("T");
    delete_explicit_resources();
    EXPECT_EQ(dump(), "");
}
