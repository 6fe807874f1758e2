/* Plugins: shared objects in "/usr/lib/vorn/plugins/" whose names end in ".vorn" or ".so". Each is loaded
 * once at start-up, and its function vorn_plugin_init is called. There it asks for its record with
 * vorn_plugin_new, registers nothing when that is refused, and otherwise adds its classes and providers. Both
 * registries are closed after the last plugin, so a plugin may refer to what others add later. */
#ifndef VORN_PLUGINS_PLUGIN_H
#define VORN_PLUGINS_PLUGIN_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* The version of this interface. */
#define VORN_PLUGIN_VERSION "1.0"

/* One loaded plugin. The record and its name belong to the plugin, which may free both with free(3). */
typedef struct vorn_plugin {
  char *name;
} vorn_plugin;

/* The file name, without directory, of the plugin whose vorn_plugin_init was called last; null before the
 * first. It belongs to the agent. */
VORN_API extern const char *vorn_plugins_current;

/* Returns a record with the name of the plugin that is being started. `version` is VORN_PLUGIN_VERSION, as
 * the plugin was compiled with it. Null when the agent's is another one, which is logged, or when memory runs
 * out. */
VORN_API vorn_plugin *vorn_plugin_new(const char *version) VORN_NOEXCEPT;

/* The entry that every plugin defines and exports. Its result is ignored. */
VORN_API int vorn_plugin_init(void);

VORN_END_DECLS

#endif
