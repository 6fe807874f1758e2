// The work that libxml2 alone has with the same files and requests: what the agent's is compared with.
#pragma once

#include "core/handles.hpp"
#include "station.hpp"
#include <vector>

namespace bench {

void parse_and_free(const char *path);

// The document of the startup file, of stations that lie ready.
void build_save_and_free(const char *path, const std::vector<Station> &stations);

std::vector<Station> make_stations(size_t count);

// What a reply says.
struct Content {
  std::vector<Station> stations;
  size_t matches;
};

Content content_of(const Request &request, size_t stations);

// Parses a request, and builds and dumps a reply that says this, whatever the request.
vorn::CString answer(const std::string &request, const Content &content);

// Answers every request with this, in a select(2) loop like the agent's, for ever. On a local socket a
// connection has one request with its length in front, else any number that a terminator ends each.
[[noreturn]] void serve(int listener, bool is_local, const Content &content);

} // namespace bench
