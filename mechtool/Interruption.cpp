#include "mechtool/Interruption.h"

#include "director/ProofDirector.h"
#include "mechtool/Command.h"
#include "mechtool/TemporaryFolder.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace
{

/// A stop that takes longer than this, in seconds, has met something that blocks for ever, such as
/// an error stream that nobody reads; the process then ends without it.
constexpr unsigned int STOP_LIMIT = 30;

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

/// Written by the handler, read by the thread.
int wakeUp[2] = {-1, -1};

std::atomic<int> signalCame{0};

/// Guards what follows, and holds the end of a director off while it is being stopped.
std::mutex mutex;
ProofDirector* playing = nullptr;
std::function<QString(bool)> tellEnd;

void handle(int signal)
{
    const int error = errno;
    if (signalCame.exchange(signal) != 0 && signal == SIGINT) {
        ::_exit(128 + signal);
    }
    const char byte = 0;
    // A full pipe means that the thread has been woken already.
    if (::write(wakeUp[1], &byte, 1) != 1) {
    }
    errno = error;
}

/// Writes a line to the standard error, unless nobody reads it.
void writeLine(const QString& line)
{
    constexpr int PATIENCE = 1000; // in milliseconds
    const QByteArray bytes = line.toUtf8() + '\n';
    pollfd errors = {STDERR_FILENO, POLLOUT, 0};
    if (::poll(&errors, 1, PATIENCE) != 1 ||
        ::write(STDERR_FILENO, bytes.constData(), static_cast<std::size_t>(bytes.size())) < 0) {
        return; // the exit status still tells
    }
}

[[noreturn]] void endAfterSignal(int signal)
{
    std::signal(SIGALRM, [](int) {
        ::_exit(128 + signalCame);
    });
    ::alarm(STOP_LIMIT);
    const std::lock_guard<std::mutex> lock(mutex);
    try {
        bool saved = true;
        if (playing != nullptr) {
            playing->stop();
            saved = playing->savePosFile();
        }
        TemporaryFolder::removeAll();
        writeLine(tellEnd(saved));
    } catch (const std::bad_alloc&) {
        std::cerr << "mechtool: out of memory while stopping" << std::endl;
    }
    // Under the lock, and without static destructors: the other threads still run.
    ::_exit(128 + signal);
}

void waitForSignal()
{
    char byte = 0;
    while (::read(wakeUp[0], &byte, 1) < 0 && errno == EINTR) {
    }
    endAfterSignal(signalCame);
}

} // namespace

Interruption::Interruption(std::function<QString(bool)> tell)
{
    tellEnd = std::move(tell);
    if (::pipe2(wakeUp, O_CLOEXEC) != 0) {
        throw CannotAnswer(QStringLiteral("cannot prepare for a signal: %1: close other programs")
                               .arg(QString::fromUtf8(std::strerror(errno))));
    }
    ::fcntl(wakeUp[1], F_SETFL, O_NONBLOCK); // the handler must never block
    std::thread(waitForSignal).detach();
    for (const int signal : SIGNALS) {
        if (std::signal(signal, handle) == SIG_IGN && signal == SIGHUP) {
            std::signal(signal, SIG_IGN);
        }
    }
}

Interruption::~Interruption()
{
    for (const int signal : SIGNALS) {
        if (std::signal(signal, SIG_DFL) == SIG_IGN) {
            std::signal(signal, SIG_IGN);
        }
    }
    while (signalCame != 0) {
        ::pause();
    }
}

void Interruption::during(ProofDirector& director, const std::function<void()>& work)
{
    class Playing
    {
    public:
        explicit Playing(ProofDirector* played)
        {
            set(played);
        }
        ~Playing()
        {
            set(nullptr); // which waits for a stop, and so for the end of the process
        }
        Playing(const Playing&) = delete;
        Playing& operator=(const Playing&) = delete;

    private:
        static void set(ProofDirector* played)
        {
            const std::lock_guard<std::mutex> lock(mutex);
            playing = played;
        }
    };
    const Playing guard(&director);
    work();
}
