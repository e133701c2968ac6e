#include "resource/p_file.h"

#include "resource/p_mana.h"
#include "resource/p_mark.h"
#include "resource/p_resour.h"
#include "resource/p_tool.h"

#include <cerrno>
#include <memory>
#include <new>
#include <set>
#include <string>

#include <sys/stat.h>

namespace
{

/// What happened, to which file, and what the system says of its last error.
void report(const char* message, const std::string& name)
{
    const int reason = errno;
    std::fprintf(stderr, "%s %s ", message, name.c_str());
    errno = reason;
    std::perror("because");
}

/// All zero when there is no such file.
T_file_stamp stamp_of(const char* path)
{
    struct stat status;
    if (stat(path, &status) != 0) {
        return {};
    }
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
            status.st_mtim.tv_nsec};
}

} // namespace

FILE* s_fopen(const char* path, const char* mode)
{
    FILE* const stream = std::fopen(path, mode);
    if (stream == nullptr) {
        report("Can not open file:", path);
    }
    return stream;
}

T_resource_file::T_resource_file(T_resource_manager* manager, const char* path,
                                 T_resource_source origin)
    : T_resource_item(nullptr, nullptr, manager, RESOURCE_TYPE_FILE), name(path), source(origin)
{
}

T_resource_manager* T_resource_file::get_manager() const
{
    return static_cast<T_resource_manager*>(get_owner());
}

T_resource_line* T_resource_file::get_line(std::uint32_t n) const
{
    T_resource_line* line = first_line();
    while (line != nullptr && line->get_number() < n) {
        line = line->get_next();
    }
    return line;
}

void T_resource_file::set_line(std::uint32_t n, const char* text)
{
    put_line(get_line(n), text);
}

void T_resource_file::put_line(T_resource_line* line, const char* text)
{
    if (line != nullptr) {
        line->set_value(text);
    } else {
        append_line(text);
    }
}

T_resource_line* T_resource_file::append_line(const char* text)
{
    const std::uint32_t number = last_line() ? last_line()->get_number() + 1 : 1;
    return lines.append(this, number, text);
}

void T_resource_file::delete_line(std::uint32_t n)
{
    T_resource_line* const line = get_line(n);
    if (line != nullptr) {
        delete_line(line);
    }
}

void T_resource_file::delete_line(T_resource_line* line)
{
    lines.destroy(line);
}

T_resource_line* T_resource_file::load()
{
    struct stat status;
    if (stat(get_name(), &status) != 0) {
        report("Unable to open resource file", get_name());
        return nullptr;
    }
    // Pipes and devices have no size either: they are never opened, so they cannot block.
    if (status.st_size < 1) {
        return nullptr;
    }
    FILE* const stream = s_fopen(get_name(), "r");
    if (stream == nullptr) {
        return nullptr;
    }
    forget_items();
    read_lines(stream, static_cast<std::size_t>(status.st_size));
    if (std::fclose(stream) != 0) { // where some file servers report what went wrong before
        report("Can not close file:", get_name());
    }
    return first_line();
}

void T_resource_file::forget_items()
{
    for (T_resource_line* line = first_line(); line != nullptr; line = line->get_next()) {
        line->detach_comment();
        T_resource_ident* const ident = line->get_ident();
        line->set_item(nullptr);
        if (ident != nullptr) {
            ident->await_definition();
        }
    }
}

void T_resource_file::read_lines(FILE* stream, std::size_t size)
{
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[size]);
    if (buffer == nullptr) {
        errno = ENOMEM;
        report("Can not read file:", get_name());
        return;
    }
    T_resource_line* line = first_line();
    std::uint32_t number = 1;
    std::size_t length = 0;
    // No more than the size is read, even if the file has grown since: the buffer cannot overflow.
    for (std::size_t left = size; left > 0; --left) {
        const int character = std::fgetc(stream);
        if (character == EOF) {
            break;
        }
        if (character != get_RESOURCE_MARK_RETURN()) {
            buffer[length++] = static_cast<char>(character);
            continue;
        }
        buffer[length] = get_RESOURCE_MARK_ENDLINE();
        // The line that get_line would find, but searched for from the last one on. Once the end is
        // reached it stays null.
        while (line != nullptr && line->get_number() < number) {
            line = line->get_next();
        }
        put_line(line, buffer.get());
        ++number;
        length = 0;
    }
    // Text after the last newline is dropped: deliberate.
    if (std::ferror(stream)) {
        report("Can not read file:", get_name());
    }
}

void T_resource_file::save() const
{
    std::set<T_file_stamp>& unfinished = get_manager()->unfinished_files();
    // What a failed save has left must not replace the last whole copy: that is the backup.
    if (unfinished.count(stamp_of(get_name())) == 0) {
        move_to_backup();
    }
    FILE* const stream = s_fopen(get_name(), "w");
    if (stream == nullptr) {
        return;
    }
    const bool written = write_lines(stream);
    const bool closed = std::fclose(stream) == 0;
    if (written && !closed) {
        report("Can not close file:", get_name());
    }
    if (!written || !closed) {
        unfinished.insert(stamp_of(get_name()));
    }
}

void T_resource_file::move_to_backup() const
{
    const std::string backup = std::string(get_name()) + get_RESOURCE_MARK_TILDA();
    if (std::rename(get_name(), backup.c_str()) != 0) {
        report("Can rename file:", get_name() + (" in " + backup));
    }
}

bool T_resource_file::write_lines(FILE* stream) const
{
    for (const T_resource_line* line = first_line(); line != nullptr; line = line->get_next()) {
        if (std::fprintf(stream, "%s\n", line->get_value().get_text()) < 0) {
            report("Can not write in file:", get_name());
            return false;
        }
    }
    return true;
}
