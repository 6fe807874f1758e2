#include "plugins/loader.hpp"

#include "core/handles.hpp"
#include "core/memory_watch.hpp"
#include "core/refuse.hpp"
#include "core/whole_file.hpp"
#include "plugins/plugin.h"
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string_view>

#define PLUGIN_DIRECTORY "/usr/lib/vorn/plugins/"

const char *vorn_plugins_current = nullptr;

namespace {

using vorn::refuse;
using vorn::refuse_aloud;

constexpr std::string_view endings[] = {".vorn", ".so"};

// The name of the current plugin. It outlives its directory entry.
char current_name[NAME_MAX + 1];

bool is_plugin(std::string_view name) {
  for (const std::string_view ending : endings)
    if (name.size() > ending.size() && name.ends_with(ending)) return true;
  return false;
}

struct HandleCloser {
  void operator()(void *handle) const noexcept { dlclose(handle); }
};
using Library = std::unique_ptr<void, HandleCloser>;

using EntryFunction = int (*)();

// The plugin's entry function, or null with the reason logged.
EntryFunction find_entry(const Library &library) {
  dlerror();
  void *symbol = dlsym(library.get(), "vorn_plugin_init");
  if (symbol) return reinterpret_cast<EntryFunction>(symbol);
  if (const char *error = dlerror())
    vorn_debug_eprintf("Plugin does not contain vorn_plugin_init: %s\n", error);
  else
    vorn_debug_eprintf("vorn_plugin_init is set to null.\n");
  return nullptr;
}

int load(const char *name) {
  vorn_debug_1printf("Loading %s.\n", name);
  char path[sizeof PLUGIN_DIRECTORY + NAME_MAX];
  snprintf(path, sizeof path, "%s%s", PLUGIN_DIRECTORY, name);
  dlerror();
  errno = 0;
  Library library(dlopen(path, RTLD_NOW));
  // The loader's text may name another reason, or none.
  if (!library && vorn::is_shortage(errno)) vorn::note_memory_failure();
  if (!library) return refuse("Unable to load plugin \"%s\": %s\n", path, dlerror());
  const EntryFunction entry = find_entry(library);
  if (!entry) return 1;
  library.release(); // it stays for the process's life
  snprintf(current_name, sizeof current_name, "%s", name);
  vorn_plugins_current = current_name;
  entry();
  return 0;
}

} // namespace

int vorn::vorn_plugins_init() noexcept {
  vorn_debug_1printf("Reading plugins.\n");
  const Directory directory(opendir(PLUGIN_DIRECTORY));
  if (!directory) {
    if (vorn::is_shortage(errno)) vorn::note_memory_failure();
    vorn_debug_perror("Unable to open plugins directory \"" PLUGIN_DIRECTORY "\"");
    return 1;
  }
  int result = 0;
  while (const dirent *entry = readdir(directory.get()))
    if (is_plugin(entry->d_name) && load(entry->d_name) != 0) result = 1;
  return result;
}

vorn_plugin *vorn_plugin_new(const char *version) noexcept {
  if (!version || strcmp(version, VORN_PLUGIN_VERSION) != 0)
    return refuse_aloud("Plugin \"%s\" version \"%s\" is unsupported.\n", vorn::or_null(vorn_plugins_current),
                        vorn::or_null(version));
  vorn::CString name(strdup(vorn_plugins_current ? vorn_plugins_current : ""));
  auto *plugin = name ? static_cast<vorn_plugin *>(malloc(sizeof(vorn_plugin))) : nullptr;
  if (plugin)
    plugin->name = name.release();
  else
    vorn::note_memory_failure();
  return plugin;
}
