// Any bytes as a mechanism file: read it, look at what was read, then dump it.

#include "mechanism/Mechanism.h"
#include "resource/p_api.h"
#include "tests/fuzz/fuzz.h"

#include <cstdlib>
#include <sstream>

using fuzz::require;

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    init_resource_manager();
    setenv("HOME", "/nonexistent", 1);
    set_resource("Proof", "Solver", "/bin/../bin/sh");
    set_resource("Proof", "Missing", "/no/such/tool");
    set_resource("Proof", "", "");
    fuzz::silenceStreams();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::MemoryFile file(data, size);
    mechanism::mechanism_t read;
    fuzz::knowsAllWords([&] {
        mechanism::ofFile(QString::fromStdString(file.path()), read);
    });
    // What holds of every driver that was read, also when the reading ended before the end.
    require(read.drivers.size() == read.driver_names.size(), "a driver without a name");
    auto name = read.driver_names.begin();
    for (const mechanism::driver_t& driver : read.drivers) {
        require(driver.name == *name++, "a driver of another name");
        for (const QString& path : {driver.writer.path, driver.prover.path, driver.reader.path}) {
            require(!path.isEmpty() &&
                        (path.startsWith(QLatin1Char('"')) || !path.contains(QLatin1Char(' '))),
                    "a path is empty, or has blanks and no quotes");
        }
    }
    std::ostringstream() << read;
    return 0;
}
