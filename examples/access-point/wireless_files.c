#include "wireless_files.h"
#include "commits.h"
#include "files.h"
#include "passphrase.h"

#include <dirent.h>
#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#define DIRECTORY "/var/run/wireless/"
#define HEADER "# Written by the configuration agent: changes are lost.\n"

enum { LONGEST_PATH = 96 };

/* The files contain passphrases, so only root may read them. */
enum { FILE_MODE = 0600, DIRECTORY_MODE = 0700 };

/* What the writers below get. */
struct source {
  vorn_instances *instances;
  const char *name;
};

void begin_wireless_files(void) {
  if (vorn_process_no_actions) return;
  if (mkdir(DIRECTORY, DIRECTORY_MODE) != 0 && errno != EEXIST)
    vorn_debug_eprintf("Cannot make " DIRECTORY ": %s\n", strerror(errno));
  DIR *directory = opendir(DIRECTORY);
  if (directory == NULL) return;
  char path[sizeof DIRECTORY + sizeof(((struct dirent *)0)->d_name)];
  for (struct dirent *entry = readdir(directory); entry != NULL; entry = readdir(directory)) {
    if (entry->d_name[0] == '.') continue;
    snprintf(path, sizeof path, DIRECTORY "%s", entry->d_name);
    remove_file(path);
  }
  closedir(directory);
}

/* "PROPERTY VALUE": the value extends to the end of the line; it has no line breaks. */
static void write_value(FILE *file, vorn_instance *instance, const char *property) {
  const char *value = vorn_instance_get_value(instance, property);
  if (value != NULL) fprintf(file, "%s %s\n", property, value);
}

static void write_passphrase(FILE *file, vorn_instance *network) {
  char plain[PLAIN_PASSPHRASE_SIZE];
  const char *stored = vorn_instance_get_value(network, "passphrase");
  if (stored != NULL && is_plain_passphrase(stored))
    fprintf(file, "passphrase %s\n", stored); /* it could not be enciphered */
  else if (stored != NULL && decipher_passphrase(stored, plain))
    fprintf(file, "passphrase %s\n", plain);
  explicit_bzero(plain, sizeof plain);
}

/* An open network may still have a passphrase, which must not be shown then. */
static void write_network(FILE *file, vorn_instance *network) {
  fprintf(file, "\nnetwork %s\n", vorn_instance_get_name(network));
  write_value(file, network, "security");
  if (!is_same(vorn_instance_get_value(network, "security"), "open")) write_passphrase(file, network);
  write_value(file, network, "hidden");
  write_value(file, network, "vlan");
  write_value(file, network, "access-list");
}

static void write_networks(FILE *file, const struct source *radio) {
  vorn_instances_iterator *it = vorn_instances_new_class_iterator(radio->instances, "ssid");
  while (vorn_instances_iterator_has_next(it)) {
    vorn_instance *network = vorn_instances_iterator_next(it);
    if (is_same(vorn_instance_get_value(network, "radio"), radio->name) &&
        is_same(vorn_instance_get_value(network, "enabled"), "1"))
      write_network(file, network);
  }
  vorn_instances_delete_iterator(it);
}

static void write_radio(FILE *file, void *data) {
  const struct source *radio = data;
  vorn_instance *instance = vorn_instances_get(radio->instances, "radio", radio->name);
  fputs(HEADER, file);
  write_value(file, instance, "mode");
  write_value(file, instance, "channel");
  write_value(file, instance, "tx-power");
  write_networks(file, radio);
}

/* Lines of "allow MAC" or "deny MAC"; the first one that matches a station decides. */
static void write_list(FILE *file, void *data) {
  const struct source *list = data;
  fputs(HEADER, file);
  vorn_instances_iterator *it = vorn_instances_new_group_iterator(list->instances, "access-list", list->name);
  while (vorn_instances_iterator_has_next(it)) {
    vorn_instance *entry = vorn_instances_iterator_next(it);
    fprintf(file, "%s %s\n", vorn_instance_get_value(entry, "action"), vorn_instance_get_value(entry, "mac"));
  }
  vorn_instances_delete_iterator(it);
}

static int has_list(vorn_instances *instances, const char *list) {
  vorn_instances_iterator *it = vorn_instances_new_group_iterator(instances, "access-list", list);
  int found = vorn_instances_iterator_has_next(it);
  vorn_instances_delete_iterator(it);
  return found;
}

static void update_file(const char *suffix, struct source *source, int wanted, file_writer write) {
  char path[LONGEST_PATH];
  snprintf(path, sizeof path, DIRECTORY "%s%s", source->name, suffix);
  if (wanted)
    replace_file(path, FILE_MODE, write, source);
  else
    remove_file(path);
}

void write_radio_file(vorn_instances *instances, const char *radio) {
  int wanted = vorn_instances_get(instances, "radio", radio) != NULL;
  update_file(".conf", &(struct source){instances, radio}, wanted, write_radio);
}

void write_list_file(vorn_instances *instances, const char *list) {
  update_file(".list", &(struct source){instances, list}, has_list(instances, list), write_list);
}
