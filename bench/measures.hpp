// What is measured with a configuration of some size; the configuration is written before. Each kind runs in
// a process of its own. The figures' names stand here where others read them, too.
#pragma once

#include "figures.hpp"
#include <string>

namespace bench {

// How long each thing is repeated, at least.
using Seconds = double;

Figures measure_memory(size_t stations, Seconds);
Figures measure_files(size_t stations, Seconds);
Figures measure_requests(size_t stations, Seconds);
Figures measure_sockets(size_t stations, Seconds); // starts an agent, which takes five seconds

inline constexpr char load[] = "load", parse[] = "libxml2: parse, free";
inline constexpr char save[] = "save", build[] = "libxml2: build, save, free";
inline constexpr char table_figure[] = "text table of 100 lines";
inline constexpr const char *transport_names[] = {"local socket", "TCP"};

// The same thing by libxml2 alone.
inline std::string by_libxml2(const std::string &name) { return "libxml2: " + name; }

// The name of a request's figures over a transport.
inline std::string over(const std::string &request, const std::string &transport) {
  return request + ", " + transport;
}

} // namespace bench
