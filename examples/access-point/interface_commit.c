/* Makes the kernel's network devices follow the interfaces of the configuration, with the program ip(8). */
#include "commits.h"
#include "network.h"

#include <net/if.h>
#include <string.h>
#include <sys/wait.h>

#define END ((char *)NULL)

/* With option -d the output of the program is in the log, too. */
static void check(int status, const char *device, const char *attribute, const char *value) {
  if (status == 0) return;
  vorn_debug_eprintf("interfaces: setting %s %s%s%s failed (%d).\n", device, attribute,
                     value != NULL ? " " : "", value != NULL ? value : "",
                     WIFEXITED(status) ? WEXITSTATUS(status) : -1);
}

/* Sets one attribute of a device: "mtu" to a value, or "up" or "down" without one. */
static void set_link(const char *device, const char *attribute, const char *value) {
  check(vorn_command_execl("ip", "link", "set", "dev", device, attribute, value, END), device, attribute,
        value);
}

static void clear_addresses(const char *device) {
  check(vorn_command_execl("ip", "-4", "address", "flush", "dev", device, END), device, "address", NULL);
}

static int device_exists(const char *device) {
  if (if_nametoindex(device) != 0) return 1;
  vorn_debug_printf("interfaces: no device \"%s\", skipped.\n", device);
  return 0;
}

static int set_mtu(vorn_instance *instance, const char *property, const char *value, const char *old) {
  const char *device = vorn_instance_get_name(instance);
  if (!is_same(value, old) && device_exists(device)) set_link(device, property, value);
  return 0;
}

/* Replaces all addresses of the device. */
static int set_address(vorn_instance *instance, const char *property, const char *value, const char *old) {
  const char *device = vorn_instance_get_name(instance);
  if (is_same(value, old) || !device_exists(device)) return 0;
  clear_addresses(device);
  if (value[0] != '\0')
    check(vorn_command_execl("ip", "address", "add", value, "dev", device, END), device, property, value);
  return 0;
}

static int set_enabled(vorn_instance *instance, const char *property, const char *value, const char *old) {
  (void)property;
  const char *device = vorn_instance_get_name(instance);
  const char *state = strcmp(value, "1") == 0 ? "up" : "down";
  if (!is_same(value, old) && device_exists(device)) set_link(device, state, NULL);
  return 0;
}

/* A device that is no longer in the configuration must not be used. */
static int shut_down(vorn_instance *before, vorn_commit_info *info) {
  (void)info;
  const char *device = vorn_instance_get_name(before);
  if (!device_exists(device)) return 0;
  set_link(device, "down", NULL);
  clear_addresses(device);
  return 0;
}

/* The callbacks are those of the abstract class, so they are called for all kinds of interfaces. They are
 * called in the order of their registration: the state comes last, so that a port is never up with the wrong
 * MTU or address. */
vorn_committer *new_interface_committer(void) {
  vorn_committer *committer = vorn_committer_new();
  if (vorn_committer_set_instance_delete_fn(committer, "interface", shut_down) != 0) return NULL;
  if (vorn_committer_set_property_change_fn(committer, "interface", "mtu", set_mtu) != 0) return NULL;
  if (vorn_committer_set_property_change_fn(committer, "interface", "address", set_address) != 0) return NULL;
  if (vorn_committer_set_property_change_fn(committer, "interface", "enabled", set_enabled) != 0) return NULL;
  return committer;
}
