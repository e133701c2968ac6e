// Any bytes as a status file under a director: loaded, given verdicts and saved, it must read back
// as the director has it. The first byte chooses the load, the trust and the driver; the rest is
// the file.

#include "director/ProofDirector.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/Support.h"

#include <cstdlib>
#include <vector>

using fuzz::require;

namespace
{

/// The goals of a driver.
ProofDirector::addresses_t goalsOf(ProofDirector& director, std::size_t driver)
{
    std::vector<ProofDirector::addresses_t> batches;
    director.prepareDriver(driver);
    director.selectForDriver(batches);
    ProofDirector::addresses_t goals;
    for (const ProofDirector::addresses_t& batch : batches) {
        goals.insert(goals.end(), batch.begin(), batch.end());
    }
    return goals;
}

/// A director over the status file, loaded. Unknown status words are reported by one exception in
/// one of the two loads, and nothing else is.
class Loaded
{
public:
    Loaded(const test::TempDir& dir, bool replays)
        : replay(replays), path(dir.path("c.pos")),
          director("c", dir.path("m.xml"), path, "c.pog", dir.path(), false, 1, 0, "", "", false)
    {
        known = fuzz::knowsAllWords([this] {
            result = replay ? director.reloadPosFile() : director.loadPosFile();
        });
        require(known || !replay, "the load of a replay raises an exception");
        for (std::size_t driver = 0; driver < 2; ++driver) {
            offered.push_back(goalsOf(director, driver));
        }
        // A record may also name drivers that the mechanism does not have.
        require(director.hasWork() || (offered[0].empty() && offered[1].empty()),
                "there is no work, but for somebody");
    }

    /// Saves, and returns what the file holds then.
    std::string saved()
    {
        const std::string before = test::contentOf(path);
        saves = director.savePosFile();
        std::string after = test::contentOf(path);
        require(saves || after == before, "the file has changed without a save");
        return after;
    }

    /// Has the reader give verdicts for all goals that driver `index` is to work on.
    void giveVerdicts(std::size_t index)
    {
        director.prepareDriver(index);
        director.proveEntry(0); // the drivers are of group "full": one job holds all goals
        director.finishDriver();
        require(director.getErrors().isEmpty(), "the verdicts were not taken");
    }

    const bool replay;
    const std::string path;
    ProofDirector director;
    bool result = false;
    bool known = true; ///< every status word that was met
    bool saves = false;
    std::vector<ProofDirector::addresses_t> offered; ///< by driver
};

/// Two drivers, whose reader has a verdict for each of `goals` goals, from `choice` on in turn.
std::string mechanismOf(const std::string& trust, std::size_t goals, unsigned choice)
{
    const char* const verdicts[] = {"Proved\\n", "Unknown\\n", "Disproved\\n"};
    test::Driver driver = {"d", "group='full'"};
    driver.reader.path = "/usr/bin/printf";
    driver.reader.parameters = "<param value='";
    for (std::size_t goal = 0; goal < goals; ++goal) {
        driver.reader.parameters += verdicts[choice++ % 3];
    }
    driver.reader.parameters += "'/>";
    test::Driver other = driver;
    other.name = "e";
    return test::mechanismText(trust, {driver, other});
}

} // namespace

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
    const bool replay = (choice & 1) != 0;
    const char* const trusts[] = {"never", "redundancy", "always"};
    const std::string trust = trusts[choice / 2 % 3];
    dir.write("m.xml", mechanismOf(trust, 0, 0));
    dir.write("c.pos", std::string(data + 1, data + size));
    Loaded first(dir, replay);
    const std::string text = first.saved();
    if (first.known && first.saves) {
        Loaded again(dir, replay);
        require(again.known && again.result == (replay && first.result),
                "the saved file loads differently");
        require(again.offered == first.offered, "the saved file holds something else");
        require(again.saved() == text, "a second save differs from the first");
    }
    const std::size_t driver = choice / 6 % 2;
    const std::size_t goals = first.offered[driver].size();
    if (first.known && first.saves && goals != 0 && goals < 100) {
        dir.write("m.xml", mechanismOf(trust, goals, choice));
        Loaded played(dir, replay);
        played.giveVerdicts(driver);
        const std::string verdicts = played.saved();
        require(Loaded(dir, true).saved() == verdicts, "the verdicts do not read back");
    }
    return 0;
}
