// The text of a request: where it comes from, and what is taken out of it before it is sent.
#pragma once

#include <istream>
#include <string>

namespace lsql {

// Reads a file, or `in` for the name "-". Throws Failure (EXIT_USAGE) when it cannot be read.
std::string read_request(const std::string &file, std::istream &in);

// Makes a request that a person has laid out acceptable to the agent, to which every node counts: drops
// blank text and comments that stand between elements. Values are kept, blank ones too. A text without such
// layout, or one that is not well-formed, only loses one newline at its end.
std::string compact_request(const std::string &text);

} // namespace lsql
