#include "resource/p_api.h"

#include "resource/p_file.h"
#include "resource/p_mana.h"
#include "resource/p_resour.h"
#include "resource/p_synt.h"
#include "resource/p_tool.h"

#include <cstdio>

namespace
{

void load(const char* name, T_resource_source source)
{
    if (name != nullptr) {
        syntax_analysis(resource_manager->set_file(name, source)->load());
    }
}

void delete_file(T_resource_source source)
{
    if (resource_manager != nullptr) {
        resource_manager->delete_file(source);
    }
}

} // namespace

void init_resource_manager(void)
{
    if (resource_manager == nullptr) {
        resource_manager = new T_resource_manager;
    }
}

T_resource_manager* get_resource_manager(void)
{
    return resource_manager;
}

const char* lookup_resource(const char* tool, const char* resource)
{
    if (resource_manager == nullptr) {
        return nullptr;
    }
    const T_resource_tool* const found = resource_manager->get_tool(tool);
    const T_resource_ident* const ident = found ? found->get_resource(resource) : nullptr;
    return ident ? ident->get_value() : nullptr;
}

void load_resources(const char* ormalinFile, const char* userFile, const char* explicitFile)
{
    if (resource_manager == nullptr) {
        return;
    }
    load(ormalinFile, RESOURCE_SOURCE_ORMALIN);
    load(userFile, RESOURCE_SOURCE_USER);
    load(explicitFile, RESOURCE_SOURCE_EXPLICIT);
}

void save_resources(void)
{
    if (resource_manager != nullptr) {
        resource_manager->writable_file()->save();
    }
}

void set_resource(const char* tool, const char* resource, const char* value)
{
    if (resource_manager == nullptr || resource == nullptr || value == nullptr) {
        return;
    }
    T_resource_tool* const target = resource_manager->find_or_set_tool(tool);
    if (target != nullptr) {
        target->set_resource(resource, value, nullptr);
    }
}

void delete_resource(const char* tool, const char* resource)
{
    if (resource_manager == nullptr) {
        return;
    }
    T_resource_tool* const target = resource_manager->get_tool(tool);
    if (target != nullptr) {
        target->delete_resource(resource);
    }
}

void delete_tool_resources(const char* tool)
{
    if (resource_manager != nullptr) {
        resource_manager->delete_tool(tool);
    }
}

void delete_all_resources(void)
{
    if (resource_manager != nullptr) {
        resource_manager->delete_all_tools();
    }
}

void delete_explicit_resources(void)
{
    delete_file(RESOURCE_SOURCE_EXPLICIT);
}

void delete_user_resources(void)
{
    delete_file(RESOURCE_SOURCE_USER);
}

void delete_ormalin_resources(void)
{
    delete_file(RESOURCE_SOURCE_ORMALIN);
}

void resource_info(void)
{
    if (resource_manager == nullptr) {
        return;
    }
    // The banner's texts are fixed: they do not follow the compiler or the target in use.
    std::printf("- Resource Manager version %s\n", "svn");
    std::printf("The following flags have been used : \n");
    std::printf("Compiled with gcc version %s\n", "7.5.0");
    std::printf("Compiled for Linux target\n");
    std::printf("(Pentium version)\n");
}

void print_resources(FILE* stream)
{
    if (resource_manager != nullptr && stream != nullptr) {
        resource_manager->print_resources(stream);
    }
}
