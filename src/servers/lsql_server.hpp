// TCP port 8002 on the loopback address: many LSQL requests a connection.
#ifndef VORN_SERVERS_LSQL_SERVER_HPP
#define VORN_SERVERS_LSQL_SERVER_HPP

namespace vorn {

// Opens the port; the agent goes on without it when that fails, which is reported.
void vorn_lsql_init() noexcept;

} // namespace vorn

#endif
