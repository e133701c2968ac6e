#pragma once

// Resource identifiers: the resources themselves.

#include "resource/p_item.h"
#include "resource/p_string.h"

class T_resource_comment;
class T_resource_line;
class T_resource_tool;

/// One resource of a tool, which owns it. Owns the comments in front of its definition.
class T_resource_ident : public T_resource_list_item<T_resource_ident>
{
public:
    /// Without a line.
    T_resource_ident(T_resource_item** first, T_resource_item** last, T_resource_tool* tool,
                     const char* resource, const char* text);
    /// Takes its comments and all the lines of its definition along.
    ~T_resource_ident() override;

    T_resource_tool* get_tool() const;
    const char* get_name() const
    {
        return name.get_text();
    }
    const char* get_value() const
    {
        return value.get_text();
    }
    /// Replaces the value with a copy of `text`; the lines stay as they are.
    void set_value(const char* text)
    {
        value.init_string(text);
    }

    /// The last line of the definition; null when there is none.
    T_resource_line* get_line() const
    {
        return line;
    }
    /// Sets this end of the link only.
    void set_line(T_resource_line* new_line)
    {
        line = new_line;
    }
    /// Gives up the lines of the definition, which no longer have the identifier as their item: the
    /// analysis of their file decides whether it has a definition still.
    void await_definition();
    /// True from await_definition up to the next definition.
    bool awaits_definition() const
    {
        return awaiting;
    }
    /// Links the identifier with its definition: `first_part` and every line from there to
    /// `new_line`, which stand in one file and hold no item yet.
    void attach(T_resource_line* first_part, T_resource_line* new_line);
    /// Deletes all lines of the definition.
    void delete_lines();
    /// Deletes the lines of the definition but the last.
    void delete_earlier_lines();

    T_resource_comment* first_comment() const;
    /// Takes over the comments of a pending list, which is empty afterwards. The comments that the
    /// resource had stay with their lines: no file loses a comment when a definition moves away.
    void take_comments(T_resource_list<T_resource_comment>& pending);

private:
    void delete_lines_back_from(T_resource_line* part);

    T_resource_string name;
    T_resource_string value;
    T_resource_line* line = nullptr;
    bool awaiting = false;
    T_resource_list<T_resource_comment> comments;
};

/// The resource as a line of a resource file: "ORN*tool*name: value".
T_resource_string new_value(const T_resource_ident& ident);
