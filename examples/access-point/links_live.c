/* Reads what the kernel tells of network devices (Linux, Documentation/ABI/testing/sysfs-class-net). */
#include "network.h"

#include <stdio.h>
#include <string.h>

enum { LONGEST_PATH = 96, LONGEST_LINE = 64 };

/* Reads the first line of a file of the device. Returns it without its end; empty when there is none, as for
 * a device that does not exist or one that is down and cannot tell. */
static const char *read_attribute(const char *device, const char *attribute, char line[LONGEST_LINE]) {
  char path[LONGEST_PATH];
  line[0] = '\0';
  snprintf(path, sizeof path, "/sys/class/net/%s/%s", device, attribute);
  FILE *file = fopen(path, "re");
  if (file == NULL) return line;
  if (fgets(line, LONGEST_LINE, file) == NULL) line[0] = '\0';
  fclose(file);
  line[strcspn(line, "\n")] = '\0';
  return line;
}

/* Drivers that cannot tell whether there is a carrier leave the state "unknown" while the device is up. */
static const char *status_of(const char *operational_state) {
  return strcmp(operational_state, "up") == 0 || strcmp(operational_state, "unknown") == 0 ? "up" : "down";
}

static const char *as_it_is(const char *text) { return text; }

static const struct {
  const char *property;
  const char *attribute;
  const char *(*translate)(const char *text);
} live[] = {
    {"status", "operstate", status_of},
    {"mac", "address", as_it_is},
    {"rx-bytes", "statistics/rx_bytes", as_it_is},
    {"tx-bytes", "statistics/tx_bytes", as_it_is},
};

/* Only what was asked for is read: most requests want a few values of many interfaces. */
static void refresh_interface(vorn_refresh_info *info, vorn_instance *instance) {
  const char *device = vorn_instance_get_name(instance);
  char line[LONGEST_LINE];
  for (size_t i = 0; i < sizeof live / sizeof live[0]; i++) {
    if (!vorn_refresh_info_contains_property(info, instance, live[i].property)) continue;
    const char *text = read_attribute(device, live[i].attribute, line);
    vorn_instance_set_value(instance, live[i].property, live[i].translate(text));
  }
}

/* Requests for the subclasses are not served: the agent answers for their instances under the name of the
 * abstract class, and so clients read live values from "interface". */
int refresh_links(vorn_refresh_info *info) {
  if (!vorn_refresh_info_contains_class(info, "interface")) return 0;
  vorn_instances_iterator *it =
      vorn_instances_new_class_iterator(vorn_refresh_info_get_instances(info), "interface");
  while (vorn_instances_iterator_has_next(it)) {
    vorn_instance *instance = vorn_instances_iterator_next(it);
    if (vorn_refresh_info_contains_instance(info, instance)) refresh_interface(info, instance);
  }
  vorn_instances_delete_iterator(it);
  return 0;
}
