/* Reads the state of a network device from the kernel. */
#include "network.h"

#include <net/if.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

enum { LONGEST_PATH = 96, STATE_SIZE = 16, MAC_SIZE = 24, IP_SIZE = 16 };

/* The agent copies what a callback returns before it calls anything else: a static buffer is good enough. */

/* Reads the device's state (Linux, Documentation/ABI/testing/sysfs-class-net, "operstate"). Returns 1, or 0
 * when it cannot be read: containers do not always have a sysfs. */
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

/* Asks the kernel whether the device is running (netdevice(7)). */
static int is_running(const char *device) {
  struct ifreq request = {.ifr_name = ""};
  int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return 0;
  strncpy(request.ifr_name, device, IFNAMSIZ - 1);
  int running = ioctl(fd, SIOCGIFFLAGS, &request) == 0 && (request.ifr_flags & IFF_RUNNING) != 0;
  close(fd);
  return running;
}

/* A driver that cannot detect a carrier leaves the state "unknown" while the device is up. */
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

/* The tables keep the last values of a device that has been removed since: those are out of date.
 *
 * A table is stored in the running configuration, while a write transaction works on a copy of it. A request
 * with such a transaction therefore gets the value that was read last, or none yet. */
static const char *read_table_value(vorn_instance *instance, const char *property, vorn_refresh_info *info) {
  (void)info;
  if (if_nametoindex(vorn_instance_get_name(instance)) == 0) return "";
  const char *value = vorn_util_txt_tables_get_val(instance, interface_tables, property);
  return value != NULL ? value : "";
}

/* There is no refresher for the subclasses: the agent refreshes their instances by the name of the abstract
 * class, so clients read live values from "interface". */
vorn_refresher *new_interface_refresher(void) {
  vorn_refresher *refresher = vorn_refresher_new("interface");
  if (vorn_refresher_set_property_fn(refresher, "status", read_status) != 0) return NULL;
  if (vorn_refresher_set_property_fn(refresher, "mac", read_mac) != 0) return NULL;
  if (vorn_refresher_set_property_fn(refresher, "ip-address", read_ip_address) != 0) return NULL;
  if (vorn_util_txt_tables_add_refresh(interface_tables, refresher, read_table_value) != 0) return NULL;
  return refresher;
}
