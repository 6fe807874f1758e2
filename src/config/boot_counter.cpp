// Counts boots that nobody has confirmed, so that a configuration with which the device dies is given up.
//
//   the counter file          | what a boot finds      | what it leaves
//   absent                    | the last boot was good | "1"
//   "1" to "4"                | so many died           | one more
//   "5" or more               | enough of them         | absent, and no startup file: the default is used
//   there, and a backup waits | its restore reboots    | absent
//
// A boot that lives for confirm_seconds removes the file.
#include "config/config.h"
#include "config/paths.hpp"
#include "config/startup_write.hpp"
#include "core/debug.h"
#include "core/eloop.h"
#include "core/handles.hpp"
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

using vorn::backup_path;
using vorn::Descriptor;

constexpr char counter_path[] = "/etc/config/configBootFailures";
constexpr char reset_path[] = "/tmp/factory-reset";

constexpr int too_many_failures = 5;
constexpr unsigned confirm_seconds = 20;
constexpr mode_t any_access = 0777; // less what the umask takes

void say(const char *line) {
  puts(line);
  fflush(stdout);
}

bool backup_waits() { return vorn::File(fopen(backup_path, "re")) != nullptr; }

int read_counter(const Descriptor &file) {
  char text[5] = "";
  if (read(file.get(), text, sizeof text - 1) < 0) return 0;
  return atoi(text);
}

// One character at the start of the file; what follows it stays.
bool write_counter(const Descriptor &file, int counter) {
  const char character = static_cast<char>('0' + counter);
  if (lseek(file.get(), 0, SEEK_SET) < 0) return false;
  if (write(file.get(), &character, 1) < 0) vorn_debug_perror(counter_path);
  return true;
}

void revert_to_default() {
  say("Reverting to default config");
  vorn::keep_startup();
  vorn::remove_startup();
  unlink(counter_path); // what is written to it now is gone with it: counting starts again
  const Descriptor marker(open(reset_path, O_RDWR | O_CREAT | O_CLOEXEC, any_access));
}

bool start_counting() {
  say("No previous Config Boot failures detected");
  const Descriptor file(open(counter_path, O_RDWR | O_CREAT | O_CLOEXEC, any_access));
  return file && write_counter(file, 1);
}

// Returns false when the counter cannot be kept.
bool count_boot() {
  const Descriptor file(open(counter_path, O_RDWR | O_CLOEXEC));
  if (!file) return errno == ENOENT && start_counting();
  if (backup_waits()) {
    unlink(counter_path);
    return true;
  }
  const int counter = read_counter(file);
  printf("Previous Boot Failures Counter = %d\n", counter);
  fflush(stdout);
  if (counter >= too_many_failures) revert_to_default();
  return write_counter(file, counter + 1);
}

} // namespace

int vorn_config_init() noexcept {
  if (!count_boot()) return -1;
  eloop_register_timeout(confirm_seconds, 0, vorn_config_delay_check, nullptr, nullptr);
  return 0;
}

void vorn_config_delay_check(void *, void *) noexcept {
  say("\nBoot Successful - Config Ok");
  unlink(counter_path);
}
