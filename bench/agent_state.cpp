#include "agent_state.hpp"

#include "plugins/vorn.h"
#include "requests.hpp"
#include "station.h"
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace bench {

void set_up_agent() {
  if (vorn_providers_init() != 0 || station_register() != 0 || vorn_classes_done_adding() != 0 ||
      vorn_providers_done_adding() != 0)
    throw std::runtime_error("the agent refuses the class or the provider");
}

void load_config() {
  if (vorn_config_copy_startup_to_running() != 0) throw std::runtime_error("the agent cannot load the file");
}

void evaluate(const std::string &request, size_t instances) {
  const std::unique_ptr<char, decltype(&free)> reply(vorn_query_eval(request.c_str()), free);
  require_success(reply.get(), instances);
}

} // namespace bench
