// The agent's own state inside a measuring process.
#ifndef VORN_BENCH_AGENT_STATE_HPP
#define VORN_BENCH_AGENT_STATE_HPP

#include <cstddef>
#include <string>

namespace bench {

// Opens and closes the registries with the one class and the one provider. Throws when anything is refused.
void set_up_agent();

// Loads the startup file; throws unless that succeeds.
void load_config();

// Evaluates a request; throws unless it succeeds on this many instances.
void evaluate(const std::string &request, size_t instances);

} // namespace bench

#endif
