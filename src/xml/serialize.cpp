#include "xml/serialize.hpp"

#include "xml/nodes.hpp"
#include <cstdio>

namespace vorn {

namespace {

// What stands for a byte, or null for a byte that stands for itself.
using Escapes = const char *(*)(char byte);

const char *in_text(char byte) {
  switch (byte) {
  case '<': return "&lt;";
  case '>': return "&gt;";
  case '&': return "&amp;";
  case '\r': return "&#xD;";
  default: return nullptr;
  }
}

const char *in_attribute(char byte) {
  switch (byte) {
  case '"': return "&quot;";
  case '\n': return "&#10;";
  case '\t': return "&#9;";
  case '\r': return "&#13;"; // libxml2 writes it otherwise than in a text
  default: return in_text(byte);
  }
}

// Without a declared encoding the output is ASCII: other characters are written by their number.
template <class Out> size_t append_character(Out &out, const char *bytes) {
  const Decoded next = decode_utf8(bytes);
  char reference[16];
  snprintf(reference, sizeof reference, "&#x%X;", static_cast<unsigned>(next.character));
  out += reference;
  return next.length;
}

template <class Out> void append(Out &out, const char *text, Escapes escapes) {
  while (*text) {
    const char *plain = text;
    while (static_cast<signed char>(*text) > 0 && !escapes(*text)) ++text; // ASCII, up to the end
    out.append(plain, text);
    if (const char *escape = *text ? escapes(*text) : nullptr) {
      out += escape;
      ++text;
    } else if (*text) {
      text += append_character(out, text);
    }
  }
}

} // namespace

template <class Out> void append_xml_text(Out &out, const char *text) { append(out, text, in_text); }

template <class Out> void append_xml_attribute(Out &out, const char *value) {
  append(out, value, in_attribute);
}

template void append_xml_text(std::string &, const char *);
template void append_xml_text(GrowingText &, const char *);
template void append_xml_attribute(std::string &, const char *);
template void append_xml_attribute(GrowingText &, const char *);

} // namespace vorn
