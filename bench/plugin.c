/* Gives the agent the class that the requests over its sockets are measured with. */
#include "plugins/vorn.h"
#include "station.h"

VORN_API int vorn_plugin_init(void) {
  return vorn_plugin_new(VORN_PLUGIN_VERSION) == NULL || station_register() != 0;
}
