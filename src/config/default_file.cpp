// The configurations to fall back on: the default, which carries a checksum, and the rescue configuration
// that comes with the firmware.
#include "config/config.h"
#include "config/config_reader.hpp"
#include "config/default_header.hpp"
#include "config/in_place.hpp"
#include "config/paths.hpp"
#include "config/running.hpp"
#include "config/startup_write.hpp"
#include "core/guard.hpp"
#include "core/handles.hpp"
#include "core/limits.hpp"
#include "core/refuse.hpp"
#include "core/whole_file.hpp"
#include "notify/notify.h"
#include "notify/request_state.h"
#include "process/command.h"
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using vorn::default_path;
using vorn::File;
using vorn::refuse_aloud;
using vorn::rescue_path;

constexpr char body_path[] = "/tmp/defaultconfig.xml";
constexpr char checklist_path[] = "/tmp/defaultconfig.xml.md5"; // what md5sum -c reads
constexpr char md5_path[] = "/tmp/md5.gen";
constexpr char md5_command[] = "/usr/bin/md5sum /tmp/defaultconfig.xml > /tmp/md5.gen";

// The codes of a default that cannot be used.
enum {
  done = 0,
  absent = 1,
  no_body = 2,
  no_checklist = 3,
  wrong_checksum = 4,
  unreadable = 5,
  bad_header = 100
};

constexpr size_t block_size = 1024;

template <int code> vorn::Refusal<code> cannot_open(const char *path) {
  return refuse_aloud<code>("Can't open %s.\n", path);
}

// Copies at most so many bytes, fewer when the source ends before. Returns whether all could be read and
// written; closes the target.
bool copy_bytes(const File &from, File to, long count) {
  char block[block_size];
  bool written = true;
  while (count > 0 && written) {
    const size_t got =
        fread(block, 1, std::min<size_t>(sizeof block, static_cast<size_t>(count)), from.get());
    if (got == 0) break;
    written = fwrite(block, 1, got, to.get()) == got;
    count -= static_cast<long>(got);
  }
  const bool closed = fclose(to.release()) == 0;
  return written && closed && !ferror(from.get());
}

// Makes the startup file a copy of another one. That is read first, whole: without it the startup file stays
// as it is. The log tells what the device comes up on, which is called `name`.
void copy_to_startup(const char *path, const char *name) {
  std::string content;
  const File from(fopen(path, "re"));
  if (!from)
    vorn_debug_eprintf("vorn_config_cp: Can't open %s\n", path);
  else if (!vorn::read_whole(fileno(from.get()), vorn::max_config_size, content))
    vorn_debug_perror(path);
  else if (vorn::replace_startup(content) == 0)
    vorn_debug_printf("The startup configuration is now the %s configuration.\n", name);
}

void announce() {
  sync();
  vorn_notify_conf_change(vorn_query_origin);
}

// ---- From the default ----

int extract_body(const File &file, const vorn::DefaultHeader &header) {
  File body(fopen(body_path, "we"));
  if (!body) return cannot_open<no_body>(body_path);
  copy_bytes(file, std::move(body), header.length); // a short one has another checksum
  const File checklist(fopen(checklist_path, "we"));
  if (!checklist) return cannot_open<no_checklist>(checklist_path);
  fprintf(checklist.get(), "%s  %s\n", header.md5.c_str(), body_path);
  return done;
}

int check_body() {
  if (vorn_command_execl("/usr/bin/md5sum", "-c", checklist_path, static_cast<char *>(nullptr)) == 0)
    return done;
  return refuse_aloud<wrong_checksum>("%s failed checksum.\n", default_path);
}

int extract_default() {
  const File file(fopen(default_path, "re"));
  if (!file && errno == ENOENT)
    return vorn::refuse<absent>("Default file %s does not exist.\n", default_path);
  if (!file) return cannot_open<unreadable>(default_path);
  vorn::DefaultHeader header;
  if (const int fault = vorn::read_default_header(file.get(), header)) return bad_header + fault;
  if (const int fault = extract_body(file, header)) return fault;
  if (const int fault = check_body()) return fault;
  copy_to_startup(body_path, "default");
  return done;
}

// ---- To the default ----

// Returns whether the body is written, and is a configuration: what is none must not replace a default that
// is one.
bool write_body() {
  struct stat status;
  unlink(body_path);
  if (!vorn::may_be_saved() || vorn_config_dump_running(body_path) != 0) return false;
  if (stat(body_path, &status) != 0) return refuse_aloud("Can't stat %s.\n", body_path);
  return vorn::is_config(body_path);
}

// Returns whether the checksum of the body could be made.
bool read_md5(char (&md5)[33]) {
  unlink(md5_path);
  if (system(md5_command) == -1) vorn_debug_perror(md5_command);
  const File file(fopen(md5_path, "re"));
  if (!file) return cannot_open<1>(md5_path);
  if (fscanf(file.get(), "%32s", md5) == 1) return true;
  return refuse_aloud("No checksum in %s.\n", md5_path);
}

// What it holds stays when it cannot be written whole. Throws std::bad_alloc.
int write_default(const char *md5) {
  std::string body;
  if (!vorn::read_whole(body_path, vorn::max_config_size, body)) return cannot_open<1>(body_path);
  const std::string header =
      "Version: 1\nLength: " + std::to_string(body.size()) + "\nMD5sum: " + md5 + "\n\n";
  return vorn::write_file(default_path, header + body);
}

} // namespace

int vorn_config_copy_running_to_default() noexcept {
  char md5[33] = "";
  if (!write_body() || !read_md5(md5)) return 1;
  return vorn::guarded(1, [&] { return write_default(md5); });
}

int vorn_config_copy_default_to_startup() noexcept {
  const int code = vorn::guarded<int>(unreadable, extract_default);
  if (code == done) {
    announce();
    return 0;
  }
  if (code != absent) vorn_debug_eprintf("Error %d copying default config.\n", code);
  vorn_config_copy_rescue_to_startup();
  return 1;
}

int vorn_config_copy_rescue_to_startup() noexcept {
  copy_to_startup(rescue_path, "rescue");
  announce();
  return 0;
}

int vorn_config_copy_rescue_to_default() noexcept {
  if (unlink(default_path) == 0) return 0;
  vorn_debug_perror("unlink");
  return 1;
}
