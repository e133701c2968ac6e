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
#include <vector>

namespace test
{

class ResourceChecker
{
public:
    /// A description of the first fault; empty when everything holds.
    static std::string faultOf(const T_resource_manager& manager)
    {
        ResourceChecker checker(manager);
        checker.collect();
        checker.checkTools();
        checker.checkLines();
        return checker.fault;
    }

private:
    using Items = std::set<const T_resource_item*>;

    explicit ResourceChecker(const T_resource_manager& checked) : manager(checked) {}

    void expect(bool holds, const char* what)
    {
        if (!holds && fault.empty()) {
            fault = what;
        }
    }

    void walk(const T_resource_item* first, const T_resource_item* owner, int type, Items& found)
    {
        const T_resource_item* before = nullptr;
        for (const T_resource_item* item = first; item != nullptr; item = item->get_next()) {
            expect(item->get_previous() == before, "the previous link of an item is wrong");
            expect(item->get_owner() == owner, "the owner of an item is not its list's");
            expect(item->get_type() == type, "an item of another type is in a list");
            expect(found.insert(item).second, "an item is in two lists");
            before = item;
        }
    }

    void collect()
    {
        for (int slot = 0; slot < 3; ++slot) {
            const auto source = static_cast<T_resource_source>(slot);
            const T_resource_file* const file = manager.get_file(source);
            if (file != nullptr) {
                files.push_back(file);
                expect(file->get_owner() == &manager && file->get_source() == source,
                       "a file is in the wrong slot");
                walk(file->first_line(), file, RESOURCE_TYPE_LINE, lines);
            }
        }
        walk(manager.first_tool(), &manager, RESOURCE_TYPE_ITEM, tools);
        for (const T_resource_tool* tool = manager.first_tool(); tool; tool = tool->next_tool()) {
            walk(tool->first_ident(), tool, RESOURCE_TYPE_IDENT, idents);
        }
    }

    void checkTools()
    {
        std::set<std::string> toolNames;
        for (const T_resource_tool* tool = manager.first_tool(); tool; tool = tool->next_tool()) {
            expect(!toolNames.insert(tool->get_name()).second ||
                       manager.get_tool(tool->get_name()) == tool,
                   "look-up does not give the first tool of a name");
            std::set<std::string> names;
            for (const T_resource_ident* at = tool->first_ident(); at; at = at->next_ident()) {
                expect(names.insert(at->get_name()).second, "a resource is there twice");
                expect(tool->get_resource(at->get_name()) == at, "a resource is not found by name");
                checkIdent(at);
            }
        }
    }

    void checkIdent(const T_resource_ident* ident)
    {
        expect(lines.count(ident->get_line()) == 1, "the line of a resource is not in a file");
        expect(fault.empty() && ident->get_line()->get_item() == ident,
               "the line of a resource does not point back");
        walk(ident->first_comment(), ident, RESOURCE_TYPE_COMMENT, comments);
        for (const T_resource_item* item = ident->first_comment(); item; item = item->get_next()) {
            const T_resource_line* const line =
                static_cast<const T_resource_comment*>(item)->get_line();
            expect(line == nullptr || (lines.count(line) == 1 && line->get_item() == item),
                   "a comment and its line do not point at each other");
        }
    }

    void checkLines()
    {
        for (const T_resource_file* const file : files) {
            const T_resource_line* line = file->first_line();
            expect((line == nullptr) == (file->last_line() == nullptr), "a file has one end only");
            for (; line != nullptr && fault.empty(); line = line->next_line()) {
                const T_resource_line* const next = line->next_line();
                expect(next ? line->get_number() < next->get_number() : file->last_line() == line,
                       "the lines of a file are not in order");
                checkItem(line, next);
            }
        }
    }

    void checkItem(const T_resource_line* line, const T_resource_line* next)
    {
        const T_resource_item* const item = line->get_item();
        if (item == nullptr) {
            return;
        }
        if (item->get_type() == RESOURCE_TYPE_COMMENT) {
            const auto* const comment = static_cast<const T_resource_comment*>(item);
            expect(comment->get_line() == line, "the comment of a line does not point back");
            expect(comment->get_owner() ? comments.count(item) == 1
                                        : !item->get_next() && !item->get_previous(),
                   "a comment is in no list, or without owner in one");
            return;
        }
        expect(idents.count(item) == 1, "a line points at a resource that is gone");
        expect(fault.empty() && (static_cast<const T_resource_ident*>(item)->get_line() == line ||
                                 (next != nullptr && next->get_item() == item)),
               "the lines of a definition do not lead to its last one");
    }

    const T_resource_manager& manager;
    std::vector<const T_resource_file*> files;
    Items lines, tools, idents, comments;
    std::string fault;
};

} // namespace test
