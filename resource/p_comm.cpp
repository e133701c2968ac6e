#include "resource/p_comm.h"

#include "resource/p_file.h"
#include "resource/p_line.h"

T_resource_comment::T_resource_comment(T_resource_item** first, T_resource_item** last,
                                       T_resource_line* holder)
    : T_resource_list_item(first, last, nullptr, RESOURCE_TYPE_COMMENT), line(holder)
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

void release_comments(T_resource_list<T_resource_comment>& comments)
{
    while (T_resource_comment* const comment = comments.first()) {
        if (comment->get_line() == nullptr) {
            comments.destroy(comment);
        } else {
            comments.release(comment);
            comment->set_owner(nullptr);
        }
    }
}
