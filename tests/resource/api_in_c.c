/* The public header and every function of it, as a C program sees them. */

#include "resource/p_api.h"

#include <string.h>

int api_in_c(const char* file);

/* Returns 0, or the number of the step that failed. */
int api_in_c(const char* file)
{
    const char* value;

    init_resource_manager();
    if (get_resource_manager() == NULL) {
        return 1;
    }
    load_resources(NULL, NULL, file);
    set_resource("Tool", "key", "value");
    value = lookup_resource("Tool", "key");
    if (value == NULL || strcmp(value, "value") != 0) {
        return 2;
    }
    print_resources(stdout);
    resource_info();
    save_resources();
    delete_resource("Tool", "key");
    if (lookup_resource("Tool", "key") != NULL) {
        return 3;
    }
    delete_tool_resources("Tool");
    delete_all_resources();
    delete_explicit_resources();
    delete_user_resources();
    delete_ormalin_resources();
    return 0;
}
