// Reading a mechanism file, locating its tools, and the dump of what was read.

#include "mechanism/Mechanism_p.h"
#include "resource/p_api.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <stdexcept>

namespace
{

using namespace mechanism;

const std::string W = "<writer path='/bin/sh'/>";
const std::string R = "<reader path='/bin/sh'/>";

std::string prover(const std::string& attributes = "", const std::string& children = "")
{
    return "<prover path='/bin/sh' " + attributes + ">" + children + "</prover>";
}

std::string driver(const std::string& attributes = "", const std::string& tools = W + prover() + R)
{
    return "<driver " + attributes + ">" + tools + "</driver>";
}

std::string writes(const std::string& children, const std::string& others = prover() + R)
{
    return driver("", "<writer path='/bin/sh'>" + children + "</writer>" + others);
}

std::string file(const std::string& children, const std::string& attributes = "")
{
    return "<mechanism " + attributes + ">" + children + "</mechanism>";
}

/// The parameters of a tool; a null text is "~".
std::string shown(const tool_t& tool)
{
    std::string result;
    for (const param_t& param : tool.parameters) {
        result += ' ';
        for (const QString& text : {param.name, param.separator, param.value}) {
            result += text.isNull() ? "~" : "[" + text.toStdString() + "]";
        }
    }
    return result;
}

/// What came out of reading `xml` as "m.xml": result, name, trust and a line for each driver.
std::string outcome(const std::string& xml)
{
    const test::TempDir dir;
    const test::Captured errors(std::cerr);
    mechanism_t out;
    std::ostringstream text;
    try {
        text << std::boolalpha << ofFile(QString::fromStdString(dir.write("m.xml", xml)), out);
    } catch (const std::out_of_range& error) {
        text << error.what();
    }
    text << " " << out.name << " " << static_cast<int>(out.trust) << "\n";
    EXPECT_EQ(out.driver_names.size(), out.drivers.size());
    for (const driver_t& read : out.drivers) {
        const bool fed = read.prover.input == input_t::standardInput;
        text << read.name.toStdString() << "." << read.ext.toStdString() << " "
             << static_cast<int>(read.group) << (read.fast ? " fast" : "") << " W"
             << shown(read.writer) << " P " << read.prover.timeout << (fed ? " stdin" : " file")
             << shown(read.prover) << " R" << shown(read.reader) << "\n";
    }
    return text.str() + errors.text();
}

TEST(Mechanism, EveryRuleOfTheFileHolds)
{
    const std::string named = "<definition name='d'><param value='${timeout}'/></definition>";
    const std::string d = "<expand name='d'/>";
    const std::string x = "<expand name='x'/>"; // not met when the tool is missing
    const std::string mark = "<param name='${timeout}' value='${timeout}${TIMEOUT}'/>";
    const std::string plain = ".po2 0 W P -1 stdin R\n";
    const std::string rows[][3] = {
        {"words and texts given as empty",
         file(driver("name='b' group='related' fast='true' ext=''") +
                  driver("group='full' fast='True'", W + prover("input='STDIN'") + R) +
                  driver("name='a'", W + prover("input='' timeout=''") + R) + driver(),
              "trust='redundancy'"),
         "true m 1\nb. 1 fast W P -1 stdin R\n.po2 2 W P -1 file R\na.po2 0 W P -1 file R\n" +
             plain},
        {"null and empty parameter texts differ",
         file(writes("<param/><param name='' separator='' value=''/>"), "trust='always'"),
         "true m 2\n.po2 0 W ~[ ]~ [][][] P -1 stdin R\n"},
        {"a timeout goes as written into the prover's values only, expanded ones included",
         file(named + writes(d, prover("timeout='030'", mark + d) + R) +
              driver("", W + prover("timeout=''", mark) + R)),
         "true m 0\n.po2 0 W ~[ ][${timeout}] P 30 stdin [${timeout}][ ][030${TIMEOUT}]"
         " ~[ ][030] R\n.po2 0 W P -1 stdin [${timeout}][ ][${timeout}${TIMEOUT}] R\n"},
        {"own parameters come first; a param after the definition is another or replaces it",
         file(named + "<x/><param name='x'/><param name='d'><param name='new'/></param>" +
              writes(d + x + "<param name='own'/>" + d)),
         "true m 0\n.po2 0 W [own][ ]~ [new][ ]~ [new][ ]~ P -1 stdin R\n"},
        {"only direct children count, and the first of several tools",
         file("<x>" + driver() + "</x>" +
              driver("", "<x><writer/></x>" + W + prover() + R + "<writer path='/no'/>")),
         "true m 0\n" + plain},
        {"another document", "<other trust='x'>" + driver() + "</other>", "true m 0\n"},
        {"empty trust", file(driver(), "trust=''"), "map::at m 0\n"},
        {"unknown group", file(driver() + driver("group='Full'")), "map::at m 0\n" + plain},
        {"second definition", file(named + "<definition name='x'/>" + writes(x)), "map::at m 0\n"},
        {"no writer", file(driver("", prover() + R)),
         "false m 0\nEmpty tool path\nCannot locate tool \n"},
        {"missing prover",
         file(driver() + driver("", W + "<prover name='ä' path='/no'>" + x + "</prover>") +
              driver("group='never read'")),
         "false m 0\n" + plain + "Tool path does not exists: /no\nCannot locate prover ä\n"},
        {"missing reader; quotes are part of a path",
         file(driver("", W + prover() + "<reader name='r' path='\"a b\"'>" + x + "</reader>")),
         "false m 0\nTool path does not exists: \"a b\"\nCannot locate tool r\n"},
    };
    for (const auto& [label, xml, expected] : rows) {
        EXPECT_EQ(outcome(xml), expected) << label;
    }
}

TEST(Mechanism, ADefinedResourceWinsOverThePath)
{
    const test::TempDir dir;
    const std::string resources = dir.write("resources", "ORN*Proof*Solver: /opt//bin/./Lösung/\n"
                                                         "ORN*Other*Elsewhere: /other\n"
                                                         "ORN*Proof*Empty: \\\n\n");
    init_resource_manager();
    load_resources(resources.c_str(), nullptr, nullptr);
    const char* const rows[][2] = {
        {"", "/a//b/"},
        {"X*Proof*Solver", "/opt/bin/Lösung"},
        {"Other*Elsewhere", "/a//b/"},
        {"Empty", "/a//b/"},
    };
    for (const auto& [resource, path] : rows) {
        EXPECT_EQ(computePath(QStringLiteral("/a//b/"), QString::fromUtf8(resource)),
                  QString::fromUtf8(path));
    }
    delete_ormalin_resources();
}

TEST(Mechanism, AToolThatIsMissingOrNotExecutableIsRefused)
{
    const test::TempDir dir;
    const std::string script = dir.script("tülle", "");
    const std::string text = dir.write("text", "");
    const std::string link = dir.path("link");
    std::filesystem::create_symlink(dir.path("gone"), link);
    const std::string withNul = script + std::string("\0x", 2);
    const std::pair<std::string, std::string> rows[] = {
        {dir.path(), ""},
        {"sh", "Tool path does not exists: sh\n"},
        {link, "Tool path does not exists: " + link + "\n"},
        {text, "Tool path not executable: " + text + "\n"},
        {withNul, "Tool path does not exists: " + withNul + "\n"},
    };
    for (const auto& [path, line] : rows) {
        const test::Captured errors(std::cerr);
        EXPECT_EQ(checkPath(QString::fromStdString(path)), line.empty()) << path;
        EXPECT_EQ(errors.text(), line);
    }
}

// Also: only paths with a blank are quoted, and after their check; the file may be a pipe.
TEST(Mechanism, TheDumpKeepsItsTextWhateverTheStreamIsSetTo)
{
    const test::TempDir dir;
    const std::string tool = dir.script("my tools/é", "");
    const std::string at = "resource='none' path='" + tool + "'";
    const std::string xml =
        file(driver("name='d' group='related'",
                    "<writer name='w' " + at + "><param name='-o' value='${file}'/></writer>" +
                        prover("timeout='30'", "<param name='-t'/>") + "<reader " + at + "/>") +
                 driver(),
             "trust='always'");
    mechanism_t mechanism;
    std::filesystem::create_symlink(test::pipeHolding(xml), dir.path("m.xml"));
    ASSERT_TRUE(ofFile(QString::fromStdString(dir.path("m.xml")), mechanism));
    const test::Captured log(std::clog);
    EXPECT_FALSE(ofFile(QString::fromUtf8("/no/Übung.xml"), mechanism)); // which leaves it alone
    EXPECT_EQ(log.text(), "Cannot open '/no/Übung.xml'.\n");
    mechanism.drivers[1].group = static_cast<group_t>(3);
    std::ostringstream stream;
    stream << std::hex << std::setfill('#') << std::setw(40);
    EXPECT_THROW(stream << mechanism, std::out_of_range);
    const std::string located =
        "default_path = '" + tool + "'\nresource = 'none'\npath = ''" + tool + "''\n";
    std::string expected = "[mechanism]\nname = 'm'\ntrust = 'always'\n\n"
                           "[driver]\nname = 'd'\ngroup = 'related'\n\n"
                           "[writer]\n\n[tool]\nname = 'w'\n" +
                           located +
                           "\n[parameters]\nsize = 1\n\n"
                           "[parameter]\nname = '-o'\nseparator = ' '\nvalue = '${file}'\n\n"
                           "[prover]\nname = ''\n"
                           "default_path = '/bin/sh'\nresource = ''\npath = '/bin/sh'\n"
                           "timeout = '30'\ninput = stdin'\n\n[parameters]\nsize = 1\n"
                           "[parameter]\nname = '-t'\nseparator = ' '\nvalue = ''\n\n"
                           "[reader]\n\n[tool]\nname = ''\n" +
                           located + "\n[parameters]\nsize = 0\n\n[driver]\nname = ''\n";
    std::replace(expected.begin(), expected.end(), '\'', '"');
    EXPECT_EQ(stream.str(), expected);
}

} // namespace
