#include "xml/serialize.hpp"

#include "common/xml.hpp"
#include <gtest/gtest.h>
#include <random>

namespace {

using std::string;

// What libxml2 makes of the same text.
string by_libxml2(const string &text) {
  const vorn::XmlDocument document(vorn::new_document("r"));
  xmlNode *root = xmlDocGetRootElement(document.get());
  vorn::set_attribute(root, "a", text.c_str());
  vorn::add_element(root, "e", text.c_str());
  return vorn::dump(document);
}

string by_us(const string &text) {
  string out = "<?xml version=\"1.0\"?>\n<r a=\"";
  vorn::append_xml_attribute(out, text.c_str());
  out += "\">";
  out += text.empty() ? "<e/" : "<e>";
  vorn::append_xml_text(out, text.c_str());
  return out + (text.empty() ? ">" : "</e>") + "</r>\n";
}

// Some characters of every kind that XML has.
string random_text(std::mt19937 &random) {
  static const char *const characters[] = {"<",      ">",      "&",      "\"",         "'",         "\t",
                                           "\n",     "\r",     " ",      "a",          "]",         "\x7f",
                                           "&amp;",  "\u0085", "\u00e9", "\u07ff",     "\u0800",    "\u20ac",
                                           "\ud7ff", "\ue000", "\ufffd", "\U00010000", "\U0010ffff"};
  string text;
  for (size_t length = random() % 12; length > 0; --length)
    text += characters[random() % std::size(characters)];
  return text;
}

TEST(Serialize, WritesTheBytesOfLibxml2) {
  std::mt19937 random(1);
  for (int i = 0; i < 5000; ++i) {
    const string text = random_text(random);
    ASSERT_EQ(by_us(text), by_libxml2(text));
  }
}

} // namespace
