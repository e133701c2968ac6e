#include "resource/p_item.h"

T_resource_item::T_resource_item(T_resource_item** first, T_resource_item** last,
                                 T_resource_item* list_owner, T_resource_type code)
    : type(code), owner(list_owner)
{
    if (first == nullptr || last == nullptr) {
        return;
    }
    previous = *last;
    (previous ? previous->next : *first) = this;
    *last = this;
}

T_resource_item::~T_resource_item() = default;

void T_resource_item::close_gap(T_resource_item** first, T_resource_item** last) const
{
    (previous ? previous->next : *first) = next;
    (next ? next->previous : *last) = previous;
}

void unlink_item(T_resource_item* item, T_resource_item** first, T_resource_item** last)
{
    item->close_gap(first, last);
    item->previous = nullptr;
    item->next = nullptr;
}

void delete_item(T_resource_item* item, T_resource_item** first, T_resource_item** last)
{
    item->close_gap(first, last);
    delete item;
}

void delete_list(T_resource_item** first, T_resource_item** last)
{
    while (*first != nullptr) {
        T_resource_item* const item = *first;
        *first = item->next;
        (*first ? (*first)->previous : *last) = nullptr;
        delete item;
    }
}
