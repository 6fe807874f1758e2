#include "config/startup_write.hpp"

#include "config/in_place.hpp"
#include "config/paths.hpp"
#include "core/handles.hpp"
#include "core/limits.hpp"
#include "core/refuse.hpp"
#include "core/whole_file.hpp"
#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace vorn {

namespace {

constexpr mode_t for_owner = 0600;

bool is_full(int error) { return error == ENOSPC || error == EDQUOT; }

// Without a copy the file can be saved all the same: these say nothing against the file itself.
bool concerns_copy_alone(int error) {
  return is_full(error) || error == EROFS || error == EACCES || error == EPERM;
}

void remove_copy() {
  unlink(part_path);
  unlink(copy_path);
}

// Writes a file anew. Returns false with the reason in errno.
bool write_new(const char *path, std::string_view content) {
  const FileSizeSignal failing;
  const Descriptor file(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, for_owner));
  return file && write_whole(file.get(), content) && flush(file.get());
}

// Its name says that the copy is whole.
bool name_copy() {
  const Descriptor directory(open(startup_directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return directory && rename(part_path, copy_path) == 0 && flush(directory.get());
}

// Returns 0, or the errno of what failed.
int write_part(std::string_view content) { return write_new(part_path, content) ? 0 : errno; }

int write_copy(std::string_view content) {
  int error = write_part(content);
  // What was given up is worth less than what is to be saved.
  if (is_full(error) && unlink(kept_path) == 0) error = write_part(content);
  if (error == 0 && !name_copy()) error = errno;
  if (error != 0) unlink(part_path);
  return error;
}

int refuse_write(int error) { return refuse_aloud("Can't write %s: %s\n", startup_path, strerror(error)); }

void go_without_copy(int error) {
  vorn_debug_eprintf("No copy of %s while it is written: %s\n", startup_path, strerror(error));
  remove_copy();
}

// A copy that takes the room that the file needs gives way.
bool replace_or_make_room(InPlace &file, std::string_view content, bool copied) {
  if (file.replace(content)) return true;
  if (!copied || !file.is_intact() || !is_full(errno)) return false;
  go_without_copy(errno);
  return file.replace(content);
}

// A save that was cut off is finished from its copy. The copy stays while that cannot be done.
void finish_startup() {
  std::string content;
  InPlace file;
  if (read_whole(copy_path, max_config_size, content) && file.open(startup_path) && file.replace(content))
    remove_copy();
  else
    refuse_write(errno);
}

} // namespace

int replace_startup(std::string_view content) noexcept {
  InPlace file;
  if (!file.open(startup_path)) return refuse_write(errno);
  const int error = write_copy(content);
  if (error != 0 && !concerns_copy_alone(error)) return refuse_write(error);
  if (error != 0) go_without_copy(error);
  const bool done = replace_or_make_room(file, content, error == 0);
  const int reason = errno;
  if (done || file.is_intact())
    remove_copy();
  else if (error == 0)
    vorn_debug_eprintf("%s is damaged; the next start takes %s.\n", startup_path, copy_path);
  return done ? 0 : refuse_write(reason);
}

ReadConfig open_startup() noexcept {
  ReadConfig startup = open_config(startup_path);
  if (startup.draft) remove_copy(); // the save did not begin, or it ended
  if (startup.draft || startup.undecided || access(copy_path, F_OK) != 0) return startup;
  ReadConfig copy = open_config(copy_path);
  if (copy.draft) {
    vorn_debug_eprintf("A save was cut off: the startup configuration is what it left in %s.\n", copy_path);
    finish_startup();
  }
  return copy;
}

void keep_startup() noexcept {
  std::string beginning;
  if (!read_whole(startup_path, max_kept_size, beginning) && errno != EFBIG) return;
  const auto shown = std::string_view(beginning).substr(0, max_kept_size);
  if (shown.empty()) return;
  if (write_new(kept_path, shown))
    vorn_debug_eprintf("The startup file that is given up is kept as %s.\n", kept_path);
  else
    unlink(kept_path);
}

void remove_startup() noexcept {
  unlink(startup_path);
  remove_copy();
}

} // namespace vorn
