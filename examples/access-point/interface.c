/* The family of the interfaces: the abstract class has the properties that all have in common, the subclasses
 * have the rest. */
#include "declare.h"
#include "network.h"
#include "values.h"

#include <netinet/in.h>
#include <stdio.h>
#include <string.h>

/* From the datagram that every IPv4 host must accept (RFC 791) to jumbo frames. The kernel refuses what a
 * device cannot do. */
enum { LEAST_MTU = 576, GREATEST_MTU = 9000 };

enum { GREATEST_PREFIX = 32 };   /* bits */
enum { GREATEST_TX_POWER = 30 }; /* dBm */
enum { GREATEST_CHANNEL = 255 };
enum { DOMAIN = 1 }; /* the regulatory domain that this device is sold in */

static int is_mtu(const char *value) { return in_range(value, LEAST_MTU, GREATEST_MTU); }

static int is_mode(const char *value) { return vorn_input_is_mode(value, (int)strlen(value)); }

static const char *band_of(const char *mode) {
  static const char *const modes_of_5_ghz[] = {"a", "a-n", "n-only-a", NULL};
  return one_of(mode, modes_of_5_ghz) ? "a" : "g";
}

static int is_automatic(const char *channel) { return strcmp(channel, "auto") == 0; }

static int is_channel_in(const char *value, const char *band) {
  return is_automatic(value) || vorn_input_is_channel(value, (int)strlen(value), band, DOMAIN);
}

static int is_channel(const char *value) {
  if (!is_automatic(value) && !in_range(value, 1, GREATEST_CHANNEL)) return 0;
  return is_channel_in(value, "a") || is_channel_in(value, "g");
}

/* A channel must be in the band of the mode. Both properties are checked against the other's present value,
 * so the rule holds in whatever order they are set, also in an update, after which no whole instance is
 * checked. A radio changes its band by way of the channel "auto". */
static int mode_fits_channel(vorn_instance *instance, const char *mode) {
  const char *channel = vorn_instance_get_value(instance, "channel");
  return channel == NULL || is_channel_in(channel, band_of(mode));
}

static int channel_fits_mode(vorn_instance *instance, const char *channel) {
  const char *mode = vorn_instance_get_value(instance, "mode");
  return mode == NULL || is_channel_in(channel, band_of(mode));
}

static int is_tx_power(const char *value) { return in_range(value, 0, GREATEST_TX_POWER); }

/* An IPv4 address with its prefix length, "192.0.2.1/24"; empty for none. */
static int is_network_address(const char *value) {
  char address[INET_ADDRSTRLEN];
  size_t length = strcspn(value, "/");
  if (value[0] == '\0') return 1;
  if (length >= sizeof address || value[length] == '\0') return 0;
  snprintf(address, sizeof address, "%.*s", (int)length, value);
  return is_ipv4(address) && in_range(value + length + 1, 1, GREATEST_PREFIX);
}

static int has_device_name(vorn_instances *collection, vorn_instance *instance) {
  (void)collection;
  return is_device_name(vorn_instance_get_name(instance));
}

static const struct property_row interface_properties[] = {
    {"description", SETTING, is_text, NULL},
    {"enabled", REQUIRED, is_flag, NULL},
    {"mtu", SETTING, is_mtu, NULL},
    {"address", SETTING, is_network_address, NULL}, /* when it is not set, the device keeps those it has */
    {"status", LIVE, NULL, NULL},                   /* up or down */
    {"mac", LIVE, NULL, NULL},
    {"ip-address", LIVE, NULL, NULL}, /* the first one, whoever has set it */
    {"carrier", LIVE, NULL, NULL},    /* up or down, as reported last */
    {NULL, LIVE, NULL, NULL},
};

static const struct property_row ethernet_properties[] = {{NULL, LIVE, NULL, NULL}};

static const struct property_row radio_properties[] = {
    {"mode", REQUIRED, is_mode, mode_fits_channel},
    {"channel", SETTING, is_channel, channel_fits_mode},
    {"tx-power", SETTING, is_tx_power, NULL},
    {NULL, LIVE, NULL, NULL},
};

/* The check of whole instances is not inherited: each subclass names it. */
static const struct class_row classes[] = {
    {.name = "interface",
     .type = VORN_CLASS_UNIQUE_NAMED,
     .identifier = "type",
     .properties = interface_properties,
     .tables = interface_tables},
    {.name = "ethernet",
     .type = VORN_CLASS_UNIQUE_NAMED,
     .superclass = "interface",
     .is_instance_valid = has_device_name,
     .properties = ethernet_properties},
    {.name = "radio",
     .type = VORN_CLASS_UNIQUE_NAMED,
     .superclass = "interface",
     .is_instance_valid = has_device_name,
     .properties = radio_properties},
};

int declare_interface_classes(void) {
  for (size_t i = 0; i < sizeof classes / sizeof classes[0]; i++)
    if (declare_class(&classes[i]) != 0) return 1;
  return 0;
}
