#include "device.hpp"

#include <cstdlib>
#include <stdexcept>

void bench::require_device() {
  if (!getenv("VORN_DEVICE")) throw std::runtime_error("not on a private device: run scripts/bench");
}
