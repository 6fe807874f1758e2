/* The tables of the kernel's network devices. Each is read once for a request, however many of its values are
 * asked for, and each of its lines updates the interface of that name. Devices that are not configured, such
 * as lo, have lines too: these match nothing. */
#include "network.h"

#include <stdio.h>
#include <string.h>

enum { LONGEST_LINE = 256 };

/* One small file for each device. The walk puts what the star has matched, the name, before the values. */
static int read_uevents(void *keys, char *buf, int size) {
  return vorn_util_dir_walk("/sys/class/net/*/uevent", buf, size, "", vorn_util_add_line_from_proc, keys);
}

/* Brings a line of /proc/net/dev, "  eth0:  1234  5 ...", into the form of a table: single blanks between the
 * fields, none before the first. The result is not longer than the line. */
static void squeeze(char *line) {
  char *out = line;
  for (const char *in = line + strspn(line, " "); *in != '\0'; in++) {
    char c = *in;
    if (c == ':') c = ' ';
    if (c != ' ' || (out > line && out[-1] != ' ')) *out++ = c;
  }
  *out = '\0';
}

/* The two header lines have no colon. The table ends before the first line that does not fit. */
static int read_counters(void *path, char *buf, int size) {
  FILE *file = fopen(path, "re");
  if (file == NULL) return 1;
  char line[LONGEST_LINE];
  size_t room = (size_t)size;
  while (fgets(line, sizeof line, file) != NULL) {
    if (strchr(line, ':') == NULL) continue;
    squeeze(line);
    size_t length = strlen(line);
    if (length >= room) break;
    memcpy(buf, line, length + 1);
    buf += length;
    room -= length;
  }
  fclose(file);
  return 0;
}

static const char *uevent_keys[] = {"IFINDEX", NULL};
static const char *uevent_columns[] = {"*name", "ifindex", NULL};

/* Between the errors and the bytes sent there are counters of rarer events, and after these columns some more
 * (proc(5)). They are left out. */
static char counter_path[] = "/proc/net/dev";
static const char *counter_columns[] = {"*name", "rx-bytes", "rx-packets", "rx-errors",  "",          "",  "",
                                        "",      "",         "tx-bytes",   "tx-packets", "tx-errors", NULL};

static vorn_util_txt_table uevents = {
    .read = read_uevents,
    .read_arg = uevent_keys,
    .parse = vorn_util_put2object,
    .class_name = "interface",
    .columns = uevent_columns,
};

static vorn_util_txt_table counters = {
    .read = read_counters,
    .read_arg = counter_path,
    .parse = vorn_util_put2object,
    .class_name = "interface",
    .columns = counter_columns,
};

vorn_util_txt_table *interface_tables[] = {&uevents, &counters, NULL};
