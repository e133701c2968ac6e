#pragma once

// Files of the system that close themselves.

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

/// An open file, closed at the end; negative when opening it failed. No child inherits it, if it
/// was opened so. It is never one of the three standard streams, even when those of this process
/// are closed: giving a child its streams one after the other would overwrite it.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : fd(number)
    {
        if (fd >= 0 && fd <= STDERR_FILENO) {
            fd = ::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            const int error = errno;
            ::close(number);
            errno = error;
        }
    }
    ~Descriptor()
    {
        close();
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(fd, other.fd);
        return *this;
    }

    int number() const
    {
        return fd;
    }
    bool isOpen() const
    {
        return fd >= 0;
    }
    void close()
    {
        if (fd >= 0) {
            ::close(fd);
        }
        fd = -1;
    }

private:
    int fd;
};

/// A pipe of which no child inherits an end.
struct Pipe {
    Descriptor toRead;
    Descriptor toWrite;

    /// False, with the reason in `errno`, when the system has no room for it.
    bool open()
    {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            return false;
        }
        toRead = Descriptor(ends[0]);
        toWrite = Descriptor(ends[1]);
        return isOpen();
    }
    bool isOpen() const
    {
        return toRead.isOpen() && toWrite.isOpen();
    }
    void close()
    {
        toRead.close();
        toWrite.close();
    }
};
