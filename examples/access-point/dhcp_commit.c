/* Makes the daemon follow the configuration. */
#include "commits.h"
#include "dhcp.h"
#include "files.h"
#include "supervise.h"

#include <signal.h>
#include <stdlib.h>

#define FILE_PATH "/var/run/dnsmasq.conf"

#define PROGRAM "dnsmasq"

static char *const argv[] = {PROGRAM, "--keep-in-foreground", "--conf-file=" FILE_PATH, NULL};
static struct supervised daemon_program = {.name = DHCP_SERVICE, .argv = argv};

static void write_text(FILE *file, void *text) { fputs(text, file); }

static int apply(char *text) {
  if (text == NULL) {
    supervise_stop(&daemon_program);
    remove_file(FILE_PATH);
    return 0;
  }
  if (replace_file(FILE_PATH, 0644, write_text, text) != 0) return 1;
  supervise_restart(&daemon_program);
  return 0;
}

/* The daemon is restarted only when the text has changed, because its clients have no DNS meanwhile. A text
 * that could not be written is tried again at the next change. */
static int apply_new(char *text) {
  static char *applied;
  int same = is_same(text, applied);
  int failed = !same && apply(text) != 0;
  if (!same && !failed) {
    free(applied);
    applied = text;
  } else {
    free(text);
  }
  return failed;
}

/* Returns the process that the daemon's pid file names, if it still runs that program, else 0. */
static int find_leftover(void) {
  int pid = 0;
  char status[48];
  FILE *file = fopen(DHCP_PID_PATH, "re");
  if (file == NULL) return 0;
  if (fscanf(file, "%d", &pid) != 1) pid = 0;
  fclose(file);
  snprintf(status, sizeof status, "%d (" PROGRAM ")", pid); /* as proc(5) has it, "stat" */
  return pid > 0 && vorn_util_findpid(status) == pid ? pid : 0;
}

/* An agent that was killed has left its daemon running, which still has the port that the new one needs. */
static void end_leftover(void) {
  int pid = vorn_process_no_actions || vorn_service_is_running(DHCP_SERVICE) ? 0 : find_leftover();
  if (pid == 0) return;
  vorn_debug_printf("dhcp: ending process %d, which an earlier agent has left.\n", pid);
  kill(pid, SIGTERM);
}

int commit_dhcp(vorn_commit_info *info) {
  char *text = NULL;
  vorn_changes *changes = vorn_commit_info_get_changes(info);
  if (!commit_starts_from_nothing(info) && !vorn_changes_contains_class(changes, "dhcp-server")) return 0;
  if (commit_starts_from_nothing(info)) end_leftover();
  if (make_dhcp_text(vorn_commit_info_get_after(info), &text) != 0) return 1;
  return apply_new(text);
}
