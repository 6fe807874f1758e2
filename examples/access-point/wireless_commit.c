/* Makes the wireless daemon's files follow the configuration, with two providers: the first one finds out
 * which radios are affected, the second one writes the file of each once, however many changes there were.
 * The first one tells the second one by the actions of the commit. */
#include "commits.h"
#include "declare.h"
#include "network.h"
#include "passphrase.h"
#include "wireless_files.h"

#include <string.h>

static void mark_radio(vorn_commit_info *info, const char *radio) {
  vorn_actions_add(vorn_commit_info_get_actions(info), "wireless-files", "write", "radio", radio);
}

static int is_marked(vorn_commit_info *info, const char *radio) {
  return vorn_actions_exists(vorn_commit_info_get_actions(info), "wireless-files", "write", "radio", radio);
}

/* Replaces a plain passphrase by its enciphered form before it can be saved or read. One that comes from the
 * file is replaced in the file, too. */
static void hide_passphrase(vorn_instance *network, vorn_commit_info *info) {
  char enciphered[ENCIPHERED_PASSPHRASE_SIZE];
  const char *value = vorn_instance_get_value(network, "passphrase");
  if (value == NULL || !is_plain_passphrase(value)) return;
  if (encipher_passphrase(value, enciphered) &&
      vorn_instance_set_value(network, "passphrase", enciphered) == 0)
    request_save(info);
  else
    vorn_debug_eprintf("ssid \"%s\": the passphrase stays readable.\n", vorn_instance_get_name(network));
}

/* All networks are checked, not only those that this commit has changed: a request that ended with a select,
 * or failed half way, may have changed others without a commit. At a start all files are removed: one that is
 * left over from another configuration would keep its networks on the air. */
static int begin(vorn_commit_info *info) {
  vorn_instances_iterator *it = vorn_instances_new_class_iterator(vorn_commit_info_get_after(info), "ssid");
  while (vorn_instances_iterator_has_next(it)) hide_passphrase(vorn_instances_iterator_next(it), info);
  vorn_instances_delete_iterator(it);
  if (commit_starts_from_nothing(info)) begin_wireless_files();
  return 0;
}

/* Whether the value of one of the properties, which end with null, has changed. An instance that was inserted
 * or deleted has changed. */
static int differ(vorn_instance *after, vorn_instance *before, const char *const properties[]) {
  if (after == NULL || before == NULL) return 1;
  for (; *properties != NULL; properties++)
    if (!is_same(vorn_instance_get_value(after, *properties), vorn_instance_get_value(before, *properties)))
      return 1;
  return 0;
}

static int remove_radio(vorn_instance *before, vorn_commit_info *info) {
  write_radio_file(vorn_commit_info_get_after(info), vorn_instance_get_name(before));
  return 0;
}

static int change_radio(vorn_instance *after, vorn_instance *before, vorn_commit_info *info) {
  static const char *const properties[] = {"mode", "channel", "tx-power", NULL};
  if (differ(after, before, properties)) mark_radio(info, vorn_instance_get_name(after));
  return 0;
}

/* Both are logged when a network is created, for they may be mistakes. */
static int create_ssid(vorn_instance *network) {
  const char *name = vorn_instance_get_name(network);
  const char *radio = vorn_instance_get_value(network, "radio");
  if (is_same(vorn_instance_get_value(network, "security"), "open"))
    vorn_debug_printf("ssid \"%s\": open to everybody.\n", name);
  if (vorn_instances_get(vorn_config_get_running(), "radio", radio) == NULL)
    vorn_debug_printf("ssid \"%s\": not on the air without radio \"%s\".\n", name, radio);
  return 0;
}

/* A network that moves to another radio is deleted and inserted again: this is called for both, and marks
 * both radios. */
static int change_ssid(vorn_instance *after, vorn_instance *before, vorn_commit_info *info) {
  static const char *const properties[] = {"passphrase", "enabled", "hidden", "vlan", "access-list", NULL};
  if (differ(after, before, properties))
    mark_radio(info, vorn_instance_get_value(after != NULL ? after : before, "radio"));
  return 0;
}

static int change_list(vorn_instances *after, const char *class_name, const char *list,
                       vorn_commit_info *info) {
  (void)class_name, (void)info;
  write_list_file(after, list);
  return 0;
}

static vorn_committer *new_committer(void) {
  vorn_committer *committer = vorn_committer_new();
  if (vorn_committer_set_pre_commit_fn(committer, begin) != 0) return NULL;
  if (vorn_committer_set_group_change_fn(committer, "access-list", change_list) != 0) return NULL;
  if (vorn_committer_set_instance_delete_fn(committer, "radio", remove_radio) != 0) return NULL;
  if (vorn_committer_set_instance_change_fn(committer, "radio", change_radio, 0) != 0) return NULL;
  if (vorn_committer_set_instance_create_fn(committer, "ssid", create_ssid) != 0) return NULL;
  if (vorn_committer_set_instance_change_fn(committer, "ssid", change_ssid, 1) != 0) return NULL;
  return committer;
}

static int write_marked(vorn_commit_info *info) {
  vorn_instances *after = vorn_commit_info_get_after(info);
  vorn_instances_iterator *it = vorn_instances_new_class_iterator(after, "radio");
  while (vorn_instances_iterator_has_next(it)) {
    const char *radio = vorn_instance_get_name(vorn_instances_iterator_next(it));
    if (is_marked(info, radio)) write_radio_file(after, radio);
  }
  vorn_instances_delete_iterator(it);
  return 0;
}

int declare_wireless_providers(void) {
  vorn_committer *committer = new_committer();
  if (committer == NULL) return 1;
  if (declare_provider(&(struct provider_row){"wireless", vorn_committer_fn, committer, NULL, NULL}) != 0)
    return 1;
  if (declare_provider(&(struct provider_row){.name = "wireless-files", .commit = write_marked}) != 0)
    return 1;
  return vorn_providers_order("wireless", "wireless-files");
}
