/* A plugin that orders its providers in a circle. */
#include <vorn.h>

int vorn_plugin_init(void) { return vorn_providers_order("b", "a") + vorn_providers_order("a", "b"); }
