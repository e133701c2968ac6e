#include "tests/support/Support.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace test
{

TempDir::TempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "mechrun-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        std::perror("mkdtemp");
        std::abort();
    }
    root = pattern;
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
}

std::string TempDir::path(const std::string& name) const
{
    return name.empty() ? root : root + "/" + name;
}

std::string TempDir::write(const std::string& name, const std::string& text) const
{
    const std::string file = path(name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file, std::ios::binary) << text;
    return file;
}

std::string TempDir::script(const std::string& name, const std::string& body) const
{
    const std::string file = write(name, "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(file, std::filesystem::perms(0755));
    return file;
}

Captured::Captured(std::ostream& captured)
    : stream(captured), before(captured.rdbuf(buffer.rdbuf()))
{
}

Captured::~Captured()
{
    stream.rdbuf(before);
}

std::string Captured::text() const
{
    return buffer.str();
}

std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool exists(const std::string& path)
{
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

QDomDocument documentOf(const std::string& xml)
{
    QDomDocument document;
    EXPECT_TRUE(document.setContent(QByteArray::fromStdString(xml))) << xml;
    return document;
}

std::string posText(const std::vector<std::vector<Goal>>& obligations)
{
    std::ostringstream xml;
    xml << "<Proof_Obligations>\n";
    for (std::size_t i = 0; i < obligations.size(); ++i) {
        xml << " <Proof_Obligation><Tag>PO_" << i << "</Tag>\n";
        for (const Goal& goal : obligations[i]) {
            xml << "  <Simple_Goal status=\"" << goal.status
                << "\"><Proof_State passList=\"\" methodList=\"\" proofState=\"Unproved\"/>";
            if (goal.mechanism != "none") {
                xml << "<Mechanism name=\"mech\" status=\"" << goal.mechanism << "\">";
                std::istringstream words(goal.drivers);
                for (std::string word; words >> word;) {
                    const std::size_t equals = word.find('=');
                    xml << "<Driver name=\"" << word.substr(0, equals) << "\" status=\""
                        << word.substr(equals + 1) << "\"/>";
                }
                xml << "</Mechanism>";
            }
            xml << "</Simple_Goal>\n";
        }
        xml << " </Proof_Obligation>\n";
    }
    xml << "</Proof_Obligations>\n";
    return xml.str();
}

std::string mechanismText(const std::string& trust, const std::vector<Driver>& drivers)
{
    std::ostringstream xml;
    xml << "<mechanism trust=\"" << trust << "\">\n";
    for (const Driver& driver : drivers) {
        xml << "<driver name=\"" << driver.name << "\" " << driver.attributes << ">"
            << "<writer name=\"w\" path=\"" << driver.writer << "\"/>"
            << "<prover name=\"p\" path=\"" << driver.prover << "\" " << driver.proverAttributes
            << ">" << driver.proverParameters << "</prover>"
            << "<reader name=\"r\" path=\"" << driver.reader << "\">" << driver.readerParameters
            << "</reader></driver>\n";
    }
    xml << "</mechanism>\n";
    return xml.str();
}

std::string statusesOf(const std::string& posPath)
{
    std::string statuses;
    const QDomNodeList goals =
        documentOf(contentOf(posPath)).elementsByTagName(QStringLiteral("Simple_Goal"));
    const QString status = QStringLiteral("status");
    for (int i = 0; i < goals.size(); ++i) {
        const QDomElement goal = goals.at(i).toElement();
        const QDomElement mechanism = goal.firstChildElement(QStringLiteral("Mechanism"));
        QStringList drivers;
        for (QDomElement driver = mechanism.firstChildElement(); !driver.isNull();
             driver = driver.nextSiblingElement()) {
            drivers << driver.attribute(status);
        }
        statuses += (i == 0 ? "" : " ") +
                    (goal.attribute(status) + QStringLiteral("/") + mechanism.attribute(status) +
                     QStringLiteral("/") + drivers.join(QLatin1Char(',')))
                        .toStdString();
    }
    return statuses;
}

} // namespace test
