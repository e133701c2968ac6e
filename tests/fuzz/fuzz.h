#pragma once

// What the fuzzers share. Each source NAME_fuzz.cpp has the two functions below, in the form that
// libFuzzer calls. tests/fuzz/seeds.cpp calls them too: it feeds each seed once.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

/// Called once, before the first input.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

/// Called for each input. Whatever ends the process is a find.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz
{

/// Prints `what` and aborts unless it holds.
void require(bool holds, const char* what);

/// Runs the operation. False when it met an unknown word, which one exception reports; nothing else
/// may be raised.
template <typename Operation>
bool knowsAllWords(Operation operation)
{
    try {
        operation();
    } catch (const std::out_of_range& error) {
        require(error.what() == std::string("map::at"), "an exception of another kind");
        return false;
    }
    return true;
}

/// Nothing more goes to the C++ streams of errors and log lines, which would drown the reports.
void silenceStreams();

/// A file that exists in memory alone, as long as the object lives.
class MemoryFile
{
public:
    MemoryFile(const std::uint8_t* data, std::size_t size);
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /// Makes these bytes its content.
    void write(const std::uint8_t* data, std::size_t size) const;
    std::string path() const
    {
        return "/proc/self/fd/" + std::to_string(fd);
    }

private:
    int fd;
};

} // namespace fuzz
