#include "resource/p_synt.h"

#include "resource/p_comm.h"
#include "resource/p_file.h"
#include "resource/p_line.h"
#include "resource/p_mana.h"
#include "resource/p_mark.h"
#include "resource/p_resour.h"
#include "resource/p_string.h"
#include "resource/p_tool.h"

#include <cstdio>
#include <cstring>

namespace
{

/// The comments read since the last resource. Local to the analysis of one file.
using T_pending = T_resource_list<T_resource_comment>;

/// A stretch of a line's text: from begin up to end, exclusive.
struct T_span {
    const char* begin = nullptr;
    const char* end = nullptr;

    T_resource_string copy() const
    {
        return T_resource_string(begin, static_cast<std::uint64_t>(end - begin));
    }
};

/// A resource line, taken apart. The value may stand further down than it begins.
struct T_definition {
    T_span tool;
    T_span name;
    T_span value;
    T_resource_line* last_line = nullptr;
};

void syntax_error(const T_resource_line* line, const char* message)
{
    std::fprintf(stderr, "%s:%d: Resource syntax error: %s\n", line->get_file()->get_name(),
                 static_cast<int>(line->get_number()), message);
}

bool is_blank(char character)
{
    return character == get_RESOURCE_MARK_TAB() || character == get_RESOURCE_MARK_SPACE();
}

bool is_end(char character)
{
    return character == get_RESOURCE_MARK_ENDLINE() || character == get_RESOURCE_MARK_RETURN();
}

bool is_separator(char character)
{
    return character == get_RESOURCE_MARK_STAR() || character == get_RESOURCE_MARK_POINT();
}

const char* skip_blanks(const char* text)
{
    while (is_blank(*text) || *text == get_RESOURCE_MARK_RETURN()) {
        ++text;
    }
    return text;
}

/// Where the tool name of a resource line begins; null for any other line.
const char* after_prefix(const char* text)
{
    const char* const prefix = get_RESOURCE_MARK_RESOURCE();
    const std::size_t length = std::strlen(prefix);
    const bool found = std::strncmp(text, prefix, length) == 0 && is_separator(text[length]);
    return found ? text + length + 1 : nullptr;
}

/// Splits off the two names; returns where the text after the colon begins, or null after a report.
const char* read_names(const char* text, T_definition& definition)
{
    const T_resource_line* const line = definition.last_line;
    const char* separator = text;
    while (*separator != get_RESOURCE_MARK_ENDLINE() && !is_separator(*separator)) {
        ++separator;
    }
    if (*separator == get_RESOURCE_MARK_ENDLINE()) {
        syntax_error(line, "tool name not found");
        return nullptr;
    }
    // Blanks before the colon and further separators are part of the name: deliberate.
    const char* const colon = std::strchr(separator + 1, get_RESOURCE_MARK_COLON());
    if (colon == nullptr) {
        syntax_error(line, "resource name or colon not found");
        return nullptr;
    }
    definition.tool = {text, separator};
    definition.name = {separator + 1, colon};
    return colon + 1;
}

/// Where the value that begins at `text` ends: at the end of the line, or at a backslash in front
/// of it. Null when there is no end up to `limit`.
const char* find_value_end(const char* text, const char* limit)
{
    for (; text <= limit; ++text) {
        if (is_end(*text) || (*text == get_RESOURCE_MARK_NEXTLINE() && is_end(text[1]))) {
            return text;
        }
    }
    return nullptr;
}

/// Finds the value, `text` being what follows the colon; false after a report.
bool read_value(const char* text, T_definition& definition)
{
    T_resource_line*& line = definition.last_line;
    const char* begin = skip_blanks(text);
    if (*begin == get_RESOURCE_MARK_ENDLINE()) {
        syntax_error(line, "resource value not found");
        return false;
    }
    while (*begin == get_RESOURCE_MARK_NEXTLINE()) {
        if (line->get_next() == nullptr) {
            syntax_error(line, "resource value not found");
            return false;
        }
        line = line->get_next();
        begin = skip_blanks(line->get_value().get_text());
    }
    const T_resource_string& last_text = line->get_value();
    const char* end = find_value_end(begin, last_text.get_text() + last_text.get_length());
    if (end == nullptr) {
        // A line's text always has an end; the message is for a text that has lost it.
        syntax_error(line, "end of resource value not found");
        return false;
    }
    while (end > begin && is_blank(end[-1])) {
        --end;
    }
    definition.value = {begin, end};
    return true;
}

/// Gives the resource its value and hands it its lines and the pending comments.
void define_resource(T_resource_line* line, const T_definition& definition, T_pending& pending)
{
    // Copies, since lines may go while the definition moves.
    const T_resource_string tool_name = definition.tool.copy();
    const T_resource_string name = definition.name.copy();
    const T_resource_string value = definition.value.copy();

    T_resource_manager* const manager = line->get_file()->get_manager();
    T_resource_tool* const tool = manager->find_or_set_tool(tool_name.get_text());
    if (tool == nullptr) {
        return;
    }
    T_resource_ident* const ident =
        tool->set_resource(name.get_text(), value.get_text(), definition.last_line);
    if (ident != nullptr) {
        ident->attach(line, definition.last_line);
        ident->take_comments(pending);
    }
}

/// Analyses one line, and those on which its value continues; returns the last of them.
T_resource_line* analyse_line(T_resource_line* line, T_pending& pending)
{
    const char* const text = skip_blanks(line->get_value().get_text());
    if (*text == get_RESOURCE_MARK_COMMENT()) {
        pending.append(line);
        return line;
    }
    const char* const names = after_prefix(text);
    if (names == nullptr) {
        return line;
    }
    T_definition definition;
    definition.last_line = line;
    const char* const after_colon = read_names(names, definition);
    if (after_colon != nullptr && read_value(after_colon, definition)) {
        define_resource(line, definition, pending);
    }
    return definition.last_line;
}

} // namespace

void syntax_analysis(T_resource_line* line)
{
    if (line == nullptr) {
        return;
    }
    T_resource_manager* const manager = line->get_file()->get_manager();
    T_pending pending;
    while (line != nullptr) {
        line = analyse_line(line, pending)->get_next();
    }
    // 1. No resource follows: these comments stay with their lines.
    release_comments(pending);
    // 2. The file defines these no more.
    manager->delete_awaiting();
}
