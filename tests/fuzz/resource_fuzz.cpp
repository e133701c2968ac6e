// Loads one input as each of the three resource files, then uses the whole interface on what came
// of it. Built without the sanitizers' help it still checks every link.

#include "resource/p_api.h"
#include "tests/resource/ResourceChecker.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace
{

void check()
{
    const std::string fault = test::ResourceChecker::faultOf(*resource_manager);
    if (!fault.empty()) {
        dprintf(STDERR_FILENO, "%s\n", fault.c_str());
        std::abort();
    }
}

/// Every resource is found by its names, as C texts.
void lookUpAll()
{
    for (const T_resource_tool* tool = get_resource_manager()->first_tool(); tool != nullptr;
         tool = tool->next_tool()) {
        for (const T_resource_ident* at = tool->first_ident(); at; at = at->next_ident()) {
            if (lookup_resource(tool->get_name(), at->get_name()) != at->get_value()) {
                dprintf(STDERR_FILENO, "a resource is not found by its names\n");
                std::abort();
            }
        }
    }
    lookup_resource(nullptr, nullptr);
    lookup_resource(nullptr, "K");
}

/// Sets and deletes resources that the input may have defined, and looks at each step.
void useInterface(FILE* sink)
{
    lookUpAll();
    const T_resource_tool* const tool = resource_manager->first_tool();
    const T_resource_ident* const ident = tool ? tool->first_ident() : nullptr;
    const std::string toolName = tool ? tool->get_name() : "T";
    const std::string name = ident ? ident->get_name() : "K";
    lookup_resource(toolName.c_str(), name.c_str());
    set_resource(toolName.c_str(), name.c_str(), "value");
    set_resource("T", name.c_str(), lookup_resource(toolName.c_str(), name.c_str()));
    check();
    print_resources(sink);
    save_resources();
    lookUpAll();
    delete_explicit_resources();
    check();
    set_resource(toolName.c_str(), "K", "value");
    delete_resource(toolName.c_str(), name.c_str());
    check();
    delete_tool_resources(nullptr);
    delete_user_resources();
    check();
    delete_all_resources();
    set_resource(nullptr, "K", "value");
    delete_ormalin_resources();
    check();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // The library's reports would drown the fuzzer's own.
    static FILE* const sink = stderr = std::fopen("/dev/null", "w");
    setenv("HOME", "/nonexistent", 1);
    const int descriptor = memfd_create("resources", 0);
    if (descriptor < 0 || write(descriptor, data, size) != static_cast<ssize_t>(size)) {
        std::abort();
    }
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);

    init_resource_manager();
    load_resources(path.c_str(), path.c_str(), path.c_str());
    check();
    // Shorter by a byte, so that other lines come to lie over those that are there.
    const std::size_t rest = size > 0 ? size - 1 : 0;
    if (ftruncate(descriptor, 0) != 0 || pwrite(descriptor, data + (size - rest), rest, 0) < 0) {
        std::abort();
    }
    load_resources(nullptr, nullptr, path.c_str());
    check();
    useInterface(sink);

    delete resource_manager;
    resource_manager = nullptr;
    close(descriptor);
    return 0;
}
