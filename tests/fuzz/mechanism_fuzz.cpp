// Any bytes as a mechanism file: read it, look at what was read, then dump it.

#include "mechanism/Mechanism.h"
#include "resource/p_api.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace
{

void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    init_resource_manager();
    setenv("HOME", "/nonexistent", 1);
    set_resource("Proof", "Solver", "/bin/../bin/sh");
    set_resource("Proof", "Missing", "/no/such/tool");
    set_resource("Proof", "", "");
    std::clog.rdbuf(nullptr);
    std::cerr.rdbuf(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const int file = memfd_create("mechanism", MFD_CLOEXEC);
    require(file >= 0 && ::write(file, data, size) == static_cast<ssize_t>(size));
    mechanism::mechanism_t read;
    try {
        mechanism::ofFile(QStringLiteral("/proc/self/fd/%1").arg(file), read);
    } catch (const std::out_of_range& error) {
        // Unknown words and definitions are reported so, and in no other way.
        require(error.what() == std::string("map::at"));
    }
    ::close(file);
    // What holds of every driver that was read, also when the reading ended before the end.
    require(read.drivers.size() == read.driver_names.size());
    auto name = read.driver_names.begin();
    for (const mechanism::driver_t& driver : read.drivers) {
        require(driver.name == *name++);
        for (const QString& path : {driver.writer.path, driver.prover.path, driver.reader.path}) {
            require(!path.isEmpty() &&
                    (path.startsWith(QLatin1Char('"')) || !path.contains(QLatin1Char(' '))));
        }
    }
    std::ostringstream() << read;
    return 0;
}
