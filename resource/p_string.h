#pragma once

// Owned C strings of the resource set. A null text handed in counts as the empty one.

#include <cstdint>
#include <cstdio>
#include <memory>

/// A C string on the heap together with its length.
class T_resource_string
{
public:
    explicit T_resource_string(const char* source);
    /// The length is kept as given; at most that many bytes are copied, up to the NUL of `source`.
    T_resource_string(const char* source, std::uint64_t size);
    T_resource_string(const T_resource_string&) = delete;
    T_resource_string& operator=(const T_resource_string&) = delete;

    /// As the constructors, on an existing string. `source` may lie in the text it replaces.
    void init_string(const char* source);
    void init_string(const char* source, std::uint64_t size);

    /// True when lengths and texts are equal.
    bool compare(const T_resource_string& other) const;
    void print(FILE* stream) const;

    std::uint64_t get_length() const
    {
        return length;
    }
    const char* get_text() const
    {
        return text.get();
    }

private:
    std::uint64_t length = 0;
    std::unique_ptr<char[]> text;
};

/// A new copy of `source`, which the caller owns.
std::unique_ptr<char[]> string_copy(const char* source);
