#include "mechtool/StatusLine.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <streambuf>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

constexpr std::size_t MOST_PENDING = std::size_t(1) << 20;
constexpr std::chrono::seconds PATIENCE{2};
constexpr int USUAL_COLUMNS = 80;

/// The columns that a line may take. One is left free: a full line would make some terminals begin
/// another.
int freeColumns()
{
    winsize size = {};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return (isKnown ? size.ws_col : USUAL_COLUMNS) - 1;
}

/// How far the thread is with writing.
struct writing_t {
    std::atomic<unsigned> pieces{0}; ///< so many went out
    std::atomic<bool> isGivenUp{false};
};

/// Writes to the error stream. What nobody can read any more is lost.
void writeOut(const std::string& text, writing_t& writing)
{
    for (std::size_t done = 0; done < text.size() && !writing.isGivenUp;) {
        const ssize_t count = ::write(STDERR_FILENO, text.data() + done, text.size() - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
            ++writing.pieces;
        } else if (errno == EAGAIN) {
            pollfd polled = {STDERR_FILENO, POLLOUT, 0};
            ::poll(&polled, 1, -1);
        } else if (errno != EINTR) {
            return;
        }
    }
}

/// Starts a thread that gets no signals: they are meant for others.
std::thread withoutSignals(const std::function<void()>& body)
{
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread;
    try {
        thread = std::thread(body);
    } catch (const std::system_error&) {
        // The caller does without.
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

} // namespace

/// What the thread works on. It belongs to the thread, too: a thread that a write holds for ever is
/// left behind, and this with it.
class StatusLine::Writer
{
public:
    Writer(bool isDrawn, std::chrono::milliseconds redrawPeriod,
           std::function<std::string(int)> makeText)
        : drawn(isDrawn), period(redrawPeriod), text(std::move(makeText))
    {
    }

    /// Without a thread there is no line, and the streams are written directly.
    void begin(const std::shared_ptr<Writer>& self)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        thread = withoutSignals([self] {
            self->run();
        });
        closed = !thread.joinable();
    }

    /// Takes whole lines; false when they are to be written directly.
    bool take(const std::string& lines)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (closed) {
            return false;
        }
        if (pending.size() + lines.size() > MOST_PENDING) {
            dropped += std::count(lines.begin(), lines.end(), '\n');
        } else {
            pending += lines;
        }
        changed.notify_all();
        return true;
    }

    void end()
    {
        std::call_once(ended, [this] {
            std::unique_lock<std::mutex> lock(mutex);
            ending = true;
            changed.notify_all();
            bool advances = true;
            while (!closed && (advances || isMakingText)) {
                const unsigned before = writing.pieces;
                changed.wait_for(lock, PATIENCE, [this] {
                    return closed;
                });
                advances = writing.pieces != before;
            }
            const bool isDone = std::exchange(closed, true);
            writing.isGivenUp = !isDone;
            lock.unlock();
            if (thread.joinable()) {
                isDone ? thread.join() : thread.detach();
            }
        });
    }

private:
    void run()
    {
        std::unique_lock<std::mutex> lock(mutex);
        auto due = std::chrono::steady_clock::now();
        while (!ending) {
            if (std::chrono::steady_clock::now() >= due) {
                makeText(lock);
                due = std::chrono::steady_clock::now() + period;
            }
            writePending(lock);
            changed.wait_until(lock, due, [this] {
                return ending || (!drawn && !pending.empty());
            });
        }
        line.clear();
        while (!closed && hasPending()) {
            writePending(lock);
        }
        closed = true;
        changed.notify_all();
    }

    void makeText(std::unique_lock<std::mutex>& lock)
    {
        isMakingText = true;
        lock.unlock();
        std::string made = text(freeColumns());
        lock.lock();
        isMakingText = false;
        if (drawn) {
            line = std::move(made);
        } else if (!made.empty()) {
            pending += made + '\n';
        }
    }

    bool hasPending() const
    {
        return !pending.empty() || dropped != 0 || line != standing;
    }

    /// Writes lines and line in one piece, without the lock.
    void writePending(std::unique_lock<std::mutex>& lock)
    {
        if (!hasPending()) {
            return;
        }
        if (dropped != 0) {
            pending += "mechtool: " + std::to_string(std::exchange(dropped, 0)) +
                       " lines are missing here: nobody has read this stream\n";
        }
        const std::string erased = "\x1b[K";
        std::string piece = standing.empty() ? "" : "\r";
        if (!pending.empty()) {
            piece += (standing.empty() ? "" : erased) + std::exchange(pending, {}) + line;
        } else {
            piece += line + erased;
        }
        standing = line;
        lock.unlock();
        writeOut(piece, writing);
        lock.lock();
    }

    const bool drawn;
    const std::chrono::milliseconds period;
    const std::function<std::string(int)> text;
    std::thread thread;
    std::once_flag ended;
    writing_t writing;

    std::mutex mutex; // guards what follows
    std::condition_variable changed;
    std::string pending;
    std::ptrdiff_t dropped = 0;
    std::string line;     ///< as it should be
    std::string standing; ///< as it stands on the terminal
    bool isMakingText = false;
    bool ending = false;
    bool closed = false;
};

/// Stands in the place of a stream's buffer, and hands whole lines over.
class StatusLine::LineBuffer final : public std::streambuf
{
public:
    LineBuffer(std::ostream& replaced, Writer& taker)
        : stream(replaced), writer(taker), before(replaced.rdbuf(this))
    {
    }
    ~LineBuffer() override
    {
        stream.rdbuf(before);
        stream << begun << std::flush;
    }
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;

protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override
    {
        const std::lock_guard<std::mutex> lock(mutex);
        begun.append(text, static_cast<std::size_t>(count));
        const std::size_t length = begun.rfind('\n') + 1; // 0 without a whole line
        if (length != 0) {
            const std::string lines = begun.substr(0, length);
            begun.erase(0, length);
            if (!writer.take(lines)) {
                before->sputn(lines.data(), static_cast<std::streamsize>(lines.size()));
                before->pubsync();
            }
        }
        return count;
    }

    int_type overflow(int_type c) override
    {
        const char character = traits_type::to_char_type(c);
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            xsputn(&character, 1);
        }
        return traits_type::not_eof(c);
    }

private:
    std::ostream& stream;
    Writer& writer;
    std::streambuf* const before;
    std::mutex mutex; // guards `begun`, and keeps lines apart
    std::string begun;
};

StatusLine::StatusLine(bool drawn, std::chrono::milliseconds period,
                       std::function<std::string(int)> text)
    : writer(std::make_shared<Writer>(drawn, period, std::move(text)))
{
    std::cerr.flush();
    std::clog.flush();
    errors = std::make_unique<LineBuffer>(std::cerr, *writer);
    log = std::make_unique<LineBuffer>(std::clog, *writer);
    writer->begin(writer);
}

StatusLine::~StatusLine()
{
    end();
}

void StatusLine::end()
{
    writer->end();
}

bool canDrawLine()
{
    const char* terminal = std::getenv("TERM"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    return ::isatty(STDERR_FILENO) == 1 && terminal != nullptr && *terminal != '\0' &&
           std::string(terminal) != "dumb";
}
