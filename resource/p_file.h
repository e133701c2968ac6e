#pragma once

// Resource files, as loaded in memory: lists of lines.

#include "resource/p_item.h"
#include "resource/p_line.h"
#include "resource/p_string.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <tuple>

#include <sys/types.h>

class T_resource_manager;

/// Device, inode, size and time of the last change: tells a file on disk from any other, and from
/// itself once somebody has written to it.
using T_file_stamp = std::tuple<dev_t, ino_t, off_t, std::time_t, long>;

/// Which of the three files a resource set came from.
enum T_resource_source {
    RESOURCE_SOURCE_ORMALIN = 0,  ///< the workbench's own file
    RESOURCE_SOURCE_USER = 1,     ///< the user's file
    RESOURCE_SOURCE_EXPLICIT = 2, ///< a file named explicitly
};

/// Owned by the manager, in the slot of its source; in no list. Owns its lines, which take the
/// resources that they define along.
class T_resource_file : public T_resource_item
{
public:
    /// An empty file; nothing is read.
    T_resource_file(T_resource_manager* manager, const char* path, T_resource_source origin);

    T_resource_manager* get_manager() const;
    const char* get_name() const
    {
        return name.get_text();
    }
    void set_name(const char* path)
    {
        name.init_string(path);
    }
    T_resource_source get_source() const
    {
        return source;
    }

    T_resource_line* first_line() const
    {
        return lines.first();
    }
    T_resource_line* last_line() const
    {
        return lines.last();
    }
    /// The first line numbered at least `n`, or null.
    T_resource_line* get_line(std::uint32_t n) const;
    /// Replaces the text of the first line numbered at least `n`, or appends a line, which gets
    /// the number after the last one whatever `n` was.
    void set_line(std::uint32_t n, const char* text);
    T_resource_line* append_line(const char* text);
    /// Deletes the first line numbered at least `n`, if there is one.
    void delete_line(std::uint32_t n);
    void delete_line(T_resource_line* line);

    /// Reads the file line by line as set_line does, numbered from 1, and returns the first line;
    /// null when there is none, or when the file cannot be opened (reported) or is empty. The
    /// lines come back without items. Resources that lines already here defined await the
    /// analysis, which has to follow: it defines them again, each at its old place among the
    /// resources of its tool, or deletes them.
    T_resource_line* load();

    /// Writes the lines to the file; what it held before is kept under the name with a tilde,
    /// unless it is what an earlier save failed to finish. Failures are reported.
    void save() const;

private:
    void forget_items();
    void read_lines(FILE* stream, std::size_t size);
    void put_line(T_resource_line* line, const char* text);
    void move_to_backup() const;
    bool write_lines(FILE* stream) const;

    T_resource_string name;
    T_resource_source source;
    // Declared last, so that it is destroyed first: a line that goes deletes others from its file.
    T_resource_list<T_resource_line> lines;
};

/// As fopen; a failure is reported.
FILE* s_fopen(const char* path, const char* mode);
