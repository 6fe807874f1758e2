/* The plugin of the services that the device uses: the servers to which it sends its system log. */
#include "commits.h"
#include "declare.h"
#include "files.h"
#include "values.h"

#include <signal.h>

#define SYSLOG_PATH "/etc/syslog.conf"
#define SYSLOG_PORT "514" /* RFC 5426 */

static const struct property_row syslog_properties[] = {
    {"address", REQUIRED, is_ipv4, NULL},
    {"port", SETTING, is_port, NULL},
    {NULL, LIVE, NULL, NULL},
};

static const struct class_row syslog_class = {
    .name = "syslog-server", .type = VORN_CLASS_ANONYMOUS, .properties = syslog_properties};

static void write_server(FILE *file, const vorn_instance *server) {
  const char *port = vorn_instance_get_value(server, "port");
  fprintf(file, "*.*\t@%s:%s\n", vorn_instance_get_value(server, "address"),
          port != NULL ? port : SYSLOG_PORT);
}

static void write_servers(FILE *file, void *instances) {
  fputs("# Written by the configuration agent: changes are lost.\n", file);
  vorn_instances_iterator *it = vorn_instances_new_class_iterator(instances, "syslog-server");
  while (vorn_instances_iterator_has_next(it)) write_server(file, vorn_instances_iterator_next(it));
  vorn_instances_delete_iterator(it);
}

/* Has the log daemon, if there is one, read its file again. */
static void tell_daemon(void) {
  int pid = vorn_process_no_actions ? -1 : vorn_util_findpid("(syslogd)");
  if (pid > 0) kill(pid, SIGHUP);
}

/* Whichever server has changed, the file is written as a whole: a committer would be of no use. At a start it
 * is written even without servers: it may be left over from another configuration. */
static int commit(vorn_commit_info *info) {
  vorn_changes *changes = vorn_commit_info_get_changes(info);
  if (!commit_starts_from_nothing(info) && !vorn_changes_contains_class(changes, "syslog-server")) return 0;
  if (replace_file(SYSLOG_PATH, 0644, write_servers, vorn_commit_info_get_after(info)) != 0) return 1;
  tell_daemon();
  return 0;
}

int vorn_plugin_init(void) {
  if (!plugin_is_accepted()) return 1;
  if (declare_class(&syslog_class) != 0) return 1;
  return declare_provider(&(struct provider_row){.name = "syslog", .commit = commit});
}
