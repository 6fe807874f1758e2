/* The daemon's configuration file, dnsmasq.conf as in dnsmasq(8). */
#include "commits.h"
#include "dhcp.h"

#include <stdlib.h>
#include <string.h>

#define DEFAULT_LEASE "3600"

/* Only the interfaces that are named below are served, also when they appear later. A reboot loses the
 * leases, so the daemon confirms those that clients still have. It runs as the agent's user: a small device
 * may have no other. */
static const char common[] = "# Written by the configuration agent: changes are lost.\n"
                             "user=\n"
                             "group=\n"
                             "pid-file=/var/run/dnsmasq.pid\n"
                             "bind-dynamic\n"
                             "except-interface=lo\n"
                             "no-hosts\n"
                             "no-resolv\n"
                             "domain-needed\n"
                             "dhcp-authoritative\n"
                             "dhcp-leasefile=/var/run/dnsmasq.leases\n";

static int is_enabled(const vorn_instance *server) {
  return is_same(vorn_instance_get_value(server, "enabled"), "1");
}

/* Writes each word of a list on a line of its own, after a prefix. */
static void write_list(FILE *file, const char *prefix, const char *list) {
  for (const char *word = list + strspn(list, " "); *word != '\0'; word += strspn(word, " ")) {
    int length = (int)strcspn(word, " ");
    fprintf(file, "%s%.*s\n", prefix, length, word);
    word += length;
  }
}

static void write_domain(FILE *file, const char *domain, const char *device, const char *first, int length) {
  fprintf(file, "domain=%s,%.*s,%s\n", domain, length, first, first + length + 1);
  fprintf(file, "local=/%s/\n", domain);
  fprintf(file, "interface-name=gateway.%s,%s\n", domain, device);
}

static void write_server(FILE *file, const vorn_instance *server) {
  const char *device = vorn_instance_get_name(server);
  const char *range = vorn_instance_get_value(server, "range");
  const char *lease = vorn_instance_get_value(server, "lease-time");
  const char *domain = vorn_instance_get_value(server, "domain");
  const char *dns_servers = vorn_instance_get_value(server, "dns-servers");
  int length = (int)strcspn(range, "-"); /* of the first address */
  fprintf(file, "\ninterface=%s\n", device);
  fprintf(file, "dhcp-range=%.*s,%s,%s\n", length, range, range + length + 1,
          lease != NULL ? lease : DEFAULT_LEASE);
  if (domain != NULL) write_domain(file, domain, device, range, length);
  if (dns_servers != NULL) write_list(file, "server=", dns_servers);
}

/* Returns the number of servers written. */
static int write_servers(FILE *file, vorn_instances *instances) {
  int count = 0;
  vorn_instances_iterator *it = vorn_instances_new_class_iterator(instances, "dhcp-server");
  while (vorn_instances_iterator_has_next(it)) {
    const vorn_instance *server = vorn_instances_iterator_next(it);
    if (!is_enabled(server)) continue;
    write_server(file, server);
    count++;
  }
  vorn_instances_delete_iterator(it);
  return count;
}

int make_dhcp_text(vorn_instances *instances, char **text) {
  size_t size;
  FILE *file = open_memstream(text, &size);
  if (file == NULL) return 1;
  fputs(common, file);
  int count = write_servers(file, instances);
  int failed = ferror(file);
  failed |= fclose(file) != 0;
  if (!failed && count > 0) return 0;
  free(*text);
  *text = NULL;
  return failed;
}
