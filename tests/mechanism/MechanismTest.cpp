// Reading a mechanism file, locating its tools, and the dump of what was read.

#include "mechanism/Mechanism_p.h"
#include "resource/p_api.h"
#include "tests/support/Golden.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iomanip>
#include <iostream>
#include <stdexcept>

namespace
{

using namespace mechanism;

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

TEST(Mechanism, ElementsAndAttributesAreReadByTheFormatOrRefused)
{
    test::expectCases("mechanism/golden/rules.txt", outcome);
}

TEST(Mechanism, ADefinedResourceWinsOverThePath)
{
    const test::TempDir dir;
    const std::string resources = dir.write("resources", "ORN*Proof*Solver: /opt//bin/./Lösung/\n"
                                                         "ORN*Other*Elsewhere: /other\n"
                                                         "ORN*Proof*Empty: \\\n\n"
                                                         "ORN*Proof*: /of/no/name\n");
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
                  QString::fromUtf8(path))
            << resource;
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
    dir.script("my tools/é", "");
    dir.script("\"a b\"", "");
    std::filesystem::current_path(dir.path());
    test::expectCases("mechanism/golden/dump.txt", [&dir](const std::string& xml) {
        const std::string file = dir.path("m.xml");
        std::filesystem::remove(file);
        std::filesystem::create_symlink(test::pipeHolding(test::replaced(xml, "DIR", dir.path())),
                                        file);
        mechanism_t mechanism;
        EXPECT_TRUE(ofFile(QString::fromStdString(file), mechanism));
        const test::Captured log(std::clog);
        EXPECT_FALSE(
            ofFile(QString::fromUtf8("/no/Übung.xml"), mechanism)); // which leaves it alone
        EXPECT_EQ(log.text(), "Cannot open '/no/Übung.xml'.\n");
        mechanism.drivers.back().group = static_cast<group_t>(3);
        std::ostringstream stream;
        stream << std::hex << std::setfill('#') << std::setw(40);
        EXPECT_THROW(stream << mechanism, std::out_of_range);
        return test::replaced(stream.str(), dir.path(), "DIR");
    });
}

} // namespace
