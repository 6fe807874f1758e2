// A connection becomes a listener when its first byte has come.
//
//   state    | messages | then
//   silent   | none     | a byte: listener, or closed when all listeners' places are taken
//   listener | each one | a message that cannot wait for it: silent, where the message asks for that
//
// A message that a listener has no room for waits for it, whole, up to send_limit bytes; what would add to
// more is not sent to it at all. So no listener sees half a message.
#include "notify/notify.h"

#include "core/accept.hpp"
#include "core/debug.hpp"
#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/outbox.hpp"
#include "core/refuse.hpp"
#include "core/socket.h"
#include "core/xml_text.hpp"
#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <list>
#include <string>

namespace {

using vorn::Descriptor;
using vorn::or_null;

constexpr unsigned short port = 8001;
constexpr int max_listeners = 8;
constexpr size_t max_connections = 32; // listeners and silent ones: the one silent longest makes room
constexpr size_t send_limit = 64 * 1024;
constexpr size_t reads_a_pass = 16;

struct Connection {
  Descriptor socket;
  bool is_listener = false;
};

vorn::Immortal<std::list<Connection>> connections; // in the order in which they came

// The number of the last configuration message; the first one is 2.
uint32_t change_counter = 1;

void end_connection(Connection &connection) {
  const int fd = connection.socket.get();
  vorn::outbox_forget(fd);
  eloop_unregister_read_sock(fd);
  connections->remove_if([&](const Connection &other) { return &other == &connection; });
}

void delivery_is_over(int fd, bool sent, void *connection) {
  if (sent) return;
  end_connection(*static_cast<Connection *>(connection));
  vorn_debug_1printf("Notify connection ended (fd %d).\n", fd);
}

bool deliver(Connection &listener, std::string_view message) {
  return vorn::outbox_send(listener.socket.get(), message, send_limit, delivery_is_over, &listener) !=
         vorn::Delivery::failed;
}

// Sends a message to all listeners; who cannot take it hears no more, where the message says so.
void broadcast(std::string_view message, bool drop_failing) {
  for (Connection &connection : *connections)
    if (connection.is_listener && !deliver(connection, message) && drop_failing)
      connection.is_listener = false;
}

[[gnu::format(printf, 2, 3)]] void append(std::string &text, const char *format, ...) {
  va_list arguments, again;
  va_start(arguments, format);
  va_copy(again, arguments);
  const int length = vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  const size_t before = text.size();
  if (length > 0) {
    text.resize(before + static_cast<size_t>(length) + 1); // with room for vsnprintf's NUL
    vsnprintf(text.data() + before, static_cast<size_t>(length) + 1, format, again);
    text.pop_back();
  }
  va_end(again);
}

// Clients choose their origin: it must not become markup.
void append_origin(std::string &message, const char *origin) {
  if (!origin) return;
  message += " origin=\"";
  vorn::append_xml_escaped(message, origin);
  message += '"';
}

std::string conf_message(const char *origin, int32_t number) {
  std::string message = "<?xml version=\"1.0\"?><conf_changed";
  append_origin(message, origin);
  append(message, ">%d</conf_changed>\n", number);
  return message += '\0';
}

// Returns whether everything that has come was read and the connection is still there.
bool discard_input(int fd) {
  char buffer[4096];
  for (size_t i = 0; i < reads_a_pass; ++i) {
    const vorn::Received input = vorn::receive(fd, buffer, sizeof buffer);
    if (input.state != vorn::Received::State::data) return input.state == vorn::Received::State::nothing_yet;
  }
  return true;
}

bool make_listener(Connection &connection) {
  const auto count = std::count_if(connections->begin(), connections->end(),
                                   [](const Connection &other) { return other.is_listener; });
  if (!connection.is_listener && count >= max_listeners)
    return vorn::refuse_aloud("Unable to add notify connection.\n");
  connection.is_listener = true;
  return true;
}

void connection_is_readable(int fd, void *connection_data, void *) {
  Connection &connection = *static_cast<Connection *>(connection_data);
  const bool alive = discard_input(fd);
  const bool accepted = make_listener(connection);
  if (accepted && alive) return;
  end_connection(connection);
  if (accepted) vorn_debug_1printf("Notify connection ended (fd %d).\n", fd);
}

void make_room() {
  if (connections->size() < max_connections) return;
  const auto silent = std::find_if(connections->begin(), connections->end(),
                                   [](const Connection &connection) { return !connection.is_listener; });
  end_connection(*silent); // there is one: listeners are fewer than connections
}

void connection_came(int listener, void *, void *) {
  Descriptor socket = vorn::accept_connection(listener, "vorn_notify_new_connection");
  if (!socket) return;
  vorn::guarded(1, [&] {
    make_room();
    Connection &connection = connections->emplace_back(Connection{std::move(socket)});
    const int fd = connection.socket.get();
    if (eloop_register_read_sock(fd, connection_is_readable, &connection, nullptr) == 0)
      vorn_debug_1printf("Notify connection started (fd %d).\n", fd);
    else
      connections->pop_back();
    return 0;
  });
}

} // namespace

int vorn_notify_init() noexcept {
  Descriptor listener(vorn_socket_get_tcp(port, 1));
  if (!listener || eloop_register_read_sock(listener.get(), connection_came, nullptr, nullptr) != 0) return 1;
  listener.release(); // the loop's for the process's life
  return 0;
}

int vorn_notify_conf_change(const char *origin) noexcept {
  const auto number = static_cast<int32_t>(++change_counter);
  vorn::guarded(1, [&] {
    broadcast(conf_message(origin, number), false);
    return 0;
  });
  return 0;
}

int vorn_notify_object_change(const char *origin, const char *class_name, const char *name,
                              const char *property, const char *value) noexcept {
  vorn::guarded(1, [&] {
    std::string message = "<?xml version=\"1.0\"?><object_changed";
    append_origin(message, origin);
    append(message, "><%s", or_null(class_name));
    if (name) append(message, " name=\"%s\"", name);
    append(message, "><%s>%s</%s></%s></object_changed>\n", or_null(property), or_null(value),
           or_null(property), or_null(class_name));
    broadcast(message += '\0', true);
    return 0;
  });
  return 0;
}
