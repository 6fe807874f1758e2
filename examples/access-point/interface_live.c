/* Reads what the kernel tells of a network device at the moment. */
#include "network.h"

#include <net/if.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

enum { LONGEST_PATH = 96, STATE_SIZE = 16, MAC_SIZE = 24, IP_SIZE = 16 };

/* What a callback returns is copied before anything else is called: it may stay in a buffer of its own. */

/* Reads the device's state (Linux, Documentation/ABI/testing/sysfs-class-net, "operstate"). Returns 1, or 0
 * where it cannot be read: containers do not always get a sysfs. */
static int read_operstate(const char *device, char state[STATE_SIZE]) {
  char path[LONGEST_PATH];
  snprintf(path, sizeof path, "/sys/class/net/%s/operstate", device);
  FILE *file = fopen(path, "re");
  if (file == NULL) return 0;
  int found = fgets(state, STATE_SIZE, file) != NULL;
  fclose(file);
  if (found) state[strcspn(state, "\n")] = '\0';
  return found;
}

/* Asks with netdevice(7) whether the device runs. */
static int is_running(const char *device) {
  struct ifreq request = {.ifr_name = ""};
  int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return 0;
  strncpy(request.ifr_name, device, IFNAMSIZ - 1);
  int running = ioctl(fd, SIOCGIFFLAGS, &request) == 0 && (request.ifr_flags & IFF_RUNNING) != 0;
  close(fd);
  return running;
}

/* Drivers that cannot tell whether there is a carrier leave the state "unknown" while the device is up. */
static const char *read_status(vorn_instance *instance, const char *property, vorn_refresh_info *info) {
  (void)property, (void)info;
  const char *device = vorn_instance_get_name(instance);
  char state[STATE_SIZE];
  if (!read_operstate(device, state)) return is_running(device) ? "up" : "down";
  return strcmp(state, "up") == 0 || strcmp(state, "unknown") == 0 ? "up" : "down";
}

static const char *read_mac(vorn_instance *instance, const char *property, vorn_refresh_info *info) {
  static char mac[MAC_SIZE];
  (void)property, (void)info;
  return vorn_util_macaddress_get(vorn_instance_get_name(instance), mac, sizeof mac) == 1 ? mac : "";
}

/* The agent's function writes no terminator. */
static const char *read_ip_address(vorn_instance *instance, const char *property, vorn_refresh_info *info) {
  static char address[IP_SIZE];
  (void)property, (void)info;
  memset(address, 0, sizeof address);
  vorn_util_ipaddress_get(vorn_instance_get_name(instance), SIOCGIFADDR, address, sizeof address - 1);
  return address;
}

/* The tables keep the last values of a device that has gone since: those are no longer true.
 *
 * A table is stored in the running configuration, while a write transaction works on a copy of that. There
 * the value is therefore the one of the reading before, or none yet. */
static const char *read_table_value(vorn_instance *instance, const char *property, vorn_refresh_info *info) {
  (void)info;
  if (if_nametoindex(vorn_instance_get_name(instance)) == 0) return "";
  const char *value = vorn_util_txt_tables_get_val(instance, interface_tables, property);
  return value != NULL ? value : "";
}

/* Requests for the subclasses are not served: the agent answers for their instances under the name of the
 * abstract class, and so clients read live values from "interface". */
vorn_refresher *new_interface_refresher(void) {
  vorn_refresher *refresher = vorn_refresher_new("interface");
  if (vorn_refresher_set_property_fn(refresher, "status", read_status) != 0) return NULL;
  if (vorn_refresher_set_property_fn(refresher, "mac", read_mac) != 0) return NULL;
  if (vorn_refresher_set_property_fn(refresher, "ip-address", read_ip_address) != 0) return NULL;
  if (vorn_util_txt_tables_add_refresh(interface_tables, refresher, read_table_value) != 0) return NULL;
  return refresher;
}
