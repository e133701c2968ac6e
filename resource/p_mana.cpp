#include "resource/p_mana.h"

#include "resource/p_line.h"
#include "resource/p_resour.h"
#include "resource/p_string.h"

#include <cstdlib>
#include <string>

T_resource_manager* resource_manager = nullptr;

T_resource_manager::T_resource_manager()
    : T_resource_item(nullptr, nullptr, nullptr, RESOURCE_TYPE_MANAGER)
{
}

T_resource_manager::~T_resource_manager()
{
    // 1. The files, whose lines take the resources along while the tools still stand.
    for (auto& file : files) {
        file.reset();
    }
    // 2. The tools, with whatever they still hold.
    delete_all_tools();
}

T_resource_tool* T_resource_manager::get_tool(const char* name) const
{
    return name ? tools.find(name) : first_tool();
}

T_resource_tool* T_resource_manager::set_tool(const char* name)
{
    return name ? tools.append(this, name) : nullptr;
}

T_resource_tool* T_resource_manager::find_or_set_tool(const char* name)
{
    T_resource_tool* const tool = get_tool(name);
    return tool ? tool : set_tool(name);
}

void T_resource_manager::delete_tool(const char* name)
{
    T_resource_tool* const tool = get_tool(name);
    if (tool != nullptr) {
        tools.destroy(tool);
    }
}

void T_resource_manager::delete_all_tools()
{
    while (first_tool() != nullptr) {
        delete_tool(nullptr);
    }
}

void T_resource_manager::delete_awaiting()
{
    for (T_resource_tool* tool = first_tool(); tool != nullptr; tool = tool->get_next()) {
        tool->delete_awaiting();
    }
}

T_resource_file* T_resource_manager::get_file(T_resource_source source) const
{
    const auto slot = static_cast<std::size_t>(source);
    return slot < files.size() ? files[slot].get() : nullptr;
}

T_resource_file* T_resource_manager::set_file(const char* name, T_resource_source source)
{
    const auto slot = static_cast<std::size_t>(source);
    if (slot >= files.size()) {
        return nullptr;
    }
    if (source == RESOURCE_SOURCE_EXPLICIT && files[slot] != nullptr) {
        files[slot]->set_name(name);
    } else {
        files[slot] = std::make_unique<T_resource_file>(this, name, source);
    }
    return files[slot].get();
}

void T_resource_manager::delete_file(T_resource_source source)
{
    const auto slot = static_cast<std::size_t>(source);
    if (slot < files.size()) {
        files[slot].reset();
    }
}

T_resource_file* T_resource_manager::loaded_writable_file() const
{
    T_resource_file* const named = get_file(RESOURCE_SOURCE_EXPLICIT);
    return named ? named : get_file(RESOURCE_SOURCE_USER);
}

T_resource_file* T_resource_manager::writable_file()
{
    T_resource_file* const file = loaded_writable_file();
    return file ? file : set_file(get_default_user_file().get(), RESOURCE_SOURCE_USER);
}

void T_resource_manager::new_line_value(T_resource_ident* ident)
{
    T_resource_line* const line = writable_file()->append_line(new_value(*ident).get_text());
    ident->attach(line, line);
}

void T_resource_manager::print_resources(FILE* stream) const
{
    for (const T_resource_tool* tool = first_tool(); tool; tool = tool->get_next()) {
        tool->print_resources(stream);
    }
}

std::unique_ptr<char[]> get_default_user_file()
{
    const char* const home = std::getenv("HOME");
    return string_copy((std::string(home ? home : "") + "/.Ormalin").c_str());
}
