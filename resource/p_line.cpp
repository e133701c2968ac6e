#include "resource/p_line.h"

#include "resource/p_comm.h"
#include "resource/p_file.h"
#include "resource/p_resour.h"
#include "resource/p_tool.h"

T_resource_line::T_resource_line(T_resource_item** first, T_resource_item** last,
                                 T_resource_file* file, std::uint32_t n, const char* text)
    : T_resource_list_item(first, last, file, RESOURCE_TYPE_LINE), number(n), value(text)
{
}

T_resource_line::~T_resource_line()
{
    // 1. A comment loses its line, and its life if the line was all that held it.
    detach_comment();
    // 2. An identifier goes, and takes the other lines of its definition along, from the line that
    //    it points at back to the first. When it points at this line, the line before takes over if
    //    it belongs to the definition: the line of a comment would be gone by now.
    T_resource_ident* const ident = get_ident();
    if (ident == nullptr) {
        return;
    }
    item = nullptr;
    if (ident->get_line() == this) {
        T_resource_line* const before = get_previous();
        ident->set_line(before && before->get_item() == ident ? before : nullptr);
    }
    ident->get_tool()->delete_ident(ident);
}

T_resource_file* T_resource_line::get_file() const
{
    return static_cast<T_resource_file*>(get_owner());
}

T_resource_ident* T_resource_line::get_ident() const
{
    const bool held = item != nullptr && item->get_type() == RESOURCE_TYPE_IDENT;
    return held ? static_cast<T_resource_ident*>(item) : nullptr;
}

void T_resource_line::detach_comment()
{
    if (item == nullptr || item->get_type() != RESOURCE_TYPE_COMMENT) {
        return;
    }
    auto* const comment = static_cast<T_resource_comment*>(item);
    item = nullptr;
    comment->clear_line();
    if (comment->get_owner() == nullptr) {
        delete comment;
    }
}
