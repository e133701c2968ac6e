#pragma once

// Tools: the names under which resources are grouped.

#include "resource/p_item.h"
#include "resource/p_resour.h"
#include "resource/p_string.h"

#include <cstdio>

class T_resource_line;
class T_resource_manager;

/// Owned by the manager. Owns its resources, in the order in which they were first defined,
/// and takes them along, whichever files hold their lines.
class T_resource_tool : public T_resource_list_item<T_resource_tool>
{
public:
    T_resource_tool(T_resource_item** first, T_resource_item** last, T_resource_manager* manager,
                    const char* tool);

    T_resource_manager* get_manager() const;
    const char* get_name() const
    {
        return name.get_text();
    }
    T_resource_ident* first_ident() const
    {
        return resources.first();
    }

    /// The resource of exactly that name; null when there is none or the name is null.
    T_resource_ident* get_resource(const char* resource) const;

    /// Gives a resource its value. The analysis of a file hands over a line, which holds no item
    /// or is the last of the definition already: the definition moves to this line, and all lines
    /// of the earlier definition are deleted. Without a line, the definition is written into the
    /// file that is saved. A resource that exists keeps its place in the list. A resource that
    /// exists and has no line is reported, and the result is null, unless the resource awaits a
    /// definition and a line is given.
    T_resource_ident* set_resource(const char* resource, const char* value, T_resource_line* line);

    /// Deletes the resource of that name, if there is one, with its lines.
    void delete_resource(const char* resource);
    void delete_ident(T_resource_ident* ident);
    /// Deletes the resources whose definition the analysis of a file read again has not found.
    void delete_awaiting();
    void print_resources(FILE* stream) const;

private:
    void move_definition(T_resource_ident* ident, T_resource_line* line) const;
    void write_definition(T_resource_ident* ident) const;

    T_resource_string name;
    T_resource_named_list<T_resource_ident> resources;
};
