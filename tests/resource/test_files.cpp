#include "tests/resource/Resources.h"

#include <csignal>
#include <ctime>
#include <utility>

#include <sys/resource.h>
#include <sys/stat.h>

extern "C" void api_in_c(void);

TEST_F(Resources, CProgramsUseTheWholeInterfaceOnceThereIsAManager)
{
    dir.write("file", "\n");
    T_resource_manager* const manager = std::exchange(resource_manager, nullptr);
    EXPECT_EQ(printed(api_in_c), "");
    resource_manager = manager;
    init_resource_manager();
    EXPECT_EQ(get_resource_manager(), manager);
    EXPECT_EQ(printed(api_in_c), "found\n"
                                 "ORN*Tool*key: value\n"
                                 "- Resource Manager version svn\n"
                                 "The following flags have been used : \n"
                                 "Compiled with gcc version 7.5.0\n"
                                 "Compiled for Linux target\n"
                                 "(Pentium version)\n");
    EXPECT_EQ(test::contentOf("file"), "\nORN*Tool*key: value\n");
}

TEST_F(Resources, DefinitionReadLastCountsAndTakesNoneBackWhenItGoes)
{
    load(W, "! gone\n! why\nORN*T*K: \\\nw\nORN*T*L: w\n");
    resource_manager->get_file(W)->delete_line(1);
    dir.write("user", "ORN*T*K: u\n");
    dir.write("explicit", "ORN*T*K: e\n");
    load_resources(nullptr, "user", "explicit");
    EXPECT_STREQ(lookup_resource("T", "K"), "e");
    // Every line of the definition moved away is gone; its comment stays in the file.
    EXPECT_EQ(shapeOf(W) + shapeOf(U), "! whyL");
    delete_explicit_resources();
    check();
    EXPECT_EQ(lookup_resource("T", "K"), nullptr);
    load(W, "ORN*T*M: w\n");
    EXPECT_EQ(printed(dump), "ORN*T*M: w\n");
}

TEST_F(Resources, ExplicitFileIsLaidOverTheLinesOfTheOneBefore)
{
    load(E, "! one\nORN*T*A: 1\nORN*T*B: \\\n2\nORN*T*C: 3\n");
    load(E, "ORN*T*A: 4\n! two\nORN*T*D: 5\n", "other");
    EXPECT_EQ(shapeOf(E), "A! twoD2C");
    EXPECT_EQ(printed(dump), "ORN*T*A: 4\nORN*T*D: 5\nORN*T*C: 3\n");
    EXPECT_EQ(resource_manager->get_file(E)->get_name(), std::string("other"));
    EXPECT_EQ(resource_manager->get_file(static_cast<T_resource_source>(3)), nullptr);
}

TEST_F(Resources, FilesThatHoldNothingReadableAreReportedAndSkipped)
{
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    dir.write("empty", "");
    const char* const rows[][2] = {
        {"empty", ""},
        {"fifo", ""},
        {"none", "Unable to open resource file none because: No such file or directory\n"},
        {".", "Can not read file: . because: Is a directory\n"},
    };
    for (const auto& [path, report] : rows) {
        load(U, "ORN*T*K: v\n");
        EXPECT_EQ(printed([name = path] {
                      load_resources(nullptr, name, nullptr);
                      dump();
                  }),
                  report)
            << path;
    }
}

TEST_F(Resources, ResourceThatIsSetIsSavedInTheWritableFileWithABackup)
{
    dir.write(".Ormalin", "old\n");
    set_resource(nullptr, "N", "there is no first tool yet");
    load(W, "ORN*T*K: \\\nw\n");
    set_resource("T", "K", "1");
    set_resource("U", "L", "2");
    set_resource("U", nullptr, "x");
    set_resource("U", "M", nullptr);
    set_resource(nullptr, "N", "3");
    EXPECT_EQ(lookup_resource("U", nullptr), nullptr);
    check();
    EXPECT_EQ(shapeOf(W), "");
    EXPECT_EQ(printed(save_resources), "");
    EXPECT_EQ(test::contentOf(".Ormalin"), "ORN*T*K: 1\nORN*U*L: 2\nORN*T*N: 3\n");
    EXPECT_EQ(test::contentOf(".Ormalin~"), "old\n");

    // An empty record is made when there is none; without HOME, its path begins with nothing.
    delete_user_resources();
    save_resources();
    EXPECT_EQ(test::contentOf(".Ormalin"), "");
    unsetenv("HOME");
    EXPECT_STREQ(get_default_user_file().get(), "/.Ormalin");

    // In place, on one line: what led up to the value would take the new text for a continuation.
    load(U, "\nORN*T*K: \\\n\\\nu\n! end\n");
    set_resource("T", "K", lookup_resource("T", "K"));
    check();
    save_resources();
    EXPECT_EQ(test::contentOf("file"), "\nORN*T*K: u\n! end\n");

    // The user's file is not written while an explicit one is loaded.
    load(E, "\n", "explicit");
    set_resource("T", "K", "3");
    EXPECT_EQ(shapeOf(U), "! end");
    save_resources();
    EXPECT_EQ(test::contentOf("explicit"), "\nORN*T*K: 3\n");
}

TEST_F(Resources, SavingReportsEachFailure)
{
    load(U, "ORN*T*K: v\n", "no/where");
    std::filesystem::remove_all("no");
    EXPECT_EQ(printed(save_resources),
              "Can rename file: no/where in no/where~ because: No such file or directory\n"
              "Can not open file: no/where because: No such file or directory\n");

    // A full disk shows while writing a long text, and only on closing after a short one.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    for (const auto& [length, report] :
         {std::pair(3000U, "Can not close file:"), std::pair(90000U, "Can not write in file:")}) {
        load(U, "\n");
        set_resource("T", "K", std::string(length, 'v').c_str());
        const rlimit small{2048, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
        const std::string reported = printed(save_resources);
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(reported, report + std::string(" file because: File too large\n"));
    }
    std::signal(SIGXFSZ, handler);
}

TEST_F(Resources, ResourceWithoutLineIsReportedAndNotDefined)
{
    auto* const tool = resource_manager->set_tool("T");
    new T_resource_ident(tool, "K", "v");
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(tool->set_resource("K", "w", nullptr), nullptr);
              }),
              "Resource \"K\" sans ligne rattachee");
    EXPECT_STREQ(lookup_resource("T", "K"), "w");
}

TEST_F(Resources, LoadingTakesTimeInProportionToTheLength)
{
    const auto timeFor = [&](int lines) {
        std::string text;
        for (int i = 0; i < lines; ++i) {
            text += "ORN*T*K" + std::to_string(i) + ": v\n";
        }
        dir.write("file", text);
        const std::clock_t begin = std::clock(); // of this process: the machine may be busy
        load_resources(nullptr, nullptr, "file");
        load_resources(nullptr, nullptr, "file");
        return std::clock() - begin;
    };
    const std::clock_t base = timeFor(2000);
    // Walking a list for every line would make it 256 times the base.
    EXPECT_LT(timeFor(32000), 64 * base);
}
