/* Makes the kernel's network devices follow the interfaces of the configuration, with the program ip(8). */
#include "commits.h"
#include "network.h"

#include <errno.h>
#include <net/if.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

enum { EXEC_FAILED = 127 };

/* Becomes the program, with signals as a program expects to find them: the agent ignores SIGPIPE, which would
 * be inherited, and its handlers must not run in a copy of it. */
static void become(const char *const argv[], const sigset_t *mask) {
  for (int number = 1; number < NSIG; number++) signal(number, SIG_DFL);
  sigprocmask(SIG_SETMASK, mask, NULL);
  execvp(argv[0], (char *const *)argv);
  _exit(EXEC_FAILED);
}

/* Returns the program's exit status, or -1 when there is none. */
static int wait_for(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0)
    if (errno != EINTR) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/* Runs a program and returns as wait_for. No shell is involved, since values come from clients. Signals have
 * to wait until it has ended: while the agent starts, a handler for SIGCHLD may collect any child at once,
 * and with it the status that is waited for here. */
static int run(const char *const argv[]) {
  sigset_t all, mask;
  sigfillset(&all);
  sigprocmask(SIG_SETMASK, &all, &mask);
  pid_t pid = fork();
  if (pid == 0) become(argv, &mask);
  int status = pid > 0 ? wait_for(pid) : -1;
  sigprocmask(SIG_SETMASK, &mask, NULL);
  return status;
}

/* Sets one attribute of a device: "mtu" to a value, or "up" or "down" without one. */
static void set_link(const char *device, const char *attribute, const char *value) {
  const char *const argv[] = {"ip", "link", "set", "dev", device, attribute, value, NULL};
  const char *blank = value != NULL ? " " : "";
  const char *shown = value != NULL ? value : "";
  vorn_debug_1printf("interfaces: setting %s %s%s%s.\n", device, attribute, blank, shown);
  if (vorn_process_no_actions) return;
  int status = run(argv);
  if (status != 0)
    vorn_debug_eprintf("interfaces: setting %s %s%s%s failed (%d).\n", device, attribute, blank, shown,
                       status);
}

static int device_exists(const char *device) {
  if (if_nametoindex(device) != 0) return 1;
  vorn_debug_printf("interfaces: no device \"%s\", skipped.\n", device);
  return 0;
}

/* The size comes before the state, so that no frame leaves a port with the wrong one. */
static void apply(vorn_changes *changes, vorn_instance *instance) {
  const char *mtu = changed_value(changes, instance, "mtu");
  const char *enabled = changed_value(changes, instance, "enabled");
  if (mtu == NULL && enabled == NULL) return;
  const char *device = vorn_instance_get_name(instance);
  if (!device_exists(device)) return;
  if (mtu != NULL) set_link(device, "mtu", mtu);
  if (enabled != NULL) set_link(device, strcmp(enabled, "1") == 0 ? "up" : "down", NULL);
}

/* A device that is no longer in the configuration is not to be used any more. */
static void shut_down(const char *device) {
  if (device_exists(device)) set_link(device, "down", NULL);
}

/* An interface that was deleted and inserted again is in both lists: the deleted ones come first. */
int commit_links(vorn_commit_info *info) {
  vorn_changes *changes = vorn_commit_info_get_changes(info);
  vorn_instances_iterator *it = vorn_changes_new_deleted_class_instances_iterator(changes, "interface");
  while (vorn_instances_iterator_has_next(it))
    shut_down(vorn_instance_get_name(vorn_instances_iterator_next(it)));
  vorn_instances_delete_iterator(it);

  it = vorn_changes_new_class_instances_iterator(changes, "interface");
  while (vorn_instances_iterator_has_next(it)) apply(changes, vorn_instances_iterator_next(it));
  vorn_instances_delete_iterator(it);
  return 0;
}
