/* What the agent of the device tests manages: every kind of class, a provider that notes what it is asked to
 * do, and one after it that saves the configuration. */
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>
#include <vorn.h>

static int not_bad(const char *value) { return strcmp(value, "bad") != 0; }

static void add_property(vorn_class *cls, const char *name, int live) {
  vorn_property *property = vorn_property_new(name);
  vorn_property_set_is_valid_fn(property, not_bad);
  if (live) {
    vorn_property_set_writable(property, 0);
    vorn_property_set_persistence(property, 0);
  }
  vorn_class_add_property(cls, property);
}

static vorn_class *new_class(const char *name, unsigned type) {
  vorn_class *cls = vorn_class_new(name);
  vorn_class_set_type(cls, type);
  vorn_class_set_persistence(cls, 1);
  return cls;
}

static void add_classes(void) {
  vorn_class *cls = new_class("system", VORN_CLASS_SINGLETON);
  add_property(cls, "host", 0);
  add_property(cls, "uptime", 1);
  vorn_classes_add(cls);
  cls = new_class("wire", VORN_CLASS_UNIQUE_NAMED);
  vorn_class_set_superclass(cls, "port");
  add_property(cls, "speed", 0);
  vorn_classes_add(cls);
  cls = new_class("port", VORN_CLASS_UNIQUE_NAMED);
  vorn_class_set_abstract(cls, 1);
  vorn_class_set_subclass_identifier(cls, vorn_property_new("type"));
  add_property(cls, "mtu", 0);
  vorn_classes_add(cls);
  cls = new_class("radio", VORN_CLASS_UNIQUE_NAMED);
  add_property(cls, "mode", 0);
  add_property(cls, "text", 0);
  vorn_classes_add(cls);
  cls = new_class("rule", VORN_CLASS_GROUP_NAMED);
  add_property(cls, "action", 0);
  vorn_classes_add(cls);
}

/* Calls `visit` for what an iterator yields, and frees it. */
static void for_each(vorn_instances_iterator *it, void (*visit)(vorn_instance *, FILE *), FILE *out) {
  while (vorn_instances_iterator_has_next(it)) visit(vorn_instances_iterator_next(it), out);
  vorn_instances_delete_iterator(it);
}

static void note_name(vorn_instance *instance, FILE *out) {
  const char *name = vorn_instance_get_name(instance);
  fprintf(out, " %s:%s", vorn_class_get_name(vorn_instance_get_class(instance)), name ? name : "");
}

static void announce_radio(vorn_instance *radio, FILE *out) {
  const char *mode = vorn_instance_get_value(radio, "mode");
  (void)out;
  if (!mode) return;
  vorn_notify_object_change(vorn_query_origin, "radio", vorn_instance_get_name(radio), "mode", mode);
  if (strcmp(mode, "reboot") == 0) vorn_util_reboot();
}

static int apply(vorn_commit_info *info) {
  vorn_changes *changes = vorn_commit_info_get_changes(info);
  FILE *out = fopen("/tmp/commits", "a");
  if (!out) return 1;
  fputs("changed", out);
  for_each(vorn_changes_new_class_instances_iterator(changes, NULL), note_name, out);
  fputs(" deleted", out);
  for_each(vorn_changes_new_deleted_class_instances_iterator(changes, NULL), note_name, out);
  fputs("\n", out);
  fclose(out);
  if (access("/tmp/slow", F_OK) == 0) vorn_command_execl("sleep", "100", NULL);
  if (!vorn_instances_is_empty(vorn_commit_info_get_before(info)))
    for_each(vorn_changes_new_class_instances_iterator(changes, "radio"), announce_radio, NULL);
  return 0;
}

static int refresh(vorn_refresh_info *info) {
  vorn_instance *system = vorn_instances_get_singleton(vorn_refresh_info_get_instances(info), "system");
  char uptime[32] = "";
  FILE *live =
      system && vorn_refresh_info_contains_property(info, system, "uptime") ? fopen("/tmp/live", "r") : NULL;
  if (!live) return 0;
  if (fgets(uptime, sizeof uptime, live)) vorn_instance_set_value(system, "uptime", uptime);
  fclose(live);
  return 0;
}

static int save(vorn_commit_info *info) {
  /* The commit of what was just loaded has nothing to save. */
  return vorn_instances_is_empty(vorn_commit_info_get_before(info)) ? 0
                                                                    : vorn_config_copy_running_to_startup();
}

static void service_ended(void *value) {
  vorn_debug_printf("%s ended.\n", (const char *)value);
  vorn_service_set_exited_fn("child", service_ended, value);
  vorn_service_execl("child", "sleep", "100", NULL);
}

/* Does with a service what the request asks for. */
static int serve(void) {
  const char *script = vorn_inform_get_value("start"), *name = vorn_inform_get_value("name");
  if (!name) name = "child";
  if (!script) return vorn_service_stop(name, SIGTERM, 100000) != 1;
  vorn_service_set_exited_fn(name, service_ended, (void *)"The child");
  return vorn_service_execl(name, "sh", "-c", script, NULL);
}

static int keep_default(void) { return vorn_config_copy_running_to_default(); }

static int note_inform(void) {
  const char *state = vorn_inform_get_value("state");
  if (!state || strcmp(state, "bad") == 0) return 1;
  vorn_notify_object_change(NULL, "wire", "wan", "state", state);
  return 0;
}

/* What a plugin calls while the process ends finds everything as it was. */
__attribute__((destructor)) static void say_the_end(void) { vorn_notify_conf_change("the end"); }

static vorn_plugin *plugin;

int vorn_plugin_init(void) {
  vorn_provider *provider;
  plugin = vorn_plugin_new(VORN_PLUGIN_VERSION);
  if (!plugin) return 1;
  add_classes();
  provider = vorn_provider_new("save");
  vorn_provider_set_commit_fn(provider, save, NULL);
  vorn_providers_add(provider);
  provider = vorn_provider_new("apply");
  vorn_provider_set_commit_fn(provider, apply, NULL);
  vorn_provider_set_refresh_fn(provider, refresh, NULL);
  vorn_providers_add(provider);
  if (vorn_inform_fn_add("wan", note_inform) != 0 || vorn_inform_fn_add("service", serve) != 0 ||
      vorn_inform_fn_add("default", keep_default) != 0 || vorn_inform_fn_add("reboot", vorn_reboot) != 0)
    return 1;
  return vorn_providers_order("apply", "save");
}
