// The header of the default configuration file: lines of "Name: value", ended by an empty one.
#pragma once

#include <cstdio>
#include <string>

namespace vorn {

// What the header tells of the body after it.
struct DefaultHeader {
  long length = 0;   // in bytes
  std::string md5{}; // 32 characters, as md5sum(1) prints them
};

// Reads the header, so that the file stands at its body. Returns 0, or the fault's code after reporting it.
// Throws std::bad_alloc.
int read_default_header(FILE *file, DefaultHeader &header);

} // namespace vorn
