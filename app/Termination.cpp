#include "app/Termination.h"

#include "director/ProofDirector.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <mutex>
#include <new>
#include <poll.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

ProofDirector* director = nullptr;

namespace
{

/// A stop that takes longer than this, in seconds, has met something that blocks for ever, such as
/// a report that nobody reads; the process then ends before the stop is complete.
constexpr unsigned int STOP_LIMIT = 30;

/// Guards `director`, and holds its deletion off while it is being stopped.
std::mutex directorMutex;

/// Written by the handler, read by the thread.
int wakeUp[2] = {-1, -1};

/// Flushes the report unless that would block.
void flushReport()
{
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    if (::poll(&output, 1, 0) == 1) {
        std::cout.flush();
    }
}

[[noreturn]] void endAfterSignal()
{
    std::signal(SIGALRM, [](int) {
        ::_exit(EXIT_FAILURE);
    });
    ::alarm(STOP_LIMIT);
    const std::lock_guard<std::mutex> lock(directorMutex);
    try {
        if (director != nullptr) {
            director->stop();
        }
    } catch (const std::bad_alloc&) {
        std::fputs("mechrun: out of memory while stopping\n", stderr);
    }
    flushReport();
    // Under the lock, and without static destructors: the other threads still run.
    ::_exit(EXIT_FAILURE);
}

/// Set by the handler.
std::atomic<bool> signalCame{false};

/// Waits for the handler, which may well run on this very thread: no signal reaches the main thread
/// while it starts a child, and a file server can hold such a start up.
void waitForSignal()
{
    char byte = 0;
    while (::read(wakeUp[0], &byte, 1) < 0 && errno == EINTR) {
    }
    // A signal that was on its way to this thread has been handled by now.
    if (signalCame) {
        endAfterSignal();
    }
}

/// Never deleted: any thread may end the process.
std::thread* waiting = nullptr;

/// Wakes the thread. Calls nothing that a handler must not call.
void wakeThread()
{
    const char byte = 0;
    // A full pipe means that the thread has been woken already.
    if (::write(wakeUp[1], &byte, 1) != 1) {
    }
}

} // namespace

ProofDirector& setDirector(std::unique_ptr<ProofDirector> made)
{
    const std::lock_guard<std::mutex> lock(directorMutex);
    director = made.release();
    return *director;
}

void deleteDirector()
{
    std::unique_ptr<ProofDirector> last;
    {
        const std::lock_guard<std::mutex> lock(directorMutex);
        last.reset(std::exchange(director, nullptr));
    }
    // Not under the lock: what the end of a director logs must not keep a stop waiting.
}

void sighandler(int /*signal*/)
{
    const int error = errno;
    signalCame = true;
    wakeThread();
    errno = error;
}

void installTermination()
{
    if (::pipe2(wakeUp, O_CLOEXEC) != 0) {
        std::perror("mechrun: cannot prepare for a termination signal");
        std::exit(EXIT_FAILURE);
    }
    ::fcntl(wakeUp[1], F_SETFL, O_NONBLOCK); // the handler must never block
    try {
        waiting = new std::thread(waitForSignal);
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "mechrun: cannot prepare for a termination signal: %s\n",
                     error.what());
        std::exit(EXIT_FAILURE);
    }
    std::signal(SIGTERM, sighandler);
}

int statusAtEnd(int status)
{
    std::cout.flush(); // this blocks when nobody reads the report: a signal must still be heard
    std::signal(SIGTERM, SIG_IGN);
    wakeThread();
    waiting->join(); // the thread ends the process if a signal has come
    return status;
}
