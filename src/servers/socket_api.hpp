// The local socket "vorn_sock_lsql": one LSQL request a connection.
#pragma once

namespace vorn {

// Opens the socket. Returns 0, or 1 with the reason logged.
int vorn_socket_api_init() noexcept;

} // namespace vorn
