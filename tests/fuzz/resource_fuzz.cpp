// Loads one input as each of the three resource files, then uses the whole interface on what came
// of it. Built without the sanitizers' help it still checks every link.

#include "resource/p_api.h"
#include "tests/fuzz/fuzz.h"
#include "tests/resource/ResourceChecker.h"

#include <cstdio>
#include <cstdlib>
#include <string>

using fuzz::require;

namespace
{

void check()
{
    const std::string fault = test::faultOf(*resource_manager);
    require(fault.empty(), fault.c_str());
}

/// Sets and deletes resources that the input may have defined, and looks at each step.
void useInterface()
{
    const T_resource_tool* const tool = get_resource_manager()->first_tool();
    const T_resource_ident* const ident = tool ? tool->first_ident() : nullptr;
    const std::string toolName = tool ? tool->get_name() : "T";
    const std::string name = ident ? ident->get_name() : "K";
    require(!ident || lookup_resource(tool->get_name(), ident->get_name()) == ident->get_value(),
            "a resource is not found by its names");
    set_resource(toolName.c_str(), name.c_str(), "value");
    set_resource("T", name.c_str(), lookup_resource(toolName.c_str(), name.c_str()));
    check();
    print_resources(stderr);
    save_resources();
    delete_explicit_resources();
    check();
    set_resource(toolName.c_str(), "K", "value");
    delete_resource(toolName.c_str(), name.c_str());
    check();
    delete_tool_resources(nullptr);
    delete_user_resources();
    check();
    delete_all_resources();
    lookup_resource(nullptr, nullptr);
    set_resource(nullptr, "K", "value");
    delete_ormalin_resources();
    check();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    stderr = std::fopen("/dev/null", "w"); // the library's reports would drown the fuzzer's own
    setenv("HOME", "/nonexistent", 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::MemoryFile file(data, size);
    const std::string path = file.path();

    init_resource_manager();
    load_resources(path.c_str(), path.c_str(), path.c_str());
    check();
    // Shorter by the first byte, so that other lines come to lie over those that are there.
    const std::size_t rest = size > 0 ? size - 1 : 0;
    file.write(data + (size - rest), rest);
    load_resources(nullptr, nullptr, path.c_str());
    check();
    useInterface();

    delete resource_manager;
    resource_manager = nullptr;
    return 0;
}
