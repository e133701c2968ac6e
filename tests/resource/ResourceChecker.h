#pragma once

// Walks every list of a resource manager and looks for the first broken invariant.

#include "resource/p_comm.h"
#include "resource/p_file.h"
#include "resource/p_line.h"
#include "resource/p_mana.h"
#include "resource/p_resour.h"
#include "resource/p_tool.h"

#include <set>
#include <string>

namespace test
{

/// The line that a resource or a comment points at.
inline const T_resource_line* lineOf(const T_resource_item* item)
{
    return item->get_type() == RESOURCE_TYPE_IDENT
               ? static_cast<const T_resource_ident*>(item)->get_line()
               : static_cast<const T_resource_comment*>(item)->get_line();
}

/// A description of the first fault; empty when everything holds.
inline std::string faultOf(const T_resource_manager& manager)
{
    std::string fault;
    const auto expect = [&fault](bool holds, const char* what) {
        fault = fault.empty() && !holds ? what : fault;
    };
    std::set<const T_resource_item*> found; // all that stand in a list
    const auto walk = [&](const T_resource_item* item, const T_resource_item* owner, int type) {
        const T_resource_item* before = nullptr;
        for (; item != nullptr && fault.empty(); item = item->get_next()) {
            expect(item->get_previous() == before && item->get_owner() == owner &&
                       item->get_type() == type && found.insert(item).second,
                   "an item does not fit into its list");
            before = item;
        }
    };
    for (const int slot : {0, 1, 2}) {
        auto* const file = manager.get_file(static_cast<T_resource_source>(slot));
        walk(file ? file->first_line() : nullptr, file, RESOURCE_TYPE_LINE);
    }
    walk(manager.first_tool(), &manager, RESOURCE_TYPE_ITEM);
    for (auto* tool = manager.first_tool(); tool; tool = tool->get_next()) {
        walk(tool->first_ident(), tool, RESOURCE_TYPE_IDENT);
        for (auto* ident = tool->first_ident(); ident; ident = ident->get_next()) {
            walk(ident->first_comment(), ident, RESOURCE_TYPE_COMMENT);
            expect(tool->get_resource(ident->get_name()) == ident,
                   "a resource is there twice or not found by its name");
        }
    }
    for (const T_resource_item* const item : found) {
        if (item->get_type() == RESOURCE_TYPE_LINE) {
            auto* const line = static_cast<const T_resource_line*>(item);
            const T_resource_line* const next = line->get_next();
            expect(next ? line->get_number() < next->get_number()
                        : line->get_file()->last_line() == line,
                   "the lines of a file are not in order");
            const T_resource_item* const held = line->get_item();
            // A comment without owner is in no list; of a definition the last line is pointed at.
            expect(!held || (held->get_owner() ? found.count(held) == 1
                                               : !held->get_next() && !held->get_previous()),
                   "the item of a line is gone, or in a list of its own");
            expect(!held || lineOf(held) == line ||
                       (line->get_ident() && next && next->get_item() == held),
                   "a line is not led back to from its item");
        } else if (item->get_type() != RESOURCE_TYPE_ITEM) {
            const T_resource_line* const line = lineOf(item);
            expect(line ? found.count(line) == 1 && line->get_item() == item
                        : item->get_type() == RESOURCE_TYPE_COMMENT,
                   "an item is not led back to from its line");
        }
    }
    return fault;
}

} // namespace test
