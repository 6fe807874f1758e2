// Sends to non-blocking sockets without ever waiting for their readers.
#pragma once

#include <chrono>
#include <cstddef>
#include <string_view>

namespace vorn {

enum class Delivery {
  complete, // the system has taken everything
  pending,  // the rest waits and goes as the reader takes it
  failed    // nothing of the text was or will be sent: the reader is gone, or too much waits for it already
};

// Called from the loop for a socket with a rest that waits: `sent` when all of it has gone, else when the
// reader is gone or has taken nothing for outbox_timeout_seconds. The outbox has forgotten the socket by
// then.
using OutboxDone = void (*)(int fd, bool sent, void *data);

// Sends a text after what waits for the socket already. At most `limit` bytes wait: a text that would add to
// more is refused whole.
Delivery outbox_send(int fd, std::string_view text, size_t limit, OutboxDone done, void *data) noexcept;

// How long the reader has taken nothing of what waits for the socket; 0 when nothing does.
std::chrono::milliseconds outbox_stalled(int fd) noexcept;

// Opens what sockets are waited for with, while a descriptor can still be had for it.
void keep_outbox_descriptor() noexcept;

// Forgets what waits for the socket, without calling anything. To be called before the socket is closed.
void outbox_forget(int fd) noexcept;

} // namespace vorn
