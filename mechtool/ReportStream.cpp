#include "mechtool/ReportStream.h"

#include "mechtool/Text.h"

#include <iostream>

ReportStream::ReportStream() : std::ostream(nullptr)
{
    rdbuf(&buffer);
}

ReportStream::~ReportStream()
{
    flush();
}

std::streambuf::int_type ReportStream::Buffer::overflow(int_type character)
{
    held += traits_type::to_char_type(character);
    return character;
}

std::streamsize ReportStream::Buffer::xsputn(const char* text, std::streamsize count)
{
    held.append(text, static_cast<std::size_t>(count));
    return count;
}

int ReportStream::Buffer::sync()
{
    std::cout << (printsToTerminal() ? harmless(QString::fromStdString(held)).toStdString() : held)
              << std::flush;
    held.clear();
    return 0;
}
