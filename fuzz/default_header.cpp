// The header of the default configuration, and the body after it.
#include "config/default_header.hpp"
#include "core/handles.hpp"
#include "world.hpp"
#include <sys/types.h>

using namespace vorn::fuzz;

namespace {

int read(std::string text, vorn::DefaultHeader &header, long &position) {
  const vorn::File file(fmemopen(text.data(), text.size(), "r"));
  const int fault = vorn::read_default_header(file.get(), header);
  position = ftell(file.get());
  return fault;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  start();
  if (size == 0) return 0; // no file in memory is empty
  const std::string text = Input(data, size).rest();
  vorn::DefaultHeader header, again;
  long body = 0, end = 0;
  if (const int fault = read(text, header, body)) {
    require((fault >= 1 && fault <= 6) || (fault >= 7 && fault <= 13), "a fault has a code that is known");
    return 0;
  }
  require(header.md5.size() == 32, "a checksum has 32 digits");
  require(body >= 2 && text.substr(static_cast<size_t>(body) - 2, 2) == "\n\n",
          "the body follows the empty line");
  const std::string rewritten =
      "Version: 1\nLength: " + std::to_string(header.length) + "\nMD5sum: " + header.md5 + "\n\n";
  require(read(rewritten, again, end) == 0 && again.length == header.length && again.md5 == header.md5 &&
              static_cast<size_t>(end) == rewritten.size(),
          "what was read is written and read alike");
  return 0;
}
