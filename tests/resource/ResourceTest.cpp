// Each test has a manager of its own, in a directory of its own that is also HOME.

#include "resource/p_api.h"
#include "resource/p_string.h"
#include "tests/resource/ResourceChecker.h"
#include "tests/support/Golden.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <utility>

#include <sys/resource.h>
#include <sys/stat.h>

extern "C" void api_in_c(void);

namespace
{

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
        delete std::exchange(resource_manager, nullptr);
        EXPECT_EQ(test::openFiles(), open);
    }

    static void check()
    {
        EXPECT_EQ(test::faultOf(*resource_manager), "");
    }

    /// Loads a file of that name with that text.
    void load(T_resource_source source, const std::string& text, const char* name = "file") const
    {
        dir.write(name, text);
        load_resources(source == W ? name : nullptr, source == U ? name : nullptr,
                       source == E ? name : nullptr);
        check();
    }

    /// What `action` writes, to standard error and then to standard output, and the resources.
    static std::string printed(const std::function<void()>& action = [] {})
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        action();
        print_resources(stdout);
        const std::string errors = testing::internal::GetCapturedStderr();
        return errors + testing::internal::GetCapturedStdout();
    }

    /// The lines of a loaded file: the name of the resource, or the text when a line defines none.
    static std::string shapeOf(T_resource_source source)
    {
        const T_resource_file* const file = resource_manager->get_file(source);
        std::string shape = file ? "" : "none";
        for (auto* line = file ? file->first_line() : nullptr; line; line = line->get_next()) {
            shape +=
                line->get_ident() ? line->get_ident()->get_name() : line->get_value().get_text();
        }
        return shape;
    }

    test::TempDir dir;
    const std::ptrdiff_t open = test::openFiles();
};

TEST_F(Resources, CProgramsUseTheWholeInterfaceOnceThereIsAManager)
{
    dir.write("file", "\n");
    T_resource_manager* const manager = std::exchange(resource_manager, nullptr);
    EXPECT_EQ(printed(api_in_c), "none\n");
    resource_manager = manager;
    init_resource_manager();
    EXPECT_EQ(get_resource_manager(), manager);
    EXPECT_EQ(printed(api_in_c), "found\nORN*Tool*key: value\n"
                                 "- Resource Manager version svn\n"
                                 "The following flags have been used : \n"
                                 "Compiled with gcc version 7.5.0\nCompiled for Linux target\n"
                                 "(Pentium version)\n");
    EXPECT_EQ(test::contentOf("file"), "\nORN*Tool*key: value\n");
}

TEST_F(Resources, LinesAreReadByTheGrammar)
{
    // Marks stand for what would not be seen in the file.
    test::expectCases("resource/golden/grammar.txt", [this](std::string text) {
        delete_all_resources();
        text = test::replaced(test::replaced(text, "TAB", "\t"), "RETURN", "\r");
        text = test::replaced(test::replaced(text, "BLANK", " "), "NUL", std::string(1, '\0'));
        return printed([&] {
            load(W, text.substr(0, text.find("END")));
        });
    });
}

TEST_F(Resources, DefinitionReadLastCountsAndTakesNoneBackWhenItGoes)
{
    load(W, "! gone\n! why\nORN*T*K: \\\nw\nORN*T*L: w\n");
    resource_manager->get_file(W)->delete_line(1);
    load(U, "ORN*T*K: u\nORN*T*M: u\n");
    load(E, "ORN*T*K: e\n");
    delete_resource("T", "M");
    // Every line of the definition moved away is gone; its comment stays in the file, nobody's.
    EXPECT_EQ(shapeOf(W) + shapeOf(U), "! whyL");
    delete_explicit_resources();
    EXPECT_EQ(lookup_resource("T", "K"), nullptr);
    load(W, "ORN*T*M: w\n");
    EXPECT_EQ(printed(), "ORN*T*M: w\n");
    // One call reads its files in a fixed order; what a later call reads counts, whatever the file.
    for (const std::string read : {"wu", "we", "ue", "u", "w"}) {
        const auto name = [&](const char* file) {
            dir.write(file, std::string("ORN*T*K: ") + file + "\n");
            return read.find(file) == std::string::npos ? nullptr : file;
        };
        load_resources(name("w"), name("u"), name("e"));
        EXPECT_STREQ(lookup_resource("T", "K"), &read.back());
    }
    load(W, "ORN*T*W: w\n");
    load(U, "ORN*T*U: u\n");
    load(E, "ORN*T*E: e\n");
    delete_user_resources();
    EXPECT_EQ(shapeOf(W) + shapeOf(U) + shapeOf(E), "WnoneE");
    delete_ormalin_resources();
    EXPECT_EQ(shapeOf(W) + shapeOf(E), "noneE");
}

