#pragma once

// One line of a resource file.

#include "resource/p_item.h"
#include "resource/p_string.h"

#include <cstdint>

class T_resource_file;
class T_resource_ident;

/// Owned by its file. Holds the identifier it defines (or helps to define), a comment, or nothing.
class T_resource_line : public T_resource_list_item<T_resource_line>
{
public:
    T_resource_line(T_resource_item** first, T_resource_item** last, T_resource_file* file,
                    std::uint32_t n, const char* text);
    /// Takes the identifier along; a comment only if no identifier owns it.
    ~T_resource_line() override;

    T_resource_file* get_file() const;

    /// From 1 in the order of the file; deleted lines leave gaps.
    std::uint32_t get_number() const
    {
        return number;
    }
    const T_resource_string& get_value() const
    {
        return value;
    }
    /// Replaces the text with a copy; the item stays.
    void set_value(const char* text)
    {
        value.init_string(text);
    }

    T_resource_item* get_item() const
    {
        return item;
    }
    /// Sets this end of the link only.
    void set_item(T_resource_item* new_item)
    {
        item = new_item;
    }
    /// The item if it is an identifier, else null.
    T_resource_ident* get_ident() const;
    /// Cuts the link to a comment, if there is one, and destroys a comment that nobody else owns.
    void detach_comment();

private:
    std::uint32_t number;
    T_resource_string value;
    T_resource_item* item = nullptr;
};
