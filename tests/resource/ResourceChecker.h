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

class ResourceChecker
{
public:
    /// A description of the first fault; empty when everything holds.
    static std::string faultOf(const T_resource_manager& manager)
    {
        ResourceChecker checker;
        for (const int slot : {0, 1, 2}) {
            auto* const file = manager.get_file(static_cast<T_resource_source>(slot));
            checker.walk(file ? file->first_line() : nullptr, file, RESOURCE_TYPE_LINE);
        }
        checker.walk(manager.first_tool(), &manager, RESOURCE_TYPE_ITEM);
        for (auto* tool = manager.first_tool(); tool; tool = tool->next_tool()) {
            checker.walk(tool->first_ident(), tool, RESOURCE_TYPE_IDENT);
            for (auto* ident = tool->first_ident(); ident; ident = ident->next_ident()) {
                checker.walk(ident->first_comment(), ident, RESOURCE_TYPE_COMMENT);
                checker.expect(tool->get_resource(ident->get_name()) == ident,
                               "a resource is there twice or not found by its name");
            }
        }
        for (const T_resource_item* const item : checker.found) {
            checker.checkLinks(item);
        }
        return checker.fault;
    }

private:
    void expect(bool holds, const char* what)
    {
        if (!holds && fault.empty()) {
            fault = what;
        }
    }

    void walk(const T_resource_item* first, const T_resource_item* owner, int type)
    {
        const T_resource_item* before = nullptr;
        for (auto* item = first; item != nullptr && fault.empty(); item = item->get_next()) {
            expect(item->get_previous() == before && item->get_owner() == owner &&
                       item->get_type() == type && found.insert(item).second,
                   "an item does not fit into its list");
            before = item;
        }
    }

    void checkLinks(const T_resource_item* item)
    {
        if (item->get_type() == RESOURCE_TYPE_LINE) {
            checkLine(static_cast<const T_resource_line*>(item));
        } else if (item->get_type() == RESOURCE_TYPE_IDENT) {
            auto* const line = static_cast<const T_resource_ident*>(item)->get_line();
            expect(found.count(line) == 1 && line->get_item() == item,
                   "a resource and its line do not point at each other");
        } else if (item->get_type() == RESOURCE_TYPE_COMMENT) {
            auto* const line = static_cast<const T_resource_comment*>(item)->get_line();
            expect(!line || (found.count(line) == 1 && line->get_item() == item),
                   "a comment and its line do not point at each other");
        }
    }

    void checkLine(const T_resource_line* line)
    {
        const T_resource_line* const next = line->next_line();
        expect(next ? line->get_number() < next->get_number()
                    : line->get_file()->last_line() == line,
               "the lines of a file are not in order");
        const T_resource_item* const item = line->get_item();
        if (item != nullptr && item->get_owner() == nullptr) {
            expect(static_cast<const T_resource_comment*>(item)->get_line() == line &&
                       !item->get_next() && !item->get_previous(),
                   "the comment of a line does not point back, or is in a list");
        } else if (item != nullptr && item->get_type() == RESOURCE_TYPE_IDENT) {
            expect(found.count(item) == 1 &&
                       (static_cast<const T_resource_ident*>(item)->get_line() == line ||
                        (next != nullptr && next->get_item() == item)),
                   "the lines of a definition do not lead to its last one");
        } else {
            expect(item == nullptr || found.count(item) == 1, "the item of a line is gone");
        }
    }

    std::set<const T_resource_item*> found; ///< all that stand in a list
    std::string fault;
};

} // namespace test
