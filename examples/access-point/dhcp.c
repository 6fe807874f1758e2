/* The plugin of the DHCP servers, one for each interface whose clients get addresses and DNS from this
 * device. One daemon serves them all. */
#include "dhcp.h"
#include "commits.h"
#include "declare.h"
#include "values.h"

#include <arpa/inet.h>
#include <string.h>

enum { LEAST_LEASE = 120, GREATEST_LEASE = 7 * 24 * 3600 }; /* in seconds; the daemon accepts no less */
enum { LONGEST_RANGE = 2 * INET_ADDRSTRLEN, LONGEST_LIST = 4 * INET_ADDRSTRLEN };

/* "FIRST-LAST". It is one property, so that no update can set a first address above the last one. */
static int is_range(const char *value) {
  char first[LONGEST_RANGE];
  struct in_addr low, high;
  const char *dash = strchr(value, '-');
  if (dash == NULL || dash - value >= LONGEST_RANGE) return 0;
  snprintf(first, sizeof first, "%.*s", (int)(dash - value), value);
  if (inet_pton(AF_INET, first, &low) != 1 || inet_pton(AF_INET, dash + 1, &high) != 1) return 0;
  return ntohl(low.s_addr) <= ntohl(high.s_addr);
}

static int is_lease_time(const char *value) { return in_range(value, LEAST_LEASE, GREATEST_LEASE); }

/* Without the final dot, which stands for the root. */
static int is_domain(const char *value) {
  size_t length = strlen(value);
  return vorn_input_is_domain_name(value, (int)length) && value[length - 1] != '.';
}

/* Addresses separated by blanks; it may be empty. */
static int is_list_of_ipv4(const char *value) {
  char list[LONGEST_LIST], *rest = NULL;
  if (!made_of(value, 0, LONGEST_LIST - 1, DIGITS "..  ")) return 0;
  snprintf(list, sizeof list, "%s", value);
  for (char *word = strtok_r(list, " ", &rest); word != NULL; word = strtok_r(NULL, " ", &rest))
    if (!is_ipv4(word)) return 0;
  return 1;
}

/* The interface need not be configured, nor exist: the daemon waits for it. */
static int has_device_name(vorn_instances *collection, vorn_instance *instance) {
  (void)collection;
  return is_device_name(vorn_instance_get_name(instance));
}

static const struct property_row properties[] = {
    {"enabled", REQUIRED, is_flag, NULL},
    {"range", REQUIRED, is_range, NULL},
    {"lease-time", SETTING, is_lease_time, NULL},    /* in seconds */
    {"domain", SETTING, is_domain, NULL},            /* of the clients; this device is "gateway" in it */
    {"dns-servers", SETTING, is_list_of_ipv4, NULL}, /* for names outside of these domains */
    {"running", LIVE, NULL, NULL},                   /* 0 or 1 */
    {"pid", LIVE, NULL, NULL},                       /* empty while it does not run */
    {NULL, LIVE, NULL, NULL},
};

static const struct class_row dhcp_class = {.name = "dhcp-server",
                                            .type = VORN_CLASS_UNIQUE_NAMED,
                                            .is_instance_valid = has_device_name,
                                            .properties = properties};

static int is_served(vorn_instance *server) {
  return is_same(vorn_instance_get_value(server, "enabled"), "1") && vorn_service_is_running(DHCP_SERVICE);
}

static const char *read_running(vorn_instance *instance, const char *property, vorn_refresh_info *info) {
  (void)property, (void)info;
  return is_served(instance) ? "1" : "0";
}

static const char *read_pid(vorn_instance *instance, const char *property, vorn_refresh_info *info) {
  static char pid[16]; /* copied as soon as this has returned */
  (void)property, (void)info;
  if (!is_served(instance)) return "";
  snprintf(pid, sizeof pid, "%d", (int)vorn_service_get_pid(DHCP_SERVICE));
  return pid;
}

int vorn_plugin_init(void) {
  if (!plugin_is_accepted()) return 1;
  if (declare_class(&dhcp_class) != 0) return 1;
  vorn_refresher *refresher = vorn_refresher_new(dhcp_class.name);
  if (vorn_refresher_set_property_fn(refresher, "running", read_running) != 0) return 1;
  if (vorn_refresher_set_property_fn(refresher, "pid", read_pid) != 0) return 1;
  if (vorn_providers_order("interfaces", "dhcp") != 0) return 1; /* addresses first */
  return declare_provider(&(struct provider_row){
      .name = "dhcp", .commit = commit_dhcp, .refresh = vorn_refresher_fn, .refresh_data = refresher});
}
