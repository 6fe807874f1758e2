#include "xml/serialize.hpp"

#include "xml/nodes.hpp"
#include <array>
#include <cstring>
#include <libxml/parserInternals.h>

namespace vorn {

namespace {

// What stands for a byte, or null for a byte that stands for itself.
constexpr const char *in_text(char byte) {
  switch (byte) {
  case '<': return "&lt;";
  case '>': return "&gt;";
  case '&': return "&amp;";
  case '\r': return "&#xD;";
  default: return nullptr;
  }
}

constexpr const char *in_attribute(char byte) {
  switch (byte) {
  case '"': return "&quot;";
  case '\n': return "&#10;";
  case '\t': return "&#9;";
  case '\r': return "&#13;"; // libxml2 writes it otherwise than in a text
  default: return in_text(byte);
  }
}

// The bytes of ASCII that stand for themselves: most texts have no others.
template <const char *(*escape)(char byte)> constexpr std::array<bool, 256> plain_bytes() {
  std::array<bool, 256> plain{};
  for (size_t byte = 0; byte < 0x80; ++byte)
    plain[byte] = (byte >= 0x20 || byte == '\t' || byte == '\n') && !escape(static_cast<char>(byte));
  return plain;
}

template <const char *(*escape)(char byte)> const char *skip_plain(const char *text) {
  static constexpr std::array<bool, 256> plain = plain_bytes<escape>();
  while (plain[static_cast<unsigned char>(*text)]) ++text;
  return text;
}

// Without a declared encoding the output is ASCII: other characters are written by their number.
template <class Out> size_t append_character(Out &out, const char *bytes) {
  const Decoded next = decode_utf8(bytes);
  char reference[] = "&#x10FFFF;"; // the longest
  char *begin = reference + sizeof reference - 2;
  for (uint32_t rest = next.character; rest != 0; rest >>= 4) *--begin = "0123456789ABCDEF"[rest & 15];
  begin -= 3;
  memcpy(begin, "&#x", 3);
  out.append(begin, reference + sizeof reference - 1);
  return next.length;
}

template <const char *(*escape)(char byte), class Out> bool append(Out &out, const char *text) {
  const char *end = skip_plain<escape>(text);
  if (*end ? !xml_can_carry(text) : end - text >= XML_MAX_TEXT_LENGTH) return false;
  for (;; end = skip_plain<escape>(text)) {
    out.append(text, end);
    text = end;
    if (!*text) return true;
    if (const char *escaped = escape(*text)) {
      out += escaped;
      ++text;
    } else {
      text += append_character(out, text);
    }
  }
}

} // namespace

template <class Out> bool append_xml_text(Out &out, const char *text) { return append<in_text>(out, text); }

template <class Out> bool append_xml_attribute(Out &out, const char *value) {
  return append<in_attribute>(out, value);
}

template bool append_xml_text(std::string &, const char *);
template bool append_xml_text(GrowingText &, const char *);
template bool append_xml_attribute(std::string &, const char *);
template bool append_xml_attribute(GrowingText &, const char *);

} // namespace vorn
