#include "core/xml_text.hpp"

#include "xml/handles.hpp"
#include "xml/nodes.hpp"
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

namespace {

using std::string;

vorn::XmlDocument parse(const string &text) {
  return vorn::XmlDocument(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                         XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

string utf8(int character) {
  xmlChar bytes[8] = "";
  const int length = xmlCopyCharMultiByte(bytes, character);
  return {vorn::text_of(bytes), static_cast<size_t>(length)};
}

// A colon apart, which it takes for a prefix.
void expect_as_libxml2(int character) {
  if (character == ':') return;
  for (const string &name : {utf8(character), "a" + utf8(character)}) {
    // What ends a name would make another document of this one.
    const bool parsed = !strpbrk(name.c_str(), " \t\r\n/>") && parse("<" + name + "/>");
    ASSERT_EQ(vorn::is_xml_name(name.c_str()), parsed) << std::hex << character;
  }
}

TEST(XmlNames, AreThoseThatTheParserTakes) {
  for (int character = 1; character < 0x380; ++character) expect_as_libxml2(character);
  for (const int edge : {0x1fff, 0x200c, 0x200d, 0x203f, 0x2040, 0x2070, 0x218f, 0x2c00, 0x2fef, 0x3001,
                         0xd7ff, 0xe000, 0xf900, 0xfdcf, 0xfdf0, 0xfffd, 0x10000, 0xeffff, 0x10ffff})
    for (int character = edge - 1; character <= edge + 1; ++character)
      if (character < 0xd800 || character > 0xdfff) expect_as_libxml2(character);
  for (const char *name : {"", "a:b", ":a", "a\xff", "\xed\xa0\x80", "a\xc3"})
    EXPECT_FALSE(vorn::is_xml_name(name)) << name;
}

// Whether a reader gets `text` back from an element and from an attribute, and nothing else.
void expect_reads_as(const string &escaped, const string &text) {
  const vorn::XmlDocument document = parse("<r a=\"" + escaped + "\">" + escaped + "</r>");
  ASSERT_TRUE(document) << escaped;
  const xmlNode *root = xmlDocGetRootElement(document.get());
  EXPECT_STREQ(vorn_util_xmlGetProp(root, "a"), text.c_str());
  const char *content = vorn::element_text(*root);
  EXPECT_EQ(content ? content : "", text);
  EXPECT_EQ(root->properties->next, nullptr);
  EXPECT_EQ(root->next, nullptr);
  EXPECT_TRUE(!root->children || !root->children->next);
}

TEST(XmlText, IsReadBackButForWhatXmlCannotCarry) {
  const string bad = "\xef\xbf\xbd";
  const struct {
    string text, read, read_once; // where they are others; the last where references stay
  } cases[] = {
      {"", "", ""},
      {"\"/><a b='c'>]]><![CDATA[<!--", "", ""},
      {"a\tb\nc\rd\r\n  ", "", ""},
      {"Z\xc3\xbcrich \xf0\x9f\x99\x82 " + bad, "", ""},
      {"Bob & Co", "", ""},
      {"&amp;&lt;&gt;&quot;&apos;", "", "&<>\"'"},
      {"&#65;&#x42;&#x1f642;&#0000067;", "",
       "AB\xf0\x9f\x99\x82"
       "C"},
      {"&#38;lt;", "", "&lt;"},
      {"& &copy;&amp&AMP;&amp", "", ""},
      {"&#0;&#1;&#xD800;&#xFFFE;&#x110000;", "", ""},
      {"&#;&#x;&#X41;&#-65;&#+65;&# 65;&#65&#4294967361;", "", ""},
      {"\x01\x1b[0m\x7f", bad + bad + "[0m\x7f", ""},
      {"\x80\xc0\x80\xe2\x82z\xff", bad + bad + bad + bad + bad + "z" + bad, ""},
      {"\xed\xa0\x80\xef\xbf\xbf\xf4\x90\x80\x80", bad + bad + bad, ""},
  };
  for (const auto &c : cases) {
    string escaped, once;
    vorn::append_xml_escaped(escaped, c.text.c_str());
    vorn::append_xml_escaped_once(once, c.text.c_str());
    const string &read = c.read.empty() ? c.text : c.read;
    expect_reads_as(escaped, read);
    expect_reads_as(once, c.read_once.empty() ? read : c.read_once);
  }
}

} // namespace
