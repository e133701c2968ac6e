#include "base/Process.h"

#include <QHash>
#include <QTextCodec>

#include <csignal>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

namespace
{

void openStandardStreams()
{
    int fd = STDIN_FILENO;
    while (fd >= 0 && fd <= STDERR_FILENO) {
        fd = ::open("/dev/null", O_RDWR); // takes the lowest number that is free
    }
    if (fd > STDERR_FILENO) {
        ::close(fd);
    }
}

void resetSignals()
{
    sigset_t none;
    sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGCHLD, SIG_DFL);
    std::signal(SIGPIPE, SIG_IGN);
}

} // namespace

void useUtf8Everywhere()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

void prepareProcess()
{
    openStandardStreams();
    resetSignals();
    // Each worker would take address space for a heap of its own, which hundreds of them exhaust.
    ::mallopt(M_ARENA_MAX, 2);
    // Freeing a large block merges the small blocks kept aside: a sixth of parsing time.
    ::mallopt(M_MXFAST, 0);
    qSetGlobalQHashSeed(0);
    useUtf8Everywhere();
}
