#include "process/service_record.hpp"

#include "core/debug.h"
#include "core/guard.hpp"
#include "core/handles.hpp"
#include "core/limits.hpp"
#include "core/log_text.hpp"
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>

namespace vorn {

namespace {

const char *kept_path = nullptr;

// Processes have the same numbers, and on a small device nearly the same starts, boot after boot.
std::string boot_identity() {
  char text[64] = "-";
  const File file(fopen("/proc/sys/kernel/random/boot_id", "re"));
  if (file && !fgets(text, sizeof text, file.get())) strcpy(text, "-");
  text[strcspn(text, "\n")] = '\0';
  return text;
}

// ---- Reading ----

// Takes a number and the blank after it from the front of a text.
template <class Number> bool take_number(std::string_view &text, Number &number) {
  const char *end_of_text = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), end_of_text, number);
  if (error != std::errc() || end == end_of_text || *end != ' ') return false;
  text.remove_prefix(static_cast<size_t>(end + 1 - text.data()));
  return true;
}

bool read_line(FILE *file, RecordedService &service) {
  char line[512];
  if (!fgets(line, sizeof line, file)) return false;
  service = {};
  std::string_view text(line, strcspn(line, "\n"));
  ProcessIdentity process;
  if (!take_number(text, process.pid) || !take_number(text, process.start)) return true;
  if (process.pid > 1 && process.start > 0) service = {process, std::string(text)};
  return true;
}

// ---- Writing ----

void put_line(FILE *file, const ProcessIdentity &process, std::string_view text) {
  fprintf(file, "%d %llu ", process.pid, process.start);
  put_escaped(file, text.substr(0, max_recorded_name));
  putc('\n', file);
}

// Nobody but the agent may write what a later agent acts on, whatever its umask.
File create(const std::string &path) {
  unlink(path.c_str());
  Descriptor fd(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  File file(fd ? fdopen(fd.get(), "w") : nullptr);
  if (file) fd.release();
  return file;
}

bool write_record(const std::vector<RecordedService> &services) {
  const std::string beside = std::string(kept_path) + ".new";
  File file = create(beside);
  if (!file) return false;
  put_line(file.get(), identify(getpid()), boot_identity());
  for (const auto &service : services) put_line(file.get(), service.process, service.name);
  const bool written = !ferror(file.get());
  const bool closed = fclose(file.release()) == 0;
  return written && closed && rename(beside.c_str(), kept_path) == 0;
}

} // namespace

ServiceRecord read_service_record(const char *path) {
  ServiceRecord record;
  Descriptor fd(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const File file(fd ? fdopen(fd.get(), "r") : nullptr);
  if (!file) return record;
  fd.release();
  RecordedService line;
  if (!read_line(file.get(), line) || line.name != boot_identity()) return record;
  record.agent = line.process;
  for (size_t count = 0; count < max_recorded_services && read_line(file.get(), line); ++count)
    if (line.process.pid > 0) record.services.push_back(line);
  return record;
}

void keep_service_record(const char *path) noexcept { kept_path = path; }

bool keeps_service_record() noexcept { return kept_path != nullptr; }

void write_service_record(const std::vector<RecordedService> &services) noexcept {
  static bool told = false;
  if (!kept_path) return;
  errno = ENOMEM;
  const bool written = guarded(false, [&] { return write_record(services); });
  if (!written && !told) vorn_debug_perror(kept_path);
  told = !written;
}

void remove_service_record() noexcept {
  if (kept_path) unlink(kept_path);
}

} // namespace vorn
