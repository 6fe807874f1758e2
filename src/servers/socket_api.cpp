// A client sends a 4-byte length in the host's byte order and a request of that length; the reply runs until
// the connection is closed.
#include "servers/socket_api.hpp"

#include "core/debug.h"
#include "core/limits.hpp"
#include "query/query.h"
#include "servers/local_server.hpp"
#include <cstdint>

namespace vorn {

namespace {

constexpr size_t length_size = sizeof(uint32_t);

Progress inspect(std::string_view received, bool ended) {
  if (received.size() < length_size) return ended ? Progress::give_up : Progress::wait;
  const uint32_t length = number_at(received, 0);
  if (length > max_request_size) vorn_debug_eprintf("LSQL request of %u bytes is too long.\n", length);
  if (length == 0 || length > max_request_size) return Progress::give_up;
  return ended || received.size() - length_size >= length ? Progress::answer : Progress::wait;
}

CString answer(std::string &received) {
  // The length counts, not what else the client may have sent; a NUL ends the request before it.
  const size_t size = length_size + number_at(received, 0);
  if (received.size() > size) received.resize(size);
  return CString(vorn_query_eval(received.c_str() + length_size));
}

constexpr LocalProtocol protocol = {"vorn_sock_lsql", "do_sockapi", "LSQL client", inspect, answer};

} // namespace

int vorn_socket_api_init() noexcept { return serve_locally(protocol); }

} // namespace vorn
