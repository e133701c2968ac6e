// Any bytes as a status file under a director: loaded, given verdicts and saved, it must read back
// as the director has it. The first byte chooses the load, the trust and the driver; the rest is
// the file.

#include "director/ProofDirector.h"
#include "pos/pos.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <unistd.h>

/// The director grants its state to one class of this name in every test program.
class ProofDirectorTest
{
public:
    static std::string dumpOf(const ProofDirector& director)
    {
        std::ostringstream dump;
        dump << director << director.obligations;
        return dump.str();
    }
    static const ProofDirector::obligations_t& obligations(const ProofDirector& director)
    {
        return director.obligations;
    }
    static QByteArray text(const ProofDirector& director)
    {
        return director.dom.toByteArray(pos::XML_INDENT);
    }
    static bool hasRoot(const ProofDirector& director)
    {
        return !director.dom.documentElement().isNull();
    }
    static const ProofDirector::addresses_t& select(ProofDirector& director, std::size_t driver)
    {
        static const ProofDirector::addresses_t none;
        director.prepareDriver(driver);
        // The drivers are of group "full": at most one job holds all goals.
        return director.proverData.empty() ? none : director.proverData.front().po_addresses;
    }
    static void update(ProofDirector& director, ProofDirector::address_t goal, const QString& word)
    {
        director.updateStatus(goal, word);
    }
};

namespace
{

namespace fs = std::filesystem;
using Access = ProofDirectorTest;

void require(bool holds, const char* what)
{
    if (!holds) {
        dprintf(STDERR_FILENO, "%s\n", what);
        std::abort();
    }
}

std::string contentOf(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void write(const fs::path& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary);
    require(static_cast<bool>(out << text << std::flush), "cannot write a file of my own");
}

const char* const TRUSTS[] = {"never", "redundancy", "always"};

/// A folder of the process: a mechanism "m" for each trust, and the status file.
class Folder
{
public:
    Folder()
    {
        const bool memory = fs::is_directory("/dev/shm");
        std::string name =
            (memory ? "/dev/shm" : fs::temp_directory_path().string()) + "/mechrun-fuzz-XXXXXX";
        require(::mkdtemp(name.data()) != nullptr, "cannot make a folder of my own");
        root = name;
        const std::string tools = "<writer path=\"/bin/sh\"/><prover path=\"/bin/sh\"/>"
                                  "<reader path=\"/bin/sh\"/></driver>";
        const std::string drivers = "<driver name=\"d\" group=\"full\">" + tools +
                                    "<driver name=\"e\" group=\"full\">" + tools;
        for (const std::string trust : TRUSTS) {
            fs::create_directory(root / trust);
            std::ostringstream text;
            text << "<mechanism trust=\"" << trust << "\">" << drivers << "</mechanism>";
            write(mechanism(trust), text.str());
        }
    }
    ~Folder()
    {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    fs::path mechanism(const std::string& trust) const
    {
        return root / trust / "m.xml";
    }
    fs::path pos() const
    {
        return root / "c.pos";
    }

private:
    fs::path root;
};

/// A director over the status file, loaded. Unknown status words are reported by one exception in
/// one of the two loads, and nothing else is.
class Loaded
{
public:
    Loaded(const Folder& folder, unsigned choice)
        : replay((choice & 1) != 0),
          director("c", folder.mechanism(TRUSTS[choice / 2 % 3]), folder.pos(), "c.pog", "/dir",
                   false, 1, 0, "", "", false)
    {
        try {
            result = replay ? director.reloadPosFile() : director.loadPosFile();
        } catch (const std::out_of_range& error) {
            require(!replay && std::strcmp(error.what(), "map::at") == 0,
                    "the load raises something else");
            known = false;
        }
        dump = Access::dumpOf(director);
    }

    const bool replay;
    ProofDirector director;
    bool result = false;
    bool known = true; ///< every status word that was met
    std::string dump;
};

/// Saves, and returns what the file holds: the document, or what it held before.
std::string saved(const Folder& folder, ProofDirector& director)
{
    const std::string before = contentOf(folder.pos());
    const bool done = director.savePosFile();
    require(done == Access::hasRoot(director), "saved without a root, or not saved with one");
    std::string after = contentOf(folder.pos());
    require(after == (done ? Access::text(director).toStdString() : before),
            "the file is not the document, or has changed without a save");
    return after;
}

/// Verdicts for all goals that the driver is to work on, in turn.
void giveVerdicts(ProofDirector& director, unsigned choice)
{
    static const QString words[] = {pos::ATTR_VALUE_PROVED, pos::ATTR_VALUE_UNKNOWN,
                                    pos::ATTR_VALUE_DISPROVED};
    std::size_t next = choice;
    for (const ProofDirector::address_t& goal : Access::select(director, choice / 6 % 2)) {
        const auto& [status, drivers, element] =
            Access::obligations(director).at(goal.first).second.at(goal.second);
        require(!drivers.isEmpty() && !element.isNull() && status == pos::UNPROVED,
                "a goal to work on is closed");
        Access::update(director, goal, words[next++ % 3]);
    }
}

void check(const Folder& folder, unsigned choice)
{
    Loaded first(folder, choice);
    const std::string text = saved(folder, first.director);
    if (first.known && Access::hasRoot(first.director)) {
        Loaded again(folder, choice);
        require(again.known && again.result == (first.replay && first.result),
                "the saved file loads differently");
        require(again.dump == first.dump, "the saved file holds something else");
        require(again.director.hasWork() == first.director.hasWork(), "other work");
        require(saved(folder, again.director) == text, "a second save differs from the first");
    }
    if (first.known) {
        giveVerdicts(first.director, choice);
        saved(folder, first.director);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    qSetGlobalQHashSeed(0);
    std::clog.rdbuf(nullptr);
    std::cerr.rdbuf(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Folder folder;
    if (size > 0) {
        write(folder.pos(), std::string(data + 1, data + size));
        check(folder, data[0]);
    }
    return 0;
}
