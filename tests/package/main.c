#include "resource/p_api.h"

int main(void)
{
    init_resource_manager();
    set_resource("Tool", "key", "value");
    return lookup_resource("Tool", "key") == NULL;
}
