#include "resource/p_comm.h"

#include "resource/p_file.h"
#include "resource/p_line.h"
#include "resource/p_resour.h"

T_resource_comment::T_resource_comment(T_resource_item** first, T_resource_item** last,
                                       T_resource_line* holder)
    : T_resource_item(first, last, nullptr, RESOURCE_TYPE_COMMENT), line(holder)
{
    holder->set_item(this);
}

T_resource_comment::~T_resource_comment()
{
    if (line != nullptr) {
        // 1. The line forgets this comment, so that it does not come back for it.
        line->set_item(nullptr);
        // 2. The line goes.
        line->get_file()->delete_line(line);
    }
}

void T_resource_comment::set_ident(T_resource_ident* ident)
{
    set_owner(ident);
}

void release_comments(T_resource_item** first, T_resource_item** last)
{
    while (*first != nullptr) {
        auto* const comment = static_cast<T_resource_comment*>(*first);
        unlink_item(comment, first, last);
        comment->set_ident(nullptr);
        if (comment->get_line() == nullptr) {
            delete comment;
        }
    }
}
