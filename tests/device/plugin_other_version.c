/* A plugin for an interface that this agent does not have. */
#include <vorn.h>

int vorn_plugin_init(void) {
  if (!vorn_plugin_new("1.1")) return 1;
  return vorn_providers_order("b", "b"); /* would make the providers invalid */
}
