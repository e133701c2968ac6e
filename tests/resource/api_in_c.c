/* The public header and every function of it, as a C program sees them. */

#include "resource/p_api.h"

void api_in_c(void);

void api_in_c(void)
{
    load_resources(NULL, NULL, "file");
    set_resource("Tool", "key", "value");
    puts(lookup_resource("Tool", "key") && get_resource_manager() ? "found" : "none");
    print_resources(stdout);
    print_resources(NULL);
    resource_info();
    save_resources();
    delete_tool_resources("Tool");
    delete_resource("Tool", "key");
    delete_all_resources();
    delete_explicit_resources();
    delete_user_resources();
    delete_ormalin_resources();
}
