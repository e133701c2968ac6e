#include "tests/fuzz/fuzz.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include <sys/mman.h>
#include <unistd.h>

namespace fuzz
{

void require(bool holds, const char* what)
{
    if (!holds) {
        dprintf(STDERR_FILENO, "%s\n", what);
        std::abort();
    }
}

void silenceStreams()
{
    std::clog.rdbuf(nullptr);
    std::cerr.rdbuf(nullptr);
}

MemoryFile::MemoryFile(const std::uint8_t* data, std::size_t size)
    : fd(::memfd_create("input", MFD_CLOEXEC))
{
    write(data, size);
}

MemoryFile::~MemoryFile()
{
    ::close(fd);
}

void MemoryFile::write(const std::uint8_t* data, std::size_t size) const
{
    require(::ftruncate(fd, 0) == 0 && ::pwrite(fd, data, size, 0) == static_cast<ssize_t>(size),
            "no file in memory");
}

} // namespace fuzz
