#pragma once

// Where the tools of a job print their errors when somebody wants to read them.

#include "base/Descriptor.h"

#include <QByteArray>

/// A file in memory that takes the first mebibyte of what is printed and refuses the rest, so that
/// a tool without end cannot take the memory of the machine. All who have the file open share one
/// place in it: what several print stands in the order of the printing. It is neither cut nor made
/// longer: a tool that opens its standard error anew to overwrite it, or to append, is refused.
class ErrorOutput
{
public:
    /// Takes at most `room` bytes of that. Without room, or when the system has none, the file is
    /// not open.
    explicit ErrorOutput(int room);

    static constexpr int MOST = 1 << 20;

    /// Negative when it is not open.
    int number() const
    {
        return file.number();
    }

    /// What was printed so far.
    QByteArray text() const;

private:
    int most;
    Descriptor file;
};
