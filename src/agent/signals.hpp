#pragma once

namespace vorn {

// Lets the agent's handlers run at once, in signal context: for the rest of start-up, before the loop runs.
void install_signal_handlers();

// Lets the same handlers run from the event loop.
void register_signal_handlers();

} // namespace vorn
