/* The plugin of the device as a whole: its name, its place, its time zone and its uptime. */
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

enum { LONGEST_ZONE = 63 };

/* A host name without a domain: one label (RFC 1123). */
static int is_hostname(const char *value) { return vorn_input_is_domain_label(value, (int)strlen(value)); }

/* The form that the C library understands without a database of time zones, such as
 * CET-1CEST,M3.5.0,M10.5.0/3 (POSIX, "TZ"). It takes anything else for the name of a file, so slashes are
 * accepted only after the comma, where they separate times. */
static int is_timezone(const char *value) {
  if (!made_of(value, 4, LONGEST_ZONE, LETTERS DIGITS "<<>>+/::")) return 0;
  char first[] = {value[0], '\0'};
  return made_of(first, 1, 1, LETTERS "<<") && strpbrk(value, "0123456789") != NULL &&
         value[strcspn(value, ",/")] != '/';
}

static const struct property_row system_properties[] = {
    {"hostname", SETTING, is_hostname, NULL},
    {"location", SETTING, is_text, NULL},
    {"contact", SETTING, is_text, NULL},
    {"timezone", SETTING, is_timezone, NULL},
    {"uptime", LIVE, NULL, NULL}, /* in seconds */
    {NULL, LIVE, NULL, NULL},
};

static const struct class_row system_class = {
    .name = "system", .type = VORN_CLASS_SINGLETON, .properties = system_properties};

static int apply_hostname(vorn_instance *instance, const char *property, const char *value, const char *old) {
  (void)instance, (void)property;
  if (is_same(value, old) || vorn_process_no_actions) return 0;
  if (sethostname(value, strlen(value)) != 0)
    vorn_debug_eprintf("system: host name \"%s\": %s\n", value, strerror(errno));
  return 0;
}

/* For the time stamps of the agent, and for the programs that it starts. */
static int apply_timezone(vorn_instance *instance, const char *property, const char *value, const char *old) {
  (void)instance, (void)property;
  if (is_same(value, old) || vorn_process_no_actions) return 0;
  if (setenv("TZ", value, 1) != 0)
    vorn_debug_eprintf("system: time zone \"%s\": %s\n", value, strerror(errno));
  tzset();
  return 0;
}

static const char *read_uptime(vorn_instance *instance, const char *property, vorn_refresh_info *info) {
  static char seconds[24]; /* copied as soon as this has returned */
  struct sysinfo system_info;
  (void)instance, (void)property, (void)info;
  if (sysinfo(&system_info) != 0) return NULL;
  snprintf(seconds, sizeof seconds, "%ld", (long)system_info.uptime);
  return seconds;
}

int vorn_plugin_init(void) {
  if (!plugin_is_accepted()) return 1;
  if (declare_class(&system_class) != 0) return 1;
  vorn_committer *committer = vorn_committer_new();
  vorn_refresher *refresher = vorn_refresher_new("system");
  if (vorn_committer_set_property_change_fn(committer, "system", "hostname", apply_hostname) != 0) return 1;
  if (vorn_committer_set_property_change_fn(committer, "system", "timezone", apply_timezone) != 0) return 1;
  if (vorn_refresher_set_property_fn(refresher, "uptime", read_uptime) != 0) return 1;
  return declare_provider(
      &(struct provider_row){"system", vorn_committer_fn, committer, vorn_refresher_fn, refresher});
}
