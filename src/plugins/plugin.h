/* Plugins: shared objects in "/usr/lib/vorn/plugins/" whose names end in ".vorn" or ".so". Each is loaded
 * once at start-up and exports a function `vorn_plugin_init` without parameters, whose result is ignored.
 * There it asks for its record with vorn_plugin_new, registers nothing when that is refused, and otherwise
 * adds its classes and providers. Both registries are closed after the last plugin: it may refer to what
 * others add later. */
#ifndef VORN_PLUGINS_PLUGIN_H
#define VORN_PLUGINS_PLUGIN_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* The version of this interface. */
#define VORN_PLUGIN_VERSION "1.0"

/* One loaded plugin. The record and its name are the plugin's own, made with malloc(3). */
typedef struct vorn_plugin {
  char *name;
} vorn_plugin;

/* The file name, without directory, of the plugin whose entry function was called last. */
VORN_API extern const char *vorn_plugins_current;

/* Returns a record with the name of the plugin that is being started, or null when the agent's interface is
 * not of `version`, which is logged, or memory runs out. */
VORN_API vorn_plugin *vorn_plugin_new(const char *version) VORN_NOEXCEPT;

/* What a plugin defines. */
VORN_API int vorn_plugin_init(void);

VORN_END_DECLS

#endif
