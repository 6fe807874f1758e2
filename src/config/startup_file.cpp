// The startup file: the copy of the running configuration that survives a reboot.
#include "commit/activity.hpp"
#include "config/config.h"
#include "config/config_reader.hpp"
#include "config/paths.hpp"
#include "config/running.hpp"
#include "config/startup_write.hpp"
#include "core/handles.hpp"
#include "core/memory_watch.hpp"
#include "core/refuse.hpp"
#include "notify/notify.h"
#include "notify/request_state.h"
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using vorn::backup_path;
using vorn::CString;
using vorn::Descriptor;
using vorn::startup_path;

char *error_document(const char *message) {
  constexpr char format[] = "<?xml version=\"1.0\"?><error>%s</error>\n";
  const size_t size = strlen(message) + sizeof format;
  char *document = static_cast<char *>(malloc(size));
  if (document) snprintf(document, size, format, message);
  return document;
}

// Memory that ran out while the plugins declared their classes: what those lack, the load leaves out.
void check_schema() {
  if (!vorn_config_get_running() && vorn::memory_failures > 0)
    vorn::refuse_saving("memory ran out while the plugins were loaded");
}

vorn::ReadConfig fall_back() {
  vorn::keep_startup();
  vorn_debug_eprintf("Unable to parse startup config - resetting to default.\n");
  vorn_config_copy_default_to_startup();
  return vorn::open_config(startup_path);
}

int refuse_load() {
  return vorn::refuse_nested("A configuration cannot be loaded within a request, a commit or a load.");
}

} // namespace

int vorn_config_copy_running_to_startup() noexcept {
  if (vorn_config_dump_running(startup_path) != 0) return 1;
  sync();
  vorn_notify_conf_change(vorn_query_origin);
  return 0;
}

int vorn_config_copy_startup_to_running() noexcept {
  if (vorn::is_busy()) return refuse_load();
  const vorn::ActivityScope loading;
  const vorn::MemoryWatch memory;
  check_schema();
  vorn::ReadConfig file = vorn::open_startup();
  if (!file.draft && !file.undecided) file = fall_back();
  if (!file.draft && !file.undecided && !memory.has_failed())
    return vorn::refuse_aloud("Unable to read the default either.");
  // The file may be good: nothing replaces it, neither a fall-back nor what runs without it.
  if (!file.draft || vorn::load_config(std::move(file.draft)) != 0)
    vorn::refuse_saving("it could not be loaded");
  return 0;
}

int vorn_config_copy_backup_to_running() noexcept {
  if (vorn::is_busy()) return refuse_load();
  const vorn::ActivityScope loading;
  vorn::ReadConfig file = vorn::open_config(backup_path);
  if (file.draft) vorn::load_config(std::move(file.draft));
  return 0;
}

char *vorn_config_get_startup_as_xml() noexcept {
  const Descriptor file(open(startup_path, O_RDONLY | O_CLOEXEC));
  struct stat status;
  if (!file || fstat(file.get(), &status) != 0 || S_ISDIR(status.st_mode))
    return error_document("Can't read config file.");
  if (status.st_size == 0) return error_document("Config file is zero-length.");
  const auto size = static_cast<size_t>(status.st_size);
  CString text(static_cast<char *>(malloc(size + 1)));
  if (!text) return error_document("vorn_config_get_startup_as_xml malloc failed");
  const ssize_t count = read(file.get(), text.get(), size);
  if (count < 0) return error_document("Can't read config file.");
  text.get()[count] = '\0';
  return text.release();
}
