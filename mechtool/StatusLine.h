#pragma once

// The line at the foot of a terminal, and the one who writes to the error stream while it stands.
//
// A thread of its own draws the line again and again, and writes whatever is written to std::cerr
// and std::clog meanwhile: the whole lines, above the line that stands, when it is drawn the next
// time; without such a line at once. Who writes there only hands the text over, and never waits.
// When nobody reads the error stream, what is handed over is kept up to a mebibyte; lines beyond
// that are dropped, and their number is written where they would stand. Part of a line waits for
// its end.
//
// Nothing of the terminal is changed but the line, which never reaches the last column. So a
// process that is killed leaves the terminal in order.

#include <chrono>
#include <functional>
#include <memory>
#include <string>

class StatusLine
{
public:
    /// `text` makes the line for a number of columns. It is called by the thread, at once and then
    /// every `period`, and may write to the error streams. With `drawn` its text is the line at the
    /// foot; otherwise it is written as a line of its own, unless it is empty.
    StatusLine(bool drawn, std::chrono::milliseconds period,
               std::function<std::string(int columns)> text);

    /// Ends it, and gives the streams back. No other thread writes to them meanwhile.
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    /// Removes the line and writes what was handed over; gives up when nobody has read anything for
    /// two seconds. From then on the streams are written directly. Any thread may call this, and
    /// again: it returns when the line is gone.
    void end();

private:
    class Writer;
    class LineBuffer;
    const std::shared_ptr<Writer> writer;
    std::unique_ptr<LineBuffer> errors;
    std::unique_ptr<LineBuffer> log;
};

/// Whether the error stream is a terminal that can draw a line again.
bool canDrawLine();
