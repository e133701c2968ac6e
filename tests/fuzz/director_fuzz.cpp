// Any bytes as a status file under a director: loaded, given verdicts and saved, it must read back
// as the director has it. The first byte chooses the load, the trust and the driver; the rest is
// the file.

#include "director/ProofDirector.h"
#include "director/verdict.h"
#include "pos/pos.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/Support.h"

#include <cstdlib>
#include <sstream>

using fuzz::require;

/// A director over the status file, loaded; it grants its state to one class of this name in every
/// test program. Unknown status words are reported by one exception in one of the two loads, and
/// nothing else is.
class ProofDirectorTest
{
public:
    ProofDirectorTest(const test::TempDir& dir, unsigned choice)
        : replay((choice & 1) != 0), path(dir.path("c.pos")),
          director("c", dir.path("m.xml"), path, "c.pog", "/dir", false, 1, 0, "", "", false)
    {
        known = fuzz::knowsAllWords([this] {
            result = replay ? director.reloadPosFile() : director.loadPosFile();
        });
        require(known || !replay, "the load of a replay raises an exception");
        std::ostringstream text;
        text << director << director.obligations << director.hasWork();
        dump = text.str();
    }

    bool hasRoot() const
    {
        return !director.dom.documentElement().isNull();
    }

    /// Saves, and returns what the file holds: the document, or what it held before.
    std::string saved()
    {
        const std::string before = test::contentOf(path);
        const bool done = director.savePosFile();
        require(done == hasRoot(), "saved without a root, or not saved with one");
        const std::string text = director.dom.toByteArray(pos::XML_INDENT).toStdString();
        std::string after = test::contentOf(path);
        require(after == (done ? text : before),
                "the file is not the document, or has changed without a save");
        return after;
    }

    /// Verdicts for all goals that the driver is to work on, in turn.
    void giveVerdicts(unsigned choice)
    {
        static const verdict_t verdicts[] = {verdict_t::proved, verdict_t::unknown,
                                             verdict_t::disproved};
        director.prepareDriver(choice / 6 % 2);
        // The drivers are of group "full": one job holds all goals.
        for (const auto& goal : director.proverData.at(0).po_addresses) {
            const auto& [status, drivers, element] =
                director.obligations.at(goal.first).second.at(goal.second);
            require(!drivers.isEmpty() && !element.isNull() && status == pos::UNPROVED,
                    "a goal to work on is closed");
            director.updateStatus(goal, verdicts[choice++ % 3]);
        }
    }

    const bool replay;
    const std::string path;
    ProofDirector director;
    bool result = false;
    bool known = true; ///< every status word that was met
    std::string dump;
};

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    qSetGlobalQHashSeed(0);
    fuzz::silenceStreams();
    ::setenv("TMPDIR", "/dev/shm", 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const test::TempDir dir;
    if (size == 0) {
        return 0;
    }
    const unsigned choice = data[0];
    const char* const trusts[] = {"never", "redundancy", "always"};
    dir.write("m.xml", test::mechanismText(trusts[choice / 2 % 3],
                                           {{"d", "group='full'"}, {"e", "group='full'"}}));
    dir.write("c.pos", std::string(data + 1, data + size));
    ProofDirectorTest first(dir, choice);
    const std::string text = first.saved();
    if (first.known && first.hasRoot()) {
        ProofDirectorTest again(dir, choice);
        require(again.known && again.result == (first.replay && first.result),
                "the saved file loads differently");
        require(again.dump == first.dump, "the saved file holds something else");
        require(again.saved() == text, "a second save differs from the first");
    }
    if (first.known) {
        first.giveVerdicts(choice);
        first.saved();
    }
    return 0;
}
