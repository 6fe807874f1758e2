/* The plugin of the network: interfaces, and the wireless networks on top of them. */
#include "network.h"
#include "declare.h"

/* One plugin has both, because a network is checked against the radio that it names. The configuration file
 * lists the classes in the order of their declaration and is read from top to bottom, so the radios must be
 * declared first, while plugins are loaded in no particular order. */
int vorn_plugin_init(void) {
  if (!plugin_is_accepted()) return 1;
  if (declare_interface_classes() != 0) return 1;
  if (declare_wireless_classes() != 0) return 1;
  return declare_provider("interfaces", commit_links, refresh_links);
}
