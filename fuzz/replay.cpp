// Runs a target over the files of the folders given, where there is no fuzzer, and as a test. The name
// printed last is that of the input which ended it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv) {
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    if (std::filesystem::is_regular_file(argv[i])) files.emplace_back(argv[i]);
    if (!std::filesystem::is_directory(argv[i])) continue;
    for (const auto &entry : std::filesystem::directory_iterator(argv[i])) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const auto &path : files) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    dprintf(STDOUT_FILENO, "%s\n", path.c_str());
    alarm(10); // what hangs ends here
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
  }
  dprintf(STDOUT_FILENO, "%zu inputs\n", files.size());
  return files.empty() ? 1 : 0;
}