TEST_F(Resources, ExplicitFileIsLaidOverTheLinesOfTheOneBefore)
{
    load(E, "ORN*T*A: 1\n! one\nORN*T*B: \\\n2\nORN*T*C: 3\n");
    load(W, "ORN*T*W: w\n");
    load(E, "ORN*T*A: 4\n! two\nORN*T*D: 5\n", "other");
    EXPECT_EQ(shapeOf(E), "A! twoD2C");
    // What is defined again keeps its place.
    EXPECT_EQ(printed(), "ORN*T*A: 4\nORN*T*C: 3\nORN*T*W: w\nORN*T*D: 5\n");
    EXPECT_EQ(resource_manager->get_file(E)->get_name(), std::string("other"));
    // The line of a number that is there no more is lost: the next line takes its place.
    delete_resource("T", "D");
    load(E, "v\nw\nx\ny\nz\n");
    EXPECT_EQ(shapeOf(E), "vyz");
    // A line that was left is read anew, even a line that was set with line ends in it.
    set_resource("T", "N", "\n v\nw");
    load(E, "\n");
    EXPECT_STREQ(lookup_resource("T", "N"), "v");
}

TEST_F(Resources, FilesThatHoldNothingReadableAreReportedAndSkipped)
{
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const char* const rows[][2] = {
        {"fifo", ""},
        {"none", "Unable to open resource file none because: No such file or directory\n"},
        {".", "Can not read file: . because: Is a directory\n"},
    };
    for (const auto& [path, report] : rows) {
        load(U, "ORN*T*K: v\n");
        EXPECT_EQ(printed([name = path] {
                      load_resources(nullptr, name, nullptr);
                  }),
                  report);
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
    save_resources();
    EXPECT_EQ(test::contentOf(".Ormalin"), "ORN*T*K: 1\nORN*U*L: 2\nORN*T*N: 3\n");
    EXPECT_EQ(test::contentOf(".Ormalin~"), "old\n");
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

TEST_F(Resources, FailedSaveIsReportedAndSparesTheBackup)
{
    load(U, "\n", "no/where");
    std::filesystem::remove_all("no");
    EXPECT_EQ(printed(save_resources),
              "Can rename file: no/where in no/where~ because: No such file or directory\n"
              "Can not open file: no/where because: No such file or directory\n");

    // A full disk shows while writing a long text, and only on closing after a short one.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{2048, before.rlim_max};
    const struct {
        unsigned length;
        std::string report;
        std::string backup; ///< after the next save that succeeds
    } rows[] = {
        {3000, "Can not close file:", "\n"},
        {90000, "Can not write in file:", "\n"},
        {90000, "Can not write in file:", "mended"},
    };
    for (const auto& row : rows) {
        load(U, "\n");
        set_resource("T", "K", std::string(row.length, 'v').c_str());
        setrlimit(RLIMIT_FSIZE, &small);
        const std::string reports[] = {printed(save_resources), printed(save_resources)};
        setrlimit(RLIMIT_FSIZE, &before);
        for (const std::string& text : reports) {
            EXPECT_EQ(text.find(row.report + " file because: File too large\nORN"), 0U);
        }
        // The unfinished file never becomes the backup, not even when it is read; another does.
        if (row.backup == "\n") {
            load_resources(nullptr, "file", nullptr);
        } else {
            dir.write("file", row.backup);
        }
        set_resource("T", "K", "v");
        EXPECT_EQ(printed(save_resources), "ORN*T*K: v\n");
        EXPECT_EQ(test::contentOf("file~"), row.backup);
        save_resources();
        EXPECT_EQ(test::contentOf("file~"), "\nORN*T*K: v\n");
    }
}

TEST_F(Resources, WhateverGoesFirstTakesItsDependantsAlong)
{
    // "W" is a file, "W3" the first line numbered so, "-K" a resource, "-" its tool.
    const auto erase = [](const std::string& what) {
        const auto source = what[0] == 'W' ? W : U;
        if (what[0] == '-') {
            what.size() > 1 ? delete_resource("T", &what[1]) : delete_tool_resources("T");
        } else if (what.size() == 1) {
            resource_manager->delete_file(source);
        } else {
            resource_manager->get_file(source)->delete_line(std::uint32_t(what[1] - '0'));
        }
    };
    const struct {
        std::vector<std::string> removed;
        std::string left; ///< the shapes of both files
    } rows[] = {
        {{"W3"}, "B!m!end !cCM"},    // middle line of a definition
        {{"W4"}, "B!m!end !cCM"},    // last line of it
        {{"-A"}, "B!m!end !cCM"},    // the resource itself
        {{"W1"}, "AAAB!m!end !cCM"}, // line of its comment
        {{"W7"}, " !aAAAB!m !cCM"},  // comment without resource
        {{"-M"}, " !aAAAB!end !cC"}, // resource with its comment in another file
        {{"W", "-M"}, "none !cC"},   // the same when that file is gone
        {{"U3"}, " !aAAAB!m!end M"}, // line right below its comment
        {{"U"}, " !aAAAB!end none"}, // file of the resource, not of its comment
        {{"-"}, "B!end "},           // tool across files
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.removed.back());
        // M moves to the user's file, its comment stays behind: line 7 is missing then.
        load(W, " !a\nORN*T*A: \\\n\\\na\nORN*S*B: b\n!m\nORN*T*M: 1\n!end\n");
        EXPECT_STREQ(lookup_resource("S", "B"), "b");
        load(U, "\n!c\nORN*T*C: c\n");
        resource_manager->get_file(U)->delete_line(1);
        set_resource("T", "M", "2");
        for (const std::string& what : row.removed) {
            erase(what);
            check();
        }
        EXPECT_EQ(shapeOf(W) + " " + shapeOf(U), row.left);
    }
}

TEST_F(Resources, OfTwoToolsTheFirstIsMeantAndAResourceWithoutLineIsNotDefined)
{
    load(U, "ORN*T*K: 1\n");
    auto* const ident = resource_manager->set_tool("T")->set_resource("K", "2", nullptr);
    EXPECT_STREQ(lookup_resource("T", "K"), "1");
    delete_tool_resources("T");
    EXPECT_STREQ(lookup_resource("T", "K"), "2");
    EXPECT_EQ(ident->get_tool()->set_resource("K", "3", ident->get_line()), ident);
    EXPECT_EQ(shapeOf(U), "K");
    ident->get_line()->set_item(nullptr);
    ident->set_line(nullptr);
    EXPECT_EQ(printed([ident] {
                  EXPECT_EQ(ident->get_tool()->set_resource("K", "w", nullptr), nullptr);
              }),
              "Resource \"K\" sans ligne rattacheeORN*T*K: w\n");
    delete_tool_resources(nullptr); // the first of all
    EXPECT_EQ(printed(), "");
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
    // Walking a list for every line would make it 256 times as much.
    EXPECT_LT(timeFor(32000), 64 * timeFor(2000));
}

TEST(ResourceString, KeepsTheGivenLength)
{
    T_resource_string text("text", 9);
    EXPECT_EQ(text.get_length(), 9U);
    EXPECT_FALSE(text.compare(T_resource_string("text")));
    text.init_string(text.get_text() + 1);
    EXPECT_TRUE(text.compare(T_resource_string("ext.", 3)));
}

} // namespace
