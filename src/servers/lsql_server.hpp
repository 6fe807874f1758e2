// TCP port 8002 on the loopback address: many LSQL requests a connection.
#pragma once

namespace vorn {

// Opens the port; the agent goes on without it when that fails, which is reported.
void vorn_lsql_init() noexcept;

} // namespace vorn
