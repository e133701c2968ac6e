// Any bytes as a mechanism file: read it, then dump what was read.

#include "mechanism/Mechanism.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    std::clog.rdbuf(nullptr);
    std::cerr.rdbuf(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const int file = memfd_create("mechanism", MFD_CLOEXEC);
    if (file < 0 || ::write(file, data, size) != static_cast<ssize_t>(size)) {
        std::abort();
    }
    mechanism::mechanism_t read;
    try {
        mechanism::ofFile(QStringLiteral("/proc/self/fd/%1").arg(file), read);
    } catch (const std::out_of_range& error) {
        // Unknown words and definitions are reported so, and in no other way.
        if (std::strcmp(error.what(), "map::at") != 0) {
            throw;
        }
    }
    ::close(file);
    std::ostringstream dump;
    dump << read;
    return 0;
}
