#include "resource/p_string.h"

#include <cstring>

T_resource_string::T_resource_string(const char* source)
{
    init_string(source);
}

T_resource_string::T_resource_string(const char* source, std::uint64_t size)
{
    init_string(source, size);
}

void T_resource_string::init_string(const char* source)
{
    init_string(source, source ? std::strlen(source) : 0);
}

void T_resource_string::init_string(const char* source, std::uint64_t size)
{
    // The new text is complete before the old one goes.
    auto fresh = std::make_unique<char[]>(size + 1);
    if (source != nullptr) {
        std::memcpy(fresh.get(), source, strnlen(source, size));
    }
    text = std::move(fresh);
    length = size;
}

bool T_resource_string::compare(const T_resource_string& other) const
{
    return length == other.length && std::strcmp(text.get(), other.text.get()) == 0;
}

void T_resource_string::print(FILE* stream) const
{
    std::fputs(text.get(), stream);
}

std::unique_ptr<char[]> string_copy(const char* source)
{
    const std::size_t size = source ? std::strlen(source) : 0;
    auto copy = std::make_unique<char[]>(size + 1);
    if (source != nullptr) {
        std::memcpy(copy.get(), source, size);
    }
    return copy;
}
