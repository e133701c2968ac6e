#include "tests/support/Support.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

namespace test
{

TempDir::TempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "mechrun-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
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
    std::string file = path(name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file, std::ios::binary) << text;
    return file;
}

std::string TempDir::script(const std::string& name, const std::string& body) const
{
    std::string file = write(name, "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(file, std::filesystem::perms(0755));
    return file;
}

std::string replaced(std::string text, const std::string& before, const std::string& after)
{
    for (std::size_t at = 0; (at = text.find(before, at)) != std::string::npos;) {
        text.replace(at, before.size(), after);
        at += after.size();
    }
    return text;
}

std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string pipeHolding(const std::string& text)
{
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    EXPECT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::close(ends[1]);
    return "/proc/self/fd/" + std::to_string(ends[0]);
}

bool exists(const std::string& path)
{
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

std::ptrdiff_t openFiles()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

bool hasEnded(int pid, bool waits)
{
    bool ended = false;
    for (int tries = waits ? 1000 : 1; tries > 0 && !ended; --tries) {
        // Its command line would be empty for a moment while it starts a program, too.
        const std::string stat = contentOf("/proc/" + std::to_string(pid) + "/stat");
        ended = stat.empty() || stat.find(") Z ") != std::string::npos;
        ::usleep(ended ? 0 : 10000);
    }
    return ended;
}

QDomDocument documentOf(const std::string& xml)
{
    QDomDocument document;
    EXPECT_TRUE(document.setContent(QByteArray::fromStdString(xml))) << xml;
    return document;
}

std::vector<QDomElement> childrenOf(const QDomElement& parent, const QString& tag)
{
    std::vector<QDomElement> children;
    for (QDomElement child = parent.firstChildElement(tag); !child.isNull();
         child = child.nextSiblingElement(tag)) {
        children.push_back(child);
    }
    return children;
}

std::string posText(const std::string& goals)
{
    std::ostringstream xml;
    std::istringstream obligations(goals);
    int number = 0;
    for (std::string part; std::getline(obligations, part, '|');) {
        xml << "<Proof_Obligation><Tag>PO_" << number++ << "</Tag>";
        std::istringstream words(part);
        for (std::string word; words >> word;) {
            std::istringstream statuses(word);
            std::string status;
            std::getline(statuses, status, '/');
            xml << "<Simple_Goal" << (status.empty() ? ">" : " status='" + status + "'>");
            if (std::getline(statuses, status, '/')) {
                xml << "<Mechanism name='mech' status='" << status << "'>";
                for (int driver = 1; std::getline(statuses, status, ','); ++driver) {
                    xml << "<Driver name='D" << driver << "' status='" << status << "'/>";
                }
                xml << "</Mechanism>";
            }
            xml << "</Simple_Goal>";
        }
        xml << "</Proof_Obligation>";
    }
    return "<Proof_Obligations>" + xml.str() + "</Proof_Obligations>\n";
}

std::string statusesOf(const std::string& posPath)
{
    const auto status = [](const QDomElement& element) {
        return element.attribute(QStringLiteral("status")).toStdString();
    };
    std::string text;
    const QDomDocument document = documentOf(contentOf(posPath));
    for (const QDomElement& obligation : childrenOf(document.documentElement())) {
        text += obligation.previousSibling().isNull() ? "" : " |";
        for (const QDomElement& goal : childrenOf(obligation, QStringLiteral("Simple_Goal"))) {
            text += (text.empty() ? "" : " ") + status(goal);
            for (const QDomElement& mechanism : childrenOf(goal, QStringLiteral("Mechanism"))) {
                if (mechanism.attribute(QStringLiteral("name")) != QStringLiteral("mech")) {
                    continue;
                }
                text += "/" + status(mechanism);
                for (const QDomElement& driver : childrenOf(mechanism)) {
                    text += (driver.previousSibling().isNull() ? "/" : ",") + status(driver);
                }
            }
        }
    }
    return text;
}

Driver driverSaying(const TempDir& dir, const std::string& name, const std::string& verdicts,
                    const std::string& attributes)
{
    const std::string writer = "while [ \"$1\" != -o ]; do shift; done; "
                               "cat > \"$2\"; echo x >> \"$2\"; echo noise; echo noise >&2";
    const std::string reader = "echo noise >&2; read line && printf '%s\\n' " + verdicts;
    return {name,
            attributes,
            {dir.script("writer", writer)},
            {},
            {dir.script("reader-" + name, reader)}};
}

std::string mechanismText(const std::string& trust, const std::vector<Driver>& drivers)
{
    std::ostringstream xml;
    const auto write = [&xml](const std::string& tag, const Tool& tool) {
        xml << "<" << tag << " name='" << tag[0] << "' path='" << tool.path << "' "
            << tool.attributes << ">" << tool.parameters << "</" << tag << ">";
    };
    xml << "<mechanism trust='" << trust << "'>";
    for (const Driver& driver : drivers) {
        xml << "<driver name='" << driver.name << "' " << driver.attributes << ">";
        write("writer", driver.writer);
        write("prover", driver.prover);
        write("reader", driver.reader);
        xml << "</driver>";
    }
    xml << "</mechanism>\n";
    return xml.str();
}

} // namespace test
