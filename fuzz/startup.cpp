// A startup file: what it holds is loaded as far as it is good, and comes back from a file that the agent
// writes.
#include "world.hpp"

using namespace vorn::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  World world;
  const std::string file = World::path("startup.xml");
  World::write(file, Input(data, size).rest());
  if (World::load(file)) {
    require(commits == 1, "what is loaded is committed");
    require(identifiers_hold(), "an identifier names the class of its instance");
  } else {
    require(commits == 0, "what is not loaded is not committed");
  }
  world.check();
  return 0;
}
