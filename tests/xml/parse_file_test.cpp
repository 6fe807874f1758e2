#include "xml/parse_file.hpp"

#include "common/log.hpp"
#include "xml/nodes.hpp"
#include <fstream>
#include <gtest/gtest.h>
#include <iconv.h>

namespace {

using std::string;

string in_encoding(const string &text, const char *encoding) {
  const iconv_t converter = iconv_open(encoding, "UTF-8");
  string from = text, to(4 * text.size() + 16, '\0');
  char *in = from.data(), *out = to.data();
  size_t in_left = from.size(), out_left = to.size();
  EXPECT_EQ(iconv(converter, &in, &in_left, &out, &out_left), 0u) << encoding;
  iconv_close(converter);
  to.resize(to.size() - out_left);
  return to;
}

struct ParseFile : testing::Test {
  ~ParseFile() override { unlink(path.c_str()); }
  vorn::XmlDocument parse(const string &bytes) {
    std::ofstream(path) << bytes;
    vorn::ParsedFile file = vorn::parse_file(path.c_str());
    EXPECT_FALSE(file.undecided);
    return std::move(file.document);
  }
  vorn::test::Log log;
  const string path = testing::TempDir() + "vorn-parse-" + std::to_string(getpid()) + ".xml";
};

// Five levels of parameter entities, each of ten references to the level before.
string nested() {
  string text = "<!DOCTYPE c [<!ENTITY % e0 \"x\">";
  for (int level = 1; level < 6; ++level) {
    text += "<!ENTITY % e" + std::to_string(level) + " '";
    for (int i = 0; i < 10; ++i) text += "&#37;e" + std::to_string(level - 1) + ";";
    text += "'>";
  }
  return text + "%e5;]><c/>";
}

TEST_F(ParseFile, DeclarationsThatKeepTheParserBusyAreRefusedInEveryEncoding) {
  const std::pair<string, string> cases[] = {
      {nested(), "Parameter entity in the document type declaration of " + path},
      {"<!DOCTYPE c [<!ENTITY % e SYSTEM 'e'>]><c/>", "Parameter entity in "},
      {"<!DOCTYPE c [<!ENTITY a 'b'><!ATTLIST c n (a|b) 'a'>]><c/>", "Attribute declaration in "},
  };
  for (const char *encoding :
       {"UTF-8", "UTF-16LE", "UTF-16BE", "UTF-16", "UCS-4BE", "ISO-8859-1", "IBM037"}) {
    const string name = string(encoding).starts_with("UTF-16") ? "UTF-16" : encoding;
    const string head = "<?xml version=\"1.0\" encoding=\"" + name + "\"?>\n";
    EXPECT_NE(parse(in_encoding(head + "<c>t</c>", encoding)), nullptr) << encoding; // it is one that is read
    for (const auto &[text, message] : cases) {
      log.take();
      EXPECT_EQ(parse(in_encoding(head + text, encoding)), nullptr) << encoding;
      EXPECT_NE(log.take().find("vorn: " + message), string::npos) << encoding;
    }
  }
}

TEST_F(ParseFile, OtherDeclarationsAreRead) {
  const vorn::XmlDocument document =
      parse("<!DOCTYPE c SYSTEM 'none.dtd' [<!ELEMENT c ANY><!ENTITY e 'text'><!NOTATION n PUBLIC 'p'>]>"
            "<c>&e;<d>a&e;b</d></c>");
  ASSERT_NE(document, nullptr);
  const xmlNode *root = xmlDocGetRootElement(document.get());
  EXPECT_EQ(vorn::element_text(*root), nullptr);
  EXPECT_STREQ(vorn::element_text(*root->last), "a"); // the first text alone
}

// Plain entities that would grow to gigabytes cost their own size.
TEST_F(ParseFile, PlainEntitiesAreNotExpanded) {
  string text = "<!DOCTYPE c [<!ENTITY e0 '" + string(1000, 'x') + "'>";
  for (int level = 1; level < 30; ++level) {
    text += "<!ENTITY e" + std::to_string(level) + " '";
    for (int i = 0; i < 10; ++i) text += "&e" + std::to_string(level - 1) + ";";
    text += "'>";
  }
  for (const char *use : {"<c>&e29;</c>", "<c a='&e29;'/>", "<c><d a='&e5;'/>&e5;</c>"})
    parse(text + "]>" + use);
}

TEST_F(ParseFile, TagsOfTensOfThousandsOfAttributesAreRefused) {
  for (const string name : {"a", "xmlns:a"}) {
    for (const int count : {64, 100000}) {
      string text = "<c";
      for (int i = 0; i < count; ++i) text += " " + name + std::to_string(i) + "='u'";
      for (const char *encoding : {"UTF-8", "UTF-16"})
        EXPECT_EQ(parse(in_encoding(text + "/>", encoding)) != nullptr, count == 64) << name << encoding;
      EXPECT_EQ(log.take().find("Too many attributes or namespaces in " + path) != string::npos, count > 64);
    }
  }
}

TEST_F(ParseFile, CompressedFilesAreExpandedUpToALimit) {
  std::ofstream(path) << "<c>text</c>";
  ASSERT_EQ(system(("gzip -k " + path).c_str()), 0);
  const string packed = path + ".gz";
  EXPECT_NE(vorn::parse_file(packed.c_str()).document, nullptr);
  ASSERT_EQ(system(("{ echo '<c>'; head -c 300000000 /dev/zero; } | gzip -1 > " + packed).c_str()), 0);
  EXPECT_EQ(vorn::parse_file(packed.c_str()).document, nullptr);
  EXPECT_NE(log.take().find(packed + ": File too large"), string::npos);
  unlink(packed.c_str());
}

} // namespace
