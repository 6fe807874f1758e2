/* Makes the daemon follow the configuration. */
#include "commits.h"
#include "dhcp.h"
#include "files.h"
#include "supervise.h"

#include <stdlib.h>

#define FILE_PATH "/var/run/dnsmasq.conf"

static char *const argv[] = {"dnsmasq", "--keep-in-foreground", "--conf-file=" FILE_PATH, NULL};
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

int commit_dhcp(vorn_commit_info *info) {
  char *text = NULL;
  vorn_changes *changes = vorn_commit_info_get_changes(info);
  if (!commit_starts_from_nothing(info) && !vorn_changes_contains_class(changes, "dhcp-server")) return 0;
  if (make_dhcp_text(vorn_commit_info_get_after(info), &text) != 0) return 1;
  return apply_new(text);
}
