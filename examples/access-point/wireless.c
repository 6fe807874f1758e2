/* The wireless networks and their access lists: classes and checks. */
#include "declare.h"
#include "network.h"
#include "passphrase.h"
#include "values.h"

#include <string.h>

enum { LONGEST_LIST_NAME = 32, LONGEST_RADIO_NAME = 32, GREATEST_VLAN = 4094 };

static int is_security(const char *value) {
  static const char *const kinds[] = {"open", "wpa2-psk", "wpa3-sae", NULL};
  return one_of(value, kinds);
}

static int is_vlan(const char *value) { return in_range(value, 1, GREATEST_VLAN); }

/* The name becomes that of a file. No entry needs to exist: a list without entries is an empty one. */
static int is_list_name(const char *value) {
  return made_of(value, 1, LONGEST_LIST_NAME, LETTERS DIGITS "__--");
}

static int is_radio_name(const char *value) {
  return made_of(value, 1, LONGEST_RADIO_NAME, LETTERS DIGITS "..__--");
}

static int is_action(const char *value) {
  static const char *const actions[] = {"allow", "deny", NULL};
  return one_of(value, actions);
}

/* The client learns only that the check has failed; the reason is in the log. */
static int refuse(const char *name, const char *reason) {
  vorn_debug_eprintf("ssid \"%s\": %s.\n", name, reason);
  return 0;
}

/* An update checks each new value, but no whole instance; a start checks whole instances and leaves out those
 * that fail. An update must not make a network that the next start would leave out. So this check compares
 * FIXED values only, and none with another instance, which could be deleted: a network whose radio is missing
 * stays in the configuration, but is not on the air. To move it to another radio, or from open to protected,
 * a client deletes it and inserts it again, in one transaction. */
static int is_ssid(vorn_instances *collection, vorn_instance *instance) {
  (void)collection;
  const char *name = vorn_instance_get_name(instance);
  if (!vorn_input_is_ssid(name, (int)strlen(name)) || !is_text(name))
    return refuse(name, "the name is not valid");
  const char *security = vorn_instance_get_value(instance, "security");
  if (security == NULL) return 1; /* missing, which the agent itself reports better */
  if (strcmp(security, "open") == 0 || vorn_instance_get_value(instance, "passphrase") != NULL) return 1;
  return refuse(name, "its kind of security needs a passphrase");
}

static int is_access_list(vorn_instances *collection, vorn_instance *instance) {
  (void)collection;
  return is_list_name(vorn_instance_get_name(instance));
}

static const struct property_row ssid_properties[] = {
    {"radio", FIXED, is_radio_name, NULL},        {"security", FIXED, is_security, NULL},
    {"passphrase", SETTING, is_passphrase, NULL}, {"enabled", REQUIRED, is_flag, NULL},
    {"hidden", SETTING, is_flag, NULL},           {"vlan", SETTING, is_vlan, NULL},
    {"access-list", SETTING, is_list_name, NULL}, {NULL, LIVE, NULL, NULL},
};

/* An instance is one entry; the entries of one name are the list of that name. */
static const struct property_row access_list_properties[] = {
    {"mac", REQUIRED, is_mac, NULL},
    {"action", REQUIRED, is_action, NULL},
    {"description", SETTING, is_text, NULL},
    {NULL, LIVE, NULL, NULL},
};

static const struct class_row classes[] = {
    {.name = "ssid",
     .type = VORN_CLASS_UNIQUE_NAMED,
     .is_instance_valid = is_ssid,
     .properties = ssid_properties},
    {.name = "access-list",
     .type = VORN_CLASS_GROUP_NAMED,
     .is_instance_valid = is_access_list,
     .properties = access_list_properties},
};

int declare_wireless_classes(void) {
  for (size_t i = 0; i < sizeof classes / sizeof classes[0]; i++)
    if (declare_class(&classes[i]) != 0) return 1;
  return 0;
}
