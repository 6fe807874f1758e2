/* The plugin of the device as a whole: what it is called, where it stands, and how long it has been up. */
#include "commits.h"
#include "declare.h"
#include "values.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/sysinfo.h>
#include <time.h>
#include <unistd.h>

enum { LONGEST_LABEL = 63, LONGEST_ZONE = 63 };

/* A host name without a domain: one label (RFC 1123). */
static int is_hostname(const char *value) {
  if (!made_of(value, 1, LONGEST_LABEL, LETTERS DIGITS "-")) return 0;
  return value[0] != '-' && value[strlen(value) - 1] != '-';
}

/* The form in which the C library understands a zone without a data base of them, as in
 * CET-1CEST,M3.5.0,M10.5.0/3 (POSIX, "TZ"). What starts with a letter and has an offset is never taken for
 * the name of a file. */
static int is_timezone(const char *value) {
  if (!made_of(value, 4, LONGEST_ZONE, LETTERS DIGITS "<>+-:,./")) return 0;
  return strchr(LETTERS "<", value[0]) != NULL && strpbrk(value, DIGITS) != NULL;
}

static const struct property_row system_properties[] = {
    {"hostname", SETTING, is_hostname},
    {"location", SETTING, is_text},
    {"contact", SETTING, is_text},
    {"timezone", SETTING, is_timezone},
    {"uptime", LIVE, NULL}, /* in seconds */
    {NULL, LIVE, NULL},
};

static const struct class_row system_class = {
    .name = "system", .type = VORN_CLASS_SINGLETON, .properties = system_properties};

static void apply_hostname(const char *hostname) {
  if (sethostname(hostname, strlen(hostname)) != 0)
    vorn_debug_eprintf("system: host name \"%s\": %s\n", hostname, strerror(errno));
}

/* For the agent itself, its time stamps above all, and for the programs that it starts. */
static void apply_timezone(const char *timezone_text) {
  if (setenv("TZ", timezone_text, 1) != 0)
    vorn_debug_eprintf("system: time zone \"%s\": %s\n", timezone_text, strerror(errno));
  tzset();
}

static int commit(vorn_commit_info *info) {
  vorn_changes *changes = vorn_commit_info_get_changes(info);
  /* Asking the collection for a singleton that a client has deleted is no error: there is just nothing to
   * apply. */
  vorn_instance *system_instance = vorn_instances_get_singleton(vorn_commit_info_get_after(info), "system");
  const char *hostname = changed_value(changes, system_instance, "hostname");
  const char *timezone_text = changed_value(changes, system_instance, "timezone");
  if (hostname != NULL) apply_hostname(hostname);
  if (timezone_text != NULL) apply_timezone(timezone_text);
  return 0;
}

static int refresh(vorn_refresh_info *info) {
  if (!vorn_refresh_info_contains_class(info, "system")) return 0;
  vorn_instance *instance = vorn_instances_get_singleton(vorn_refresh_info_get_instances(info), "system");
  if (instance == NULL || !vorn_refresh_info_contains_property(info, instance, "uptime")) return 0;
  struct sysinfo system_info;
  if (sysinfo(&system_info) != 0) return 1;
  char seconds[24];
  snprintf(seconds, sizeof seconds, "%ld", (long)system_info.uptime);
  return vorn_instance_set_value(instance, "uptime", seconds);
}

int vorn_plugin_init(void) {
  if (!plugin_is_accepted()) return 1;
  if (declare_class(&system_class) != 0) return 1;
  return declare_provider("system", commit, refresh);
}
