// Texts from outside on their way to the log: they must neither forge a line of it nor flood it.
#pragma once

#include "core/limits.hpp"
#include <cstdio>
#include <string_view>

namespace vorn {

// Writes the text with its control characters as \n, \r, \t and \xNN.
void put_escaped(FILE *stream, std::string_view text) noexcept;

// What identifies a text: its first bytes, escaped as above, and, where that is not all, "..." and its
// length.
class Excerpt {
public:
  explicit Excerpt(const char *text) noexcept; // null gives "(null)"
  const char *get() const noexcept { return shown_; }

private:
  char shown_[4 * max_logged_text + 32]; // an escaped byte takes four
};

} // namespace vorn
