#pragma once

// The stream for the report of a director: standard output, where a terminal gets no control
// characters of the names in it.

#include <ostream>
#include <streambuf>
#include <string>

/// Hands what is written on to std::cout at each flush, escaped when that is a terminal. A name
/// never comes in two pieces with a flush between. One thread at a time may write.
class ReportStream : public std::ostream
{
public:
    ReportStream();
    ~ReportStream() override;
    ReportStream(const ReportStream&) = delete;
    ReportStream& operator=(const ReportStream&) = delete;

private:
    class Buffer : public std::streambuf
    {
    protected:
        int_type overflow(int_type character) override;
        std::streamsize xsputn(const char* text, std::streamsize count) override;
        int sync() override;

    private:
        std::string held;
    };
    Buffer buffer;
};
