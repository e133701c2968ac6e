#include "mechanism/Mechanism.h"

#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>

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

std::string writes(const std::string& children)
{
    return driver("", "<writer path='/bin/sh'>" + children + "</writer>" + prover() + R);
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
    std::string text;
    try {
        text = ofFile(QString::fromStdString(dir.write("m.xml", xml)), out) ? "true" : "false";
    } catch (const std::out_of_range& error) {
        text = error.what();
    }
    text += " " + out.name + " " + std::to_string(static_cast<int>(out.trust)) + "\n";
    EXPECT_EQ(out.driver_names.size(), out.drivers.size());
    for (const driver_t& read : out.drivers) {
        text += read.name.toStdString() + "." + read.ext.toStdString() + " " +
                std::to_string(static_cast<int>(read.group)) + (read.fast ? " fast" : "") + " W" +
                shown(read.writer) + " P " + std::to_string(read.prover.timeout) +
                (read.prover.input == input_t::standardInput ? " stdin" : " file") +
                shown(read.prover) + " R" + shown(read.reader) + "\n";
    }
    return text + errors.text();
}

TEST(ReadMechanism, EveryRuleOfTheFileHolds)
{
    const std::string quiet = "<definition name='d'><param name='-q' value=''/></definition>";
    const std::string mark = "<param name='${timeout}' separator='${timeout}'"
                             " value='${timeout}-${TIMEOUT}-${timeout}'/>";
    const std::string lasts = "<definition name='t'><param value='${timeout}'/></definition>";
    const std::string plain = ".po2 0 W P -1 stdin R\n";
    const std::string expandX = "<expand name='x'/>"; // not met when the tool is missing
    const struct {
        const char* label;
        std::string xml;
        std::string expected;
    } rows[] = {
        {"defaults, drivers in order", file(driver("name='b'") + driver("name='a'")),
         "true m 0\nb" + plain + "a" + plain},
        {"words and texts given as empty",
         file(driver("group='related' fast='true' ext=''") + driver("group='full' fast='True'") +
                  driver("fast='1'", W + prover("input='STDIN'") + R) +
                  driver("fast=''", W + prover("input='' timeout=''") + R),
              "trust='redundancy'"),
         "true m 1\n. 1 fast W P -1 stdin R\n.po2 2 W P -1 stdin R\n"
         ".po2 0 W P -1 file R\n.po2 0 W P -1 file R\n"},
        {"null and empty parameter texts differ",
         file(writes("<param/><param name='' separator='' value=''/>"), "trust='always'"),
         "true m 2\n.po2 0 W ~[ ]~ [][][] P -1 stdin R\n"},
        {"a timeout goes into the prover's values, expanded ones included, as it is written",
         file(lasts +
              driver("", W + prover("timeout='030'", mark + "<param/><expand name='t'/>") + R) +
              driver("", W + prover("timeout='soon'", mark) + R) +
              driver("", W + prover("timeout='99999999999'") + R) +
              driver("", W + prover("timeout=''", mark) + R)),
         "true m 0\n"
         ".po2 0 W P 30 stdin [${timeout}][${timeout}][030-${TIMEOUT}-030] ~[ ]~ ~[ ][030] R\n"
         ".po2 0 W P 0 stdin [${timeout}][${timeout}][soon-${TIMEOUT}-soon] R\n"
         ".po2 0 W P 0 stdin R\n"
         ".po2 0 W P -1 stdin [${timeout}][${timeout}][${timeout}-${TIMEOUT}-${timeout}] R\n"},
        {"but not into those of writer and reader",
         file(lasts + driver("", "<writer path='/bin/sh'><expand name='t'/></writer>" +
                                     prover("timeout='3'") +
                                     "<reader path='/bin/sh'><expand name='t'/></reader>")),
         "true m 0\n.po2 0 W ~[ ][${timeout}] P 3 stdin R ~[ ][${timeout}]\n"},
        {"own parameters come before expanded ones; a param beside the definition is an empty one",
         file("<param name='d'/>" + quiet + "<x/><param name='x'/>" +
              writes("<expand name='d'/>" + expandX + "<param name='o'/><expand name='d'/>")),
         "true m 0\n.po2 0 W [o][ ]~ [-q][ ][] [-q][ ][] P -1 stdin R\n"},
        {"the later definition of a name replaces the earlier",
         file(quiet + "<param name='d'><param name='new'/></param>" + writes("<expand name='d'/>")),
         "true m 0\n.po2 0 W [new][ ]~ P -1 stdin R\n"},
        {"only direct children count, and the first of several tools",
         file("<x>" + driver() + "</x>" +
              driver("", "<x><writer/></x>" + W + prover() + R + "<writer path='/no'/>")),
         "true m 0\n" + plain},
        {"empty file", "", "true m 0\n"},
        {"another document", "<other trust='x'>" + driver() + "</other>", "true m 0\n"},
        {"broken after a driver", "<mechanism trust='always'>" + driver(), "true m 0\n"},
        {"unknown trust", file(driver(), "trust='Never'"), "map::at m 0\n"},
        {"empty trust", file(driver(), "trust=''"), "map::at m 0\n"},
        {"unknown group", file(driver() + driver("group='Full'")), "map::at m 0\n" + plain},
        {"second definition", file(quiet + "<definition name='x'/>" + writes(expandX)),
         "map::at m 0\n"},
        {"expansion without a name", file(quiet + writes("<expand/>")), "map::at m 0\n"},
        {"no writer", file(driver("", prover() + R)),
         "false m 0\nEmpty tool path\nCannot locate tool \n"},
        {"no prover", file(driver("", W + R)),
         "false m 0\nEmpty tool path\nCannot locate prover \n"},
        {"missing prover",
         file(driver() + driver("", W + "<prover name='ä' path='/no'>" + expandX + "</prover>") +
              driver("group='never read'")),
         "false m 0\n" + plain + "Tool path does not exists: /no\nCannot locate prover ä\n"},
        {"missing reader",
         file(driver("", W + prover() + "<reader name='r' path='/no'>" + expandX + "</reader>")),
         "false m 0\nTool path does not exists: /no\nCannot locate tool r\n"},
        {"quotes are part of the name", file(driver("", "<writer path='\"/bin/sh\"'/>")),
         "false m 0\nTool path does not exists: \"/bin/sh\"\nCannot locate tool \n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(outcome(row.xml), row.expected) << row.label;
    }
}

TEST(ReadMechanism, LeavesTheModelUntouchedWhenTheFileCannotBeRead)
{
    const test::Captured log(std::clog);
    mechanism_t out;
    out.name = "before";
    EXPECT_FALSE(ofFile(QString::fromUtf8("/no/Übung.xml"), out));
    EXPECT_EQ(log.text(), "Cannot open '/no/Übung.xml'.\n");
    EXPECT_EQ(out.name, "before");
}

// Also: only paths with a blank are quoted, and after their check.
TEST(MechanismDump, KeepsItsTextWhateverTheStreamIsSetTo)
{
    const test::TempDir dir;
    const std::string tool = dir.script("my tools/é", "");
    const std::string at = "resource='none' path='" + tool + "'";
    const std::string xml =
        file(driver("name='d' group='related'",
                    "<writer name='w' " + at + "><param name='-o' value='${file}'/></writer>" +
                        "<prover " + at + " timeout='30'><param name='-t'/></prover>" + "<reader " +
                        at + "/>") +
                 driver("", W + prover("input='x'") + R),
             "trust='always'");
    mechanism_t mechanism;
    ASSERT_TRUE(ofFile(QString::fromStdString(dir.write("m.xml", xml)), mechanism));
    mechanism.drivers[1].group = static_cast<group_t>(3);
    std::ostringstream stream;
    stream << std::hex << std::setfill('#') << std::setw(40) << mechanism.drivers[1].prover;
    EXPECT_EQ(stream.str(), R"([prover]
name = ""
default_path = "/bin/sh"
resource = ""
path = "/bin/sh"
timeout = "-1"
input = file"

[parameters]
size = 0
)");
    stream.str("");
    EXPECT_THROW(stream << mechanism, std::out_of_range);
    const std::string located =
        "default_path = \"" + tool + "\"\nresource = \"none\"\npath = \"\"" + tool + "\"\"\n";
    EXPECT_EQ(stream.str(), R"([mechanism]
name = "m"
trust = "always"

[driver]
name = "d"
group = "related"

[writer]

[tool]
name = "w"
)" + located + R"(
[parameters]
size = 1

[parameter]
name = "-o"
separator = " "
value = "${file}"

[prover]
name = ""
)" + located + R"(timeout = "30"
input = stdin"

[parameters]
size = 1
[parameter]
name = "-t"
separator = " "
value = ""

[reader]

[tool]
name = ""
)" + located + R"(
[parameters]
size = 0

[driver]
name = ""
)");
}

} // namespace
