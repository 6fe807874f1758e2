// A connection becomes a listener when its first byte has come.
//
//   state    | messages | then
//   queued   | none     | a place is free, or a silent one has had its time: silent
//   silent   | none     | a byte: listener, or closed when all listeners' places are taken
//            |          | ten seconds: makes room for a newcomer when all places are taken
//   listener | each one | a message that cannot wait for it: silent, where the message asks for that
//            |          | ten seconds in which it takes nothing of what waits for it: closed
//
// A message that a listener has no room for waits for it, whole, up to a limit; what would add to more is not
// sent to it at all. So no listener sees half a message.
#include "notify/notify.h"

#include "core/accept.hpp"
#include "core/debug.hpp"
#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/limits.hpp"
#include "core/listener.hpp"
#include "core/outbox.hpp"
#include "core/refuse.hpp"
#include "core/socket.h"
#include "core/xml_text.hpp"
#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <list>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;
using vorn::Descriptor;
using vorn::or_null;

constexpr unsigned short port = 8001;

struct Connection {
  Descriptor socket;
  bool is_listener = false;
  Clock::time_point came = Clock::now();
};

vorn::Immortal<std::list<Connection>> connections; // in the order in which they came
vorn::Immortal<vorn::Listener> listening;

// The number of the last configuration message; the first one is 2.
uint32_t change_counter = 1;

void end_connection(Connection &connection) {
  const int fd = connection.socket.get();
  vorn::outbox_forget(fd);
  eloop_unregister_read_sock(fd);
  connections->remove_if([&](const Connection &other) { return &other == &connection; });
  listening->resume();
}

void end_and_tell(Connection &connection) {
  const int fd = connection.socket.get();
  end_connection(connection);
  vorn_debug_1printf("Notify connection ended (fd %d).\n", fd);
}

void delivery_is_over(int, bool sent, void *connection) {
  if (!sent) end_and_tell(*static_cast<Connection *>(connection));
}

bool deliver(Connection &listener, std::string_view message) {
  return vorn::outbox_send(listener.socket.get(), message, vorn::max_waiting_messages, delivery_is_over,
                           &listener) != vorn::Delivery::failed;
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
  for (size_t i = 0; i < vorn::reads_a_pass; ++i) {
    const vorn::Received input = vorn::receive(fd, buffer, sizeof buffer);
    if (input.state != vorn::Received::State::data) return input.state == vorn::Received::State::nothing_yet;
  }
  return true;
}

bool make_listener(Connection &connection) {
  const auto count = std::count_if(connections->begin(), connections->end(),
                                   [](const Connection &other) { return other.is_listener; });
  if (!connection.is_listener && static_cast<size_t>(count) >= vorn::max_notify_listeners)
    return vorn::refuse_aloud("Unable to add notify connection.\n");
  connection.is_listener = true;
  return true;
}

void connection_is_readable(int fd, void *connection_data, void *) {
  Connection &connection = *static_cast<Connection *>(connection_data);
  const bool alive = discard_input(fd);
  if (!make_listener(connection))
    end_connection(connection);
  else if (!alive)
    end_and_tell(connection);
}

// Who came first of those that have not asked makes room, if that is long enough ago.
unsigned make_room(void *) {
  if (connections->size() < vorn::max_notify_connections) return 0;
  for (Connection &connection : *connections) {
    if (connection.is_listener || vorn::is_readable(connection.socket.get())) continue;
    const auto left = std::chrono::ceil<milliseconds>(connection.came +
                                                      seconds(vorn::notify_silence_seconds) - Clock::now());
    if (left > milliseconds(0)) return static_cast<unsigned>(left.count());
    end_and_tell(connection);
    return 0;
  }
  return 10; // they are just being listened to
}

void take(Descriptor socket, void *) {
  const int fd = socket.get();
  Connection &connection = connections->emplace_back(Connection{std::move(socket)});
  if (eloop_register_read_sock(fd, connection_is_readable, &connection, nullptr) != 0) {
    connections->pop_back();
    return;
  }
  vorn::keep_alive(fd);
  vorn_debug_1printf("Notify connection started (fd %d).\n", fd);
}

} // namespace

int vorn_notify_init() noexcept {
  return listening->open(Descriptor(vorn_socket_get_tcp(port, 1)),
                         {"vorn_notify_new_connection", make_room, take, nullptr})
             ? 0
             : 1;
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
