#pragma once

// The manager: the files and tools of a process.

#include "resource/p_file.h"
#include "resource/p_item.h"
#include "resource/p_tool.h"

#include <array>
#include <cstdio>
#include <memory>
#include <set>

class T_resource_ident;

/// Owns the files, one slot per source, and the tools.
class T_resource_manager : public T_resource_item
{
public:
    T_resource_manager();
    /// Takes everything along.
    ~T_resource_manager() override;

    T_resource_tool* first_tool() const
    {
        return tools.first();
    }
    /// The first tool of that name, or null; a null name gives the first tool of all.
    T_resource_tool* get_tool(const char* name) const;
    /// Appends a new tool, even if there is one of that name; null for a null name.
    T_resource_tool* set_tool(const char* name);
    /// The tool that get_tool gives, made if there is none; null when it cannot be made.
    T_resource_tool* find_or_set_tool(const char* name);
    /// Deletes the tool that get_tool gives, if any.
    void delete_tool(const char* name);
    void delete_all_tools();
    /// Deletes, in every tool, the resources that still await a definition.
    void delete_awaiting();

    /// The file of that source; null when there is none, or no such source.
    T_resource_file* get_file(T_resource_source source) const;
    /// A new, empty file of that source; the old file is destroyed. An explicit file
    /// that exists stays instead, lines and all, and only takes the new name. Null for a source
    /// that does not exist.
    T_resource_file* set_file(const char* name, T_resource_source source);
    void delete_file(T_resource_source source);

    /// The file that is saved: the explicit one, else the user's; null when neither is loaded.
    T_resource_file* loaded_writable_file() const;
    /// The same, but an empty user file under the default path when neither is loaded.
    T_resource_file* writable_file();
    /// Writes the definition of an identifier without a line at the end of the writable file.
    void new_line_value(T_resource_ident* ident);

    /// The files that a save of this process failed to finish, as it left them.
    std::set<T_file_stamp>& unfinished_files()
    {
        return unfinished;
    }

    void print_resources(FILE* stream) const;

private:
    std::array<std::unique_ptr<T_resource_file>, 3> files;
    T_resource_named_list<T_resource_tool> tools;
    std::set<T_file_stamp> unfinished;
};

/// The manager that the C interface works on; null until it is made.
extern T_resource_manager* resource_manager;

/// The path of the user's resource file, which the caller owns. Without HOME it lies in the root.
std::unique_ptr<char[]> get_default_user_file();
