#include "resource/p_resour.h"

#include "resource/p_comm.h"
#include "resource/p_file.h"
#include "resource/p_line.h"
#include "resource/p_mark.h"
#include "resource/p_tool.h"

#include <string>
#include <utility>

T_resource_ident::T_resource_ident(T_resource_item** first, T_resource_item** last,
                                   T_resource_tool* tool, const char* resource, const char* text)
    : T_resource_list_item(first, last, tool, RESOURCE_TYPE_IDENT), name(resource), value(text)
{
}

T_resource_ident::~T_resource_ident()
{
    // 1. The comments go, and their lines with them.
    comments.clear();
    // 2. The lines of the definition go, the last first.
    delete_lines();
}

T_resource_tool* T_resource_ident::get_tool() const
{
    return static_cast<T_resource_tool*>(get_owner());
}

void T_resource_ident::await_definition()
{
    line = nullptr;
    awaiting = true;
}

void T_resource_ident::attach(T_resource_line* first_part, T_resource_line* new_line)
{
    awaiting = false;
    line = new_line;
    line->set_item(this);
    for (T_resource_line* part = first_part; part != line; part = part->get_next()) {
        part->set_item(this);
    }
}

void T_resource_ident::delete_lines()
{
    delete_lines_back_from(std::exchange(line, nullptr));
}

void T_resource_ident::delete_earlier_lines()
{
    delete_lines_back_from(line->get_previous());
}

void T_resource_ident::delete_lines_back_from(T_resource_line* part)
{
    while (part != nullptr && part->get_item() == this) {
        T_resource_line* const before = part->get_previous();
        part->set_item(nullptr);
        part->get_file()->delete_line(part);
        part = before;
    }
}

T_resource_comment* T_resource_ident::first_comment() const
{
    return comments.first();
}

void T_resource_ident::take_comments(T_resource_list<T_resource_comment>& pending)
{
    release_comments(comments);
    comments.swap(pending);
    for (auto* comment = first_comment(); comment; comment = comment->get_next()) {
        comment->set_owner(this);
    }
}

T_resource_string new_value(const T_resource_ident& ident)
{
    std::string text = get_RESOURCE_MARK_RESOURCE();
    text += get_RESOURCE_MARK_STAR();
    text += ident.get_tool()->get_name();
    text += get_RESOURCE_MARK_STAR();
    text += ident.get_name();
    text += get_RESOURCE_MARK_COLON();
    text += get_RESOURCE_MARK_SPACE();
    text += ident.get_value();
    return T_resource_string(text.c_str());
}
