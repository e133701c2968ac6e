#pragma once

// Files of the system that close themselves.

#include <utility>

#include <fcntl.h>
#include <unistd.h>

/// Owns an open file and closes it in the end. The number is negative when opening the file failed.
/// It is never the number of a standard stream: prepareProcess() of base/Process.h has opened all
/// three.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : fd(number) {}
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

/// A pipe. No child inherits an end of it.
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
        return true;
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
