#pragma once

// Comment lines, and who keeps them.

#include "resource/p_item.h"

class T_resource_line;

/// Owned by the identifier that it documents; by its line while there is none.
class T_resource_comment : public T_resource_list_item<T_resource_comment>
{
public:
    /// Appends the comment to a pending list and makes it the item of `holder`.
    T_resource_comment(T_resource_item** first, T_resource_item** last, T_resource_line* holder);
    /// Takes its line along.
    ~T_resource_comment() override;

    /// The line that holds the comment; null once that line is gone.
    T_resource_line* get_line() const
    {
        return line;
    }
    /// Clears this end of the link only.
    void clear_line()
    {
        line = nullptr;
    }
    using T_resource_item::set_owner;

private:
    T_resource_line* line;
};

/// Empties a list of comments and leaves each to its line; one without a line is destroyed.
void release_comments(T_resource_list<T_resource_comment>& comments);
