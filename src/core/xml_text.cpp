#include "core/xml_text.hpp"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <string_view>

namespace vorn {

namespace {

struct Range {
  uint32_t first, last;
};

// Productions 4, "NameStartChar", and 4a, "NameChar". The colon is left out.
constexpr Range name_start[] = {
    {'A', 'Z'},       {'_', '_'},       {'a', 'z'},       {0xc0, 0xd6},     {0xd8, 0xf6},
    {0xf8, 0x2ff},    {0x370, 0x37d},   {0x37f, 0x1fff},  {0x200c, 0x200d}, {0x2070, 0x218f},
    {0x2c00, 0x2fef}, {0x3001, 0xd7ff}, {0xf900, 0xfdcf}, {0xfdf0, 0xfffd}, {0x10000, 0xeffff},
};
constexpr Range name_rest[] = {
    {'-', '.'}, {'0', '9'}, {0xb7, 0xb7}, {0x300, 0x36f}, {0x203f, 0x2040},
};

template <size_t size> bool is_in(const Range (&ranges)[size], uint32_t character) {
  return std::any_of(ranges, ranges + size,
                     [&](const Range &range) { return character >= range.first && character <= range.last; });
}

Decoded decode(const unsigned char *bytes) {
  static constexpr uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000}; // what is less has a shorter form
  if (bytes[0] < 0x80) return {bytes[0], 1};
  const auto length = static_cast<size_t>(std::countl_one(bytes[0]));
  if (length < 2 || length > 4) return {0, 0};
  uint32_t character = bytes[0] & (0x7fu >> length);
  for (size_t i = 1; i < length; ++i) {
    if ((bytes[i] & 0xc0) != 0x80) return {0, 0};
    character = character << 6 | (bytes[i] & 0x3fu);
  }
  return {character, character >= smallest[length] ? length : 0};
}

// What stands for a character that would be markup, or that a reader takes for other white space; null for
// all others.
const char *escape_of(uint32_t character) {
  switch (character) {
  case '&': return "&amp;";
  case '<': return "&lt;";
  case '>': return "&gt;";
  case '"': return "&quot;";
  case '\'': return "&apos;";
  case '\t': return "&#9;";
  case '\n': return "&#10;";
  case '\r': return "&#13;";
  default: return nullptr;
  }
}

// Returns the length of the number and the semicolon after "&#", or 0 when they refer to no character.
size_t number_length(const char *text) {
  const bool hexadecimal = *text == 'x';
  const char *digits = text + hexadecimal;
  const char *end = digits + strspn(digits, hexadecimal ? "0123456789abcdefABCDEF" : "0123456789");
  uint32_t character;
  const auto read = std::from_chars(digits, end, character, hexadecimal ? 16 : 10);
  const bool refers = read.ec == std::errc() && *end == ';' && is_xml_character(character);
  return refers ? static_cast<size_t>(end + 1 - text) : 0;
}

// Returns the length of the reference that the text begins with, or 0.
size_t reference_length(const char *text) {
  for (const std::string_view name : {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"})
    if (strncmp(text, name.data(), name.size()) == 0) return name.size();
  if (strncmp(text, "&#", 2) != 0) return 0;
  const size_t length = number_length(text + 2);
  return length ? length + 2 : 0;
}

// Appends the first character. Returns its length.
size_t append_character(std::string &out, const char *text) {
  const Decoded next = decode_utf8(text);
  if (next.length == 0 || !is_xml_character(next.character))
    out += "\xef\xbf\xbd";
  else if (const char *escape = escape_of(next.character))
    out += escape;
  else
    out.append(text, next.length);
  return std::max<size_t>(next.length, 1);
}

} // namespace

Decoded decode_utf8(const char *bytes) noexcept {
  return decode(reinterpret_cast<const unsigned char *>(bytes));
}

bool is_xml_name(const char *name) noexcept {
  const char *at = name;
  while (*at) {
    const Decoded next = decode_utf8(at);
    const bool fits = is_in(name_start, next.character) || (at != name && is_in(name_rest, next.character));
    if (next.length == 0 || !fits) return false;
    at += next.length;
  }
  return at != name;
}

void append_xml_escaped(std::string &out, const char *text) {
  while (*text) text += append_character(out, text);
}

void append_xml_escaped_once(std::string &out, const char *text) {
  while (*text) {
    const size_t length = *text == '&' ? reference_length(text) : 0;
    out.append(text, length);
    text += length ? length : append_character(out, text);
  }
}

} // namespace vorn
