#ifndef VORN_BENCH_DEVICE_HPP
#define VORN_BENCH_DEVICE_HPP

namespace bench {

// Throws unless this process runs on a private device (scripts/device): only there may the agent's paths be
// overwritten. To be called before anything else.
void require_device();

} // namespace bench

#endif
