#include "support/status_file.h"

#include "core/handles.hpp"
#include "core/refuse.hpp"
#include "support/columns.hpp"
#include "support/text_buffer.hpp"
#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>

namespace {

using vorn::Descriptor;
using vorn::refuse_aloud;

constexpr size_t most_bytes = 2048;
constexpr int most_keys = 62;
constexpr size_t longest_path = 79;

// ---- Lines from files ----

ssize_t read_some(const Descriptor &file, char *buffer, size_t size) {
  ssize_t count;
  do count = read(file.get(), buffer, size);
  while (count < 0 && errno == EINTR);
  return count;
}

// Returns the file's first bytes in whole lines. A file that cannot be read is an empty one.
std::string_view read_start(const Descriptor &file, const char *path, char (&buffer)[most_bytes]) {
  const ssize_t count = read_some(file, buffer, most_bytes);
  std::string_view text(buffer, count > 0 ? static_cast<size_t>(count) : 0);
  char more;
  const bool cut = text.size() == most_bytes && text.back() != '\n' && read_some(file, &more, 1) == 1;
  if (cut) {
    vorn_debug_1printf("%s is longer than %zu bytes.\n", path, most_bytes);
    text = text.substr(0, text.rfind('\n') + 1);
  }
  return text;
}

using Values = std::array<std::string_view, most_keys>;

// Finds the values of the columns in lines of "key=value".
Values find_values(std::string_view text, const char *const *columns) {
  Values values;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const int column = vorn::find_column(columns, line.substr(0, equals));
    if (column >= 0 && column < most_keys) values[static_cast<size_t>(column)] = line.substr(equals + 1);
  }
  return values;
}

// Whether the text is one field of a table as it is, by the quotes that it brings or because it has no
// blanks.
bool is_one_field(std::string_view text) {
  const size_t closing = text.starts_with('"') ? text.find('"', 1) : 0;
  return closing != std::string_view::npos && text.find(' ', closing) == std::string_view::npos;
}

// How a value is written in a table, whose fields cannot hold some bytes.
class Field {
public:
  explicit Field(std::string_view value) : value_(value), quoted_(!is_one_field(value)) {}

  size_t size() const {
    size_t size = quoted_ ? 2 : 0;
    for (const char &byte : value_) size += piece(byte).size();
    return size;
  }
  // Returns the end of what it has written.
  char *write(char *out) const {
    if (quoted_) *out++ = '"';
    for (const char &byte : value_) {
      const std::string_view text = piece(byte);
      out = std::copy(text.begin(), text.end(), out);
    }
    if (quoted_) *out++ = '"';
    return out;
  }

private:
  std::string_view piece(const char &byte) const {
    if (byte == '\0') return "\xef\xbf\xbd"; // U+FFFD
    return byte == '"' && quoted_ ? "&quot;" : std::string_view(&byte, 1);
  }

  std::string_view value_;
  bool quoted_;
};

// One line under construction, in a place with so much room.
class LineWriter {
public:
  LineWriter(char *out, int room) : out_(out), room_(room) {}

  // Both append when what they append fits, with room for the line's end.
  bool add_prefix(std::string_view prefix) {
    if (!has_room(prefix.size())) return false;
    advance_to(std::copy(prefix.begin(), prefix.end(), out_));
    return true;
  }
  bool add_value(std::string_view value) {
    const Field field(value);
    if (!has_room(field.size())) return false;
    char *end = field.write(out_);
    *end++ = ' ';
    advance_to(end);
    return true;
  }

  void end() {
    if (room_ <= 0) return;
    if (written_ && out_[-1] == ' ') out_[-1] = '\n';
    *out_ = '\0';
  }

private:
  bool has_room(size_t length) const { return room_ >= 2 && static_cast<size_t>(room_ - 2) > length; }

  void advance_to(char *end) {
    written_ = written_ || end != out_;
    room_ -= static_cast<int>(end - out_);
    out_ = end;
  }

  char *out_;
  int room_;
  bool written_ = false;
};

// ---- Walks ----

using Path = vorn::TextBuffer<longest_path>;

// One walk: what is the same in all its directories.
class Walk {
public:
  Walk(char *out, int size, vorn_util_dir_walk_fn callback, const char **user)
      : out_(out), size_(size), callback_(callback), user_(user) {}

  // Goes on with the part of a path that has its names already and the part of the pattern that is to come. A
  // star within a name is no star of the pattern.
  int go(const char *found, const char *pattern, const char *prefix) {
    const char *star = strchr(pattern, '*');
    if (!star) return visit(found, pattern, prefix);
    char fixed[longest_path + 1] = "";
    const size_t length = static_cast<size_t>(star - pattern);
    if (length > longest_path) return report_long(pattern);
    memcpy(fixed, pattern, length);
    Path directory;
    directory << found << fixed;
    if (!directory.is_whole()) return report_long(found);
    return list(directory, star + 1, prefix);
  }

private:
  int list(const Path &directory, const char *rest, const char *prefix) {
    const vorn::Directory listing(opendir(directory.get()));
    if (!listing && (errno == EMFILE || errno == ENFILE)) return report_unread(directory.get());
    if (!listing) return 0; // after a star not every directory has to be there
    int failed = 0;
    while (const dirent *entry = readdir(listing.get())) {
      if (entry->d_name[0] == '.') continue;
      Path path, longer_prefix, whole;
      path << directory.get() << entry->d_name;
      longer_prefix << prefix << entry->d_name << " ";
      whole << path.get() << rest;
      if (!path.is_whole() || !longer_prefix.is_whole() || !whole.is_whole())
        failed = report_long(entry->d_name);
      else
        failed |= go(path.get(), rest, longer_prefix.get());
    }
    return failed;
  }

  int visit(const char *found, const char *name, const char *prefix) {
    Path joined;
    joined << found << name;
    const char *path = *found ? joined.get() : name; // one without a star may be of any length
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    const size_t used = strlen(out_);
    callback_(out_ + used, size_ - static_cast<int>(used), path, prefix, user_);
    return 0;
  }

  static int report_unread(const char *directory) {
    vorn_debug_perror(directory);
    return 1;
  }

  static int report_long(const char *name) { return refuse_aloud("The path at %s is too long.\n", name); }

  char *out_;
  int size_;
  vorn_util_dir_walk_fn callback_;
  const char **user_;
};

} // namespace

int vorn_util_add_line_from_proc(char *out, int room, const char *path, const char *prefix,
                                 const char **columns) noexcept {
  if (!out || !path || !columns) return refuse_aloud("Null out, path or columns.\n");
  // Not to wait for a writer where a name turns out to be a pipe's.
  const Descriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) return refuse_aloud("Can't open %s.\n", path);
  char buffer[most_bytes];
  const Values values = find_values(read_start(file, path, buffer), columns);
  LineWriter line(out, room);
  bool fits = !prefix || *prefix == '\0' || line.add_prefix(prefix);
  for (size_t i = 0; columns[i] && fits; ++i)
    fits = line.add_value(i < values.size() ? values[i] : std::string_view());
  line.end();
  return 0;
}

int vorn_util_dir_walk(const char *pattern, char *out, int size, const char *prefix,
                       vorn_util_dir_walk_fn callback, const char **user) noexcept {
  if (!pattern || !out || !callback) return refuse_aloud("Null pattern, out or callback.\n");
  return Walk(out, size, callback, user).go("", pattern, prefix ? prefix : "");
}
