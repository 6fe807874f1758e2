#pragma once

namespace vorn {

// Ends the services that an agent before this one has left, as its record at `path` tells, and keeps there
// the record of this agent's services. Those of an agent that still runs stay, and so does its record. In the
// mode without actions it only logs what it would end, and keeps no record, since no service starts.
void take_over_services(const char *path) noexcept;

} // namespace vorn
