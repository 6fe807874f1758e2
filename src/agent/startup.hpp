#pragma once

namespace vorn {

// The whole life of the agent. Returns its exit status, which is 1 whenever the event loop has ended.
int run_agent(int argc, char **argv);

} // namespace vorn
