#include "resource/p_tool.h"

#include "resource/p_file.h"
#include "resource/p_line.h"
#include "resource/p_mana.h"

T_resource_tool::T_resource_tool(T_resource_item** first, T_resource_item** last,
                                 T_resource_manager* manager, const char* tool)
    : T_resource_list_item(first, last, manager), name(tool)
{
}

T_resource_manager* T_resource_tool::get_manager() const
{
    return static_cast<T_resource_manager*>(get_owner());
}

T_resource_ident* T_resource_tool::get_resource(const char* resource) const
{
    return resource ? resources.find(resource) : nullptr;
}

T_resource_ident* T_resource_tool::set_resource(const char* resource, const char* value,
                                                T_resource_line* line)
{
    T_resource_ident* ident = get_resource(resource);
    if (ident == nullptr) {
        ident = resources.append(this, resource, value);
        if (line != nullptr) {
            ident->attach(line, line);
        } else {
            get_manager()->new_line_value(ident);
        }
        return ident;
    }
    ident->set_value(value);
    const bool awaited = line != nullptr && ident->awaits_definition();
    if (ident->get_line() == nullptr && !awaited) {
        // No newline here: deliberate.
        std::fprintf(stderr, "Resource \"%s\" sans ligne rattachee", ident->get_name());
        return nullptr;
    }
    if (line != nullptr) {
        move_definition(ident, line);
    } else {
        write_definition(ident);
    }
    return ident;
}

void T_resource_tool::move_definition(T_resource_ident* ident, T_resource_line* line) const
{
    if (ident->get_line() != line) {
        // All of its lines, not the last one alone: a first line that ends in a backslash would
        // take the line below it for its value once the file is saved and read again.
        ident->delete_lines();
        ident->attach(line, line);
    }
}

void T_resource_tool::write_definition(T_resource_ident* ident) const
{
    T_resource_manager* const manager = get_manager();
    if (ident->get_line()->get_file() != manager->loaded_writable_file()) {
        ident->delete_lines();
        manager->new_line_value(ident);
        return;
    }
    // The new text is whole on one line; what led up to it would swallow it as a continuation.
    ident->delete_earlier_lines();
    ident->get_line()->set_value(new_value(*ident).get_text());
}

void T_resource_tool::delete_resource(const char* resource)
{
    T_resource_ident* const ident = get_resource(resource);
    if (ident != nullptr) {
        delete_ident(ident);
    }
}

void T_resource_tool::delete_ident(T_resource_ident* ident)
{
    resources.destroy(ident);
}

void T_resource_tool::delete_awaiting()
{
    T_resource_ident* ident = first_ident();
    while (ident != nullptr) {
        T_resource_ident* const after = ident->get_next();
        if (ident->awaits_definition()) {
            delete_ident(ident);
        }
        ident = after;
    }
}

void T_resource_tool::print_resources(FILE* stream) const
{
    for (const T_resource_ident* ident = first_ident(); ident; ident = ident->get_next()) {
        new_value(*ident).print(stream);
        std::fputc('\n', stream);
    }
}
