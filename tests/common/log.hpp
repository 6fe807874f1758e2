// Captures what a test's code logs.
#pragma once

#include <cstdio>
#include <string>
#include <unistd.h>

namespace vorn::test {

// While it lives, standard error, where the log of a unit test goes, is a file.
class Log {
public:
  Log() : file_(tmpfile()), before_(dup(STDERR_FILENO)) {
    fflush(stderr);
    dup2(fileno(file_), STDERR_FILENO);
  }
  ~Log() {
    fflush(stderr);
    dup2(before_, STDERR_FILENO);
    close(before_);
    fclose(file_);
  }
  Log(const Log &) = delete;
  Log &operator=(const Log &) = delete;

  // Returns what came since the last call.
  std::string take() {
    fflush(stderr);
    std::string text;
    char buffer[4096];
    ssize_t count;
    while ((count = pread(fileno(file_), buffer, sizeof buffer, position_)) > 0) {
      text.append(buffer, static_cast<size_t>(count));
      position_ += count;
    }
    return text;
  }

private:
  FILE *file_;
  int before_;
  off_t position_ = 0;
};

// Returns what a function writes about something to a stream, which is its last argument.
template <class Print, class... Things> std::string printed(Print print, Things... things) {
  char *text = nullptr;
  size_t size = 0;
  FILE *stream = open_memstream(&text, &size);
  print(things..., stream);
  fclose(stream);
  std::string result(text, size);
  free(text);
  return result;
}

} // namespace vorn::test
