// The record of the services that run, in a file: for the agent that comes after one that was killed. Each
// line is a process, its start and a text, the first one the agent itself with the identity of the boot, the
// others its services with their names.
#pragma once

#include "process/identity.hpp"
#include <string>
#include <vector>

namespace vorn {

struct RecordedService {
  ProcessIdentity process;
  std::string name;
};

struct ServiceRecord {
  ProcessIdentity agent{};
  std::vector<RecordedService> services{};
};

// Reads a record. It may hold anything: what is no line of this boot is passed over. May throw
// std::bad_alloc.
ServiceRecord read_service_record(const char *path);

// Keeps the record at `path`, which must stay valid, from now on; without this, none is kept.
void keep_service_record(const char *path) noexcept;
bool keeps_service_record() noexcept;

// Writes the record anew, whole or not at all. That it cannot be written is logged once, until it can again.
void write_service_record(const std::vector<RecordedService> &services) noexcept;

// Safe in signal context.
void remove_service_record() noexcept;

} // namespace vorn
