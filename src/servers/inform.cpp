#include "servers/inform.hpp"

#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/keyed_table.hpp"
#include "core/limits.hpp"
#include "core/refuse.hpp"
#include "servers/local_server.hpp"
#include <cassert>
#include <cstdint>
#include <cstdio>
#include <optional>

namespace vorn {

namespace {

constexpr size_t version_size = sizeof(uint32_t);
constexpr size_t head_size = version_size + sizeof(uint32_t);
constexpr uint32_t known_version = 0;

Immortal<KeyedTable<vorn_inform_fn>> handlers; // by the name of their object

// The parameters of the request that is being handled.
Immortal<std::optional<KeyedTable<std::string>>> request;

// "key=value&key=value"; what comes after the last pair is no pair.
void parse(const std::string &parameters) {
  for (size_t start = 0;;) {
    const size_t equals = parameters.find('=', start);
    if (equals == std::string::npos) {
      vorn_debug_eprintf("Bad inform request.\n");
      return;
    }
    const size_t end = parameters.find('&', equals + 1);
    const std::string key = parameters.substr(start, equals - start);
    (*request)->insert(key.c_str(), parameters.substr(equals + 1, end - equals - 1));
    if (end == std::string::npos) return;
    start = end + 1;
  }
}

void start_inform_socket_request() {
  assert(!*request);
  request->emplace(8);
}

void end_inform_socket_request() noexcept {
  assert(*request);
  request->reset();
}

struct InformScope {
  InformScope() { start_inform_socket_request(); }
  InformScope(const InformScope &) = delete;
  InformScope &operator=(const InformScope &) = delete;
  ~InformScope() { end_inform_socket_request(); }
};

Progress inspect(std::string_view received, bool ended) {
  const Progress incomplete = ended ? Progress::give_up : Progress::wait;
  if (received.size() < version_size) return incomplete;
  if (number_at(received, 0) != known_version) {
    vorn_debug_eprintf("Inform version number unrecognized.\n");
    return Progress::give_up;
  }
  if (received.size() < head_size) return incomplete;
  const uint32_t length = number_at(received, version_size);
  if (length > max_inform_size) vorn_debug_eprintf("Inform request of %u bytes is too long.\n", length);
  if (length == 0 || length > max_inform_size) return Progress::give_up;
  // What has come by the end of the stream is the request.
  return ended || received.size() - head_size >= length ? Progress::answer : Progress::wait;
}

CString answer(std::string &received) {
  const char *line = nullptr;
  char *reply = nullptr;
  try {
    const std::string bytes = received.substr(head_size, number_at(received, version_size));
    line = answer_inform_request(bytes.c_str()); // a NUL ends the parameters
  } catch (const std::bad_alloc &) {
    vorn_debug_fatal("malloc");
  }
  if (!line || asprintf(&reply, "%s\n", line) < 0) reply = nullptr;
  return CString(reply);
}

constexpr LocalProtocol protocol = {"vorn_sock_inform", "inform", "Inform client", inspect, answer};

} // namespace

const char *answer_inform_request(const std::string &parameters) {
  const InformScope scope;
  parse(parameters);
  const char *object = vorn_inform_get_value("object");
  if (!object) return "ERR no object parameter";
  const auto *handler = handlers->find(object);
  if (!handler) return "ERR no handler";
  return handler->value() == 1 ? "ERR returned by handler" : "OK";
}

} // namespace vorn

int vorn_inform_init() noexcept { return vorn::serve_locally(vorn::protocol); }

int vorn_inform_fn_add(const char *name, vorn_inform_fn fn) noexcept {
  if (!name) return vorn::refuse("Name is null.\n");
  if (!fn) return vorn::refuse("inform_fn is null.\n");
  return vorn::guarded(1, [&] { return vorn::handlers->insert(name, fn) ? 0 : 1; });
}

const char *vorn_inform_get_value(const char *name) noexcept {
  if (!name || !*vorn::request) return nullptr;
  const auto *parameter = (*vorn::request)->find(name);
  return parameter ? parameter->value.c_str() : nullptr;
}
