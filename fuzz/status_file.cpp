// Status files: a line made of one, and walks over folders of them. The first line of the input is the
// pattern of a walk, the next byte the room, the rest the file.
#include "support/status_file.h"
#include "world.hpp"
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <vector>

using namespace vorn::fuzz;

namespace {

const char *columns[] = {"name", "", "rate", "signal", "name", nullptr};

// Files that are there for every input, and the one that it writes.
std::string make_tree() {
  for (const char *folder : {"t/a/x", "t/a/y", "t/b/x", "t/.h/x"})
    std::filesystem::create_directories(World::path(folder));
  World::write(World::path("t/a/y/s"), "name=fixed\nrate=1\n");
  World::write(World::path("t/b/s"), "rate=2");
  return World::path("t/a/x/s");
}

void check_end(const std::vector<char> &out, size_t room) {
  require(memchr(out.data(), '\0', room) != nullptr, "the text ends within its room");
}

// A pattern stays in the tree: what lies above would be another one on each machine.
bool stays_inside(const std::string &pattern) { return pattern.find("..") == std::string::npos; }

int add_line(char *out, int room, const char *path, const char *prefix, const char **user) {
  require(std::filesystem::is_regular_file(path), "a walk visits files");
  require(*out == '\0' && room > 0, "a callback writes after the text");
  return vorn_util_add_line_from_proc(out, room, path, prefix, user);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  start();
  static const std::string file = make_tree();
  Input input(data, size);
  const std::string pattern = input.until('\n').c_str();
  const size_t room = 1 + input.byte() * size_t{input.below(4) ? 1u : 16u};
  World::write(file, input.rest());

  std::vector<char> line(room);
  const std::string prefix = pattern.substr(0, 20);
  require(vorn_util_add_line_from_proc(line.data(), static_cast<int>(room), file.c_str(), prefix.c_str(),
                                       columns) == 0,
          "a file that is there is read");
  check_end(line, room);
  const std::string text(line.data(), strnlen(line.data(), room));
  require(std::count(text.begin(), text.end(), '\n') <= 1 + std::count(prefix.begin(), prefix.end(), '\n'),
          "a file gives one line");

  std::vector<char> table(room + 1);
  if (stays_inside(pattern))
    vorn_util_dir_walk((World::path("t/") + pattern).c_str(), table.data(), static_cast<int>(table.size()),
                       "x ", add_line, columns);
  check_end(table, table.size());
  return 0;
}
