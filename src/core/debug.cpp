#include "core/debug.hpp"

#include "core/handles.hpp"
#include "core/log_text.hpp"
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

extern const int VORN_DEBUG_MAX = 6;
int vorn_debug_override = 0;

namespace {

FILE *stream = nullptr;
int level = 0;
int timestamp = 0;
int exit_on_fatal = 0;

constexpr char prefix[] = "vorn: ";

// Room for ctime_r's text, of which POSIX promises 26 bytes at most.
struct LocalTime {
  char text[32] = "";
};

LocalTime local_time() {
  LocalTime now;
  const time_t seconds = time(nullptr);
  if (ctime_r(&seconds, now.text)) now.text[strcspn(now.text, "\n")] = '\0';
  return now;
}

// The line end that a format brings itself.
const char *end_of(const char *format) {
  const char *end = format + strlen(format);
  while (end > format && iscntrl(static_cast<unsigned char>(end[-1]))) --end;
  return end;
}

// Whatever the arguments hold, the message stays the line that its format makes. A format of several lines,
// such as a plugin may have, is written as it is.
void write_text(FILE *out, const char *format, va_list arguments) {
  const char *end = end_of(format);
  if (std::any_of(format, end, [](unsigned char byte) { return iscntrl(byte); })) {
    vfprintf(out, format, arguments);
    return;
  }
  va_list again;
  va_copy(again, arguments);
  char buffer[1024];
  const int length = vsnprintf(buffer, sizeof buffer, format, arguments);
  const bool fits = length >= 0 && static_cast<size_t>(length) < sizeof buffer;
  char *longer = nullptr;
  if (!fits && vasprintf(&longer, format, again) < 0)
    longer = nullptr; // without memory its beginning has to do
  va_end(again);
  const vorn::CString owner(longer);
  std::string_view text = longer ? longer : buffer;
  if (text.ends_with(end)) text.remove_suffix(strlen(end));
  vorn::put_escaped(out, text);
  fputs(end, out);
}

void exit_or_continue() {
  if (exit_on_fatal) {
    vorn_debug_eprintf("Exiting due to fatal error.\n");
    exit(1);
  }
  vorn_debug_eprintf("Attempting to continue operation.\n");
}

int set_flag(int &flag, int on) {
  if (on != 0 && on != 1) return 1;
  flag = on;
  return 0;
}

} // namespace

void vorn_debug_init() noexcept {
  if (stream) return;
  stream = fopen("/dev/console", "we");
  if (!stream) stream = stderr;
}

int vorn_debug_set(int new_level) noexcept {
  if (new_level < 0 || new_level > VORN_DEBUG_MAX) return 1;
  level = new_level;
  vorn_debug_printf("Debug level is now %d.\n", level);
  return 0;
}

int vorn_debug_get() noexcept { return level; }

int vorn_debug_set_timestamp(int on) noexcept { return set_flag(timestamp, on); }

int vorn_debug_get_timestamp() noexcept { return timestamp; }

int vorn_debug_set_exit_on_fatal(int on) noexcept { return set_flag(exit_on_fatal, on); }

void vorn::log_message(int min, const char *format, va_list arguments) noexcept {
  if (level < min) return;
  FILE *out = vorn_debug_get_stream();
  fputs(prefix, out);
  if (timestamp) fprintf(out, "[%s] ", local_time().text);
  write_text(out, format, arguments);
  fflush(out);
}

// The variants differ in their level alone, and each must start its own argument list.
#define LOG_MESSAGE(min, format)                                                                             \
  va_list arguments;                                                                                         \
  va_start(arguments, format);                                                                               \
  vorn::log_message(min, format, arguments);                                                                 \
  va_end(arguments)

void vorn_debug_printf(const char *format, ...) noexcept { LOG_MESSAGE(0, format); }

void vorn_debug_1printf(const char *format, ...) noexcept { LOG_MESSAGE(1, format); }

void vorn_debug_lprintf(int min, const char *format, ...) noexcept { LOG_MESSAGE(min, format); }

void vorn_debug_eprintf(const char *format, ...) noexcept { LOG_MESSAGE(0, format); }

void vorn_debug_fatal(const char *text) noexcept {
  vorn_debug_eprintf("Fatal error: %s\n", vorn::or_null(text));
  exit_or_continue();
}

// As perror(3) writes it.
void vorn_debug_perror(const char *text) noexcept {
  const int error = errno;
  const LocalTime now = local_time();
  fprintf(stderr, "%s%s%s%s%s: %s\n", prefix, timestamp ? "[" : "", timestamp ? now.text : "",
          timestamp ? "] " : "", vorn::Excerpt(text).get(), strerror(error));
  errno = error;
}

void vorn_debug_fatal_perror(const char *text) noexcept {
  const int error = errno;
  char message[2 * vorn::max_logged_text];
  snprintf(message, sizeof message, "Fatal error: %s", vorn::or_null(text));
  errno = error;
  vorn_debug_perror(message);
  exit_or_continue();
}

FILE *vorn_debug_get_stream() noexcept { return stream ? stream : stderr; }
