/* The family of the interfaces: what all have in common stands in the abstract class, the rest in its
 * subclasses. */
#include "declare.h"
#include "network.h"
#include "values.h"

#include <net/if.h>
#include <string.h>

/* Of IPv4 the least that every host must take (RFC 791), and jumbo frames. A device that can do less refuses.
 */
enum { LEAST_MTU = 576, GREATEST_MTU = 9000 };

enum { GREATEST_TX_POWER = 30 }; /* dBm */

static int is_mtu(const char *value) { return in_range(value, LEAST_MTU, GREATEST_MTU); }

static int is_mode(const char *value) {
  static const char *const modes[] = {"11bgn", "11gn", "11an", "11ac", "11ax", NULL};
  return one_of(value, modes);
}

/* The channels of 20 MHz in the bands of 2.4 GHz and 5 GHz (IEEE 802.11, annex E); which of them may be used
 * where and when is for the driver to say. */
static int is_channel(const char *value) {
  if (strcmp(value, "auto") == 0 || in_range(value, 1, 14)) return 1;
  static const char *const channels[] = {"36",  "40",  "44",  "48",  "52",  "56",  "60",  "64",  "100",
                                         "104", "108", "112", "116", "120", "124", "128", "132", "136",
                                         "140", "144", "149", "153", "157", "161", "165", NULL};
  return one_of(value, channels);
}

static int is_tx_power(const char *value) { return in_range(value, 0, GREATEST_TX_POWER); }

/* The instance's name is the device's. It becomes part of file names and an argument of a program, so it must
 * be neither a path nor an option. */
static int is_device_name(const char *name) {
  return made_of(name, 1, IFNAMSIZ - 1, LETTERS DIGITS "._-") && strchr("._-", name[0]) == NULL;
}

static int has_device_name(vorn_instances *collection, vorn_instance *instance) {
  (void)collection;
  return is_device_name(vorn_instance_get_name(instance));
}

static const struct property_row interface_properties[] = {
    {"description", SETTING, is_text},
    {"enabled", REQUIRED, is_flag},
    {"mtu", SETTING, is_mtu},
    {"status", LIVE, NULL}, /* up or down */
    {"mac", LIVE, NULL},
    {"rx-bytes", LIVE, NULL},
    {"tx-bytes", LIVE, NULL},
    {NULL, LIVE, NULL},
};

static const struct property_row ethernet_properties[] = {{NULL, LIVE, NULL}};

static const struct property_row radio_properties[] = {
    {"mode", REQUIRED, is_mode},
    {"channel", SETTING, is_channel},
    {"tx-power", SETTING, is_tx_power},
    {NULL, LIVE, NULL},
};

/* The check of whole instances is not inherited: each subclass names it. */
static const struct class_row classes[] = {
    {"interface", VORN_CLASS_UNIQUE_NAMED, NULL, "type", NULL, interface_properties},
    {"ethernet", VORN_CLASS_UNIQUE_NAMED, "interface", NULL, has_device_name, ethernet_properties},
    {"radio", VORN_CLASS_UNIQUE_NAMED, "interface", NULL, has_device_name, radio_properties},
};

int declare_interface_classes(void) {
  for (size_t i = 0; i < sizeof classes / sizeof classes[0]; i++)
    if (declare_class(&classes[i]) != 0) return 1;
  return 0;
}
