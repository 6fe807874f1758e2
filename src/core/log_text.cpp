#include "core/log_text.hpp"

#include <algorithm>
#include <cstring>

namespace vorn {

namespace {

bool is_control(char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7f; }

// Writes a control character in a visible form, of four characters at most; returns how many.
int escape(char byte, char (&form)[5]) {
  switch (byte) {
  case '\n': return snprintf(form, sizeof form, "\\n");
  case '\r': return snprintf(form, sizeof form, "\\r");
  case '\t': return snprintf(form, sizeof form, "\\t");
  default:
    return snprintf(form, sizeof form, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  }
}

// Hands the text on in pieces, its control characters in their visible form.
template <class Put> void for_each_piece(std::string_view text, Put put) {
  while (!text.empty()) {
    const auto control = std::find_if(text.begin(), text.end(), is_control);
    const auto plain = static_cast<size_t>(control - text.begin());
    put(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) return;
    char form[5];
    put(std::string_view(form, static_cast<size_t>(escape(text.front(), form))));
    text.remove_prefix(1);
  }
}

// The longest beginning of at most so many bytes that does not end within a character of UTF-8.
std::string_view beginning(std::string_view text, size_t most) {
  if (text.size() <= most) return text;
  size_t length = most;
  while (length > most - 4 && (text[length] & 0xc0) == 0x80) --length;
  return text.substr(0, length);
}

} // namespace

void put_escaped(FILE *stream, std::string_view text) noexcept {
  for_each_piece(text, [&](std::string_view piece) { fwrite(piece.data(), 1, piece.size(), stream); });
}

Excerpt::Excerpt(const char *text) noexcept {
  const std::string_view whole = text ? text : "(null)";
  const std::string_view shown = beginning(whole, max_logged_text);
  char *end = shown_;
  for_each_piece(shown, [&](std::string_view piece) { end = std::copy(piece.begin(), piece.end(), end); });
  *end = '\0';
  if (shown.size() < whole.size()) snprintf(end, 32, "... (%zu bytes)", whole.size());
}

} // namespace vorn
