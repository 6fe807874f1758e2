// The characters and names of XML 1.0, for whoever puts texts from outside into XML.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vorn {

// A decoded character and how many bytes it took; 0 bytes for what is not UTF-8 (RFC 3629).
struct Decoded {
  uint32_t character;
  size_t length;
};
Decoded decode_utf8(const char *bytes) noexcept;

// Whether a document may hold the character (production 2, "Char").
constexpr bool is_xml_character(uint32_t c) noexcept {
  return (c >= 0x20 && c <= 0xd7ff) || c == 0x9 || c == 0xa || c == 0xd || (c >= 0xe000 && c <= 0xfffd) ||
         (c >= 0x10000 && c <= 0x10ffff);
}

// Whether the name can be that of an element: production 5, "Name", without the colon, which separates a
// namespace's prefix.
bool is_xml_name(const char *name) noexcept;

// Appends the text as the content of an element or the value of an attribute; a reader gets it back as it is,
// but for U+FFFD in place of what XML cannot carry. The platform's function for this may leave quotes alone.
// Both throw std::bad_alloc.
void append_xml_escaped(std::string &out, const char *text);

// The same for a text that may be escaped already: references to characters, such as "&amp;" and "&#38;",
// stay.
void append_xml_escaped_once(std::string &out, const char *text);

} // namespace vorn
