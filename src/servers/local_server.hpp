// Servers on local sockets that take one request a connection.
//
//   state      | waits for               | then
//   queued     | a place                 | the kernel holds it, in the order of arrival: receiving
//   receiving  | the whole request       | answer it; close when there is no reply
//   replying   | room for the reply      | close
//
// Nobody waits for a client: one that sends nothing for some seconds while it is receiving, or takes nothing
// of its reply for as long as the outbox allows, is dropped. When all places are taken and somebody waits for
// one, who has been silent longest makes room, if that is a second at least; who waits for its reply comes
// last, and has two. Nobody is silent whose bytes lie there and have not been read yet.
#pragma once

#include "core/handles.hpp"
#include <cstdint>
#include <string>
#include <string_view>

namespace vorn {

enum class Progress { wait, answer, give_up };

// What a server speaks.
struct LocalProtocol {
  const char *socket_name; // in the abstract namespace
  const char *who;         // in reports of connections that cannot be accepted
  const char *client;      // in messages about a client

  // Looks at what a client has sent so far and tells what is to be done with it. `ended`: nothing more will
  // come. Reports what is wrong with a request that it gives up.
  Progress (*inspect)(std::string_view received, bool ended);

  // Returns the reply to a whole request, or null when it gets none.
  CString (*answer)(std::string &received);
};

// Opens the socket for the process's life; so long must the protocol live. Returns 0, or 1 with the reason
// logged.
int serve_locally(const LocalProtocol &protocol) noexcept;

// Reads a number in the host's byte order; as many bytes must be there.
uint32_t number_at(std::string_view bytes, size_t position) noexcept;

} // namespace vorn
