// The look at a request's bytes, held against what libxml2 makes of them.
#include "query/request_check.hpp"

#include "core/limits.hpp"
#include "xml/handles.hpp"
#include "xml/nodes.hpp"
#include <cstring>
#include <gtest/gtest.h>
#include <iconv.h>
#include <libxml/parserInternals.h>
#include <random>
#include <sstream>

namespace {

using std::string;
using vorn::RequestFault;

// What libxml2 meets in a text while it reads on after every fault.
struct Seen {
  int attributes = 0; // in the tag with the most of them
  int namespaces = 0;
  bool document_type = false;
  bool well_formed = false;
  size_t nodes = 0;
};
Seen seen;

size_t count_nodes(const xmlNode *node) {
  size_t count = 0;
  for (; node; node = node->next) {
    ++count;
    if (node->type != XML_ELEMENT_NODE) continue;
    for (const xmlAttr *attribute = node->properties; attribute; attribute = attribute->next) count += 2;
    count += count_nodes(node->children);
  }
  return count;
}

void start_element(void *context, const xmlChar *name, const xmlChar *prefix, const xmlChar *uri,
                   int namespaces, const xmlChar **declared, int attributes, int defaulted,
                   const xmlChar **values) {
  seen.attributes = std::max(seen.attributes, namespaces + attributes);
  seen.namespaces += namespaces;
  xmlSAX2StartElementNs(context, name, prefix, uri, namespaces, declared, attributes, defaulted, values);
}

Seen by_libxml2(const string &text) {
  seen = {};
  xmlParserCtxt *context = xmlCreateMemoryParserCtxt(text.c_str(), static_cast<int>(text.size()));
  if (!context) return seen;
  context->sax->startElementNs = start_element;
  context->sax->internalSubset = [](void *, const xmlChar *, const xmlChar *, const xmlChar *) {
    seen.document_type = true;
  };
  context->sax->entityDecl = nullptr;
  context->sax->elementDecl = nullptr;
  xmlCtxtUseOptions(context, XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET);
  xmlParseDocument(context);
  seen.well_formed = context->wellFormed;
  const vorn::XmlDocument document(context->myDoc);
  if (document) seen.nodes = count_nodes(document->children);
  xmlFreeParserCtxt(context);
  return seen;
}

string attributes(size_t count, const string &stem = "a") {
  string text;
  for (size_t i = 0; i < count; ++i) text += " " + stem + std::to_string(i) + "=\"v\"";
  return text;
}

RequestFault fault_of(const string &text) { return vorn::check_request(text.c_str()).fault; }

std::vector<string> split(const string &text) {
  std::istringstream stream(text);
  std::vector<string> parts;
  for (string part; std::getline(stream, part, '|');) parts.push_back(part);
  return parts;
}

// Pieces of markup, whole and broken, in an order that often makes sense and often does not.
string random_document(std::mt19937 &random) {
  static const std::vector<string> pieces =
      split("<lsql>|</lsql>|<a|<b |<c>|</a>|</|<|>|/>|/| |\n|=|\"|'|x| x=\"1\"| y='2'| z = \"<\"|"
            " w=\">\"| v=\"&lt;\"| u=\"&no;\"| t=\"&#65;\"| 1=\"2\"|&amp;|&#x41;|&#;|&|&no;|&#0;|<!--|"
            "-->|--|-|<![CDATA[|]]>|]]|]|<?p |<?|?>|?|<?xml version=\"1.0\"?>|"
            "<?xml version='1.0' encoding='UTF-8'?>|<?xml |<?XML |<!DOCTYPE a>|"
            "<!DOCTYPE a [<!ENTITY e \"x\">]>|<!|<!ELEMENT a ANY>|\1|\x7f|\xc3\xa9|\xef\xbf\xbf|"
            "\xef\xbb\xbf|\xe6\x9d\xb1|<\xc3\xa9>|<?\xc3\xa9 |<?\xcc\x80 |<?\xcd\xbe |:|<a:b>|"
            " xmlns:a=\"u\"| xmlns=\"u\"|;|text|<a><b>text</b><c d=\"e\"/></a>");
  const string many = attributes(40, "m"), more = attributes(40, "n");
  string text = random() % 4 ? "<lsql>" : "";
  for (auto left = random() % 24; left > 0; --left) {
    const auto kind = random() % 20;
    text += kind > 2 ? pieces[random() % pieces.size()]
                     : (kind == 2 ? "<a" : "") + (kind != 1 ? many : "") + (kind != 0 ? more : "");
  }
  return random() % 4 ? text + "</lsql>" : text;
}

TEST(RequestCheck, SeesWhatLibxml2Sees) {
  std::mt19937 random(7);
  const size_t most = vorn::max_attributes;
  int well_formed = 0, behind_faults = 0;
  for (int i = 0; i < 30000; ++i) {
    const string text = random_document(random);
    const vorn::RequestCheck check = vorn::check_request(text.c_str());
    const Seen by_parser = by_libxml2(text);
    if (check.fault == RequestFault::none) { // nothing slips through, not even after a fault
      ASSERT_LE(static_cast<size_t>(by_parser.attributes), most) << text;
      ASSERT_FALSE(by_parser.document_type) << text;
      ASSERT_LE(static_cast<size_t>(by_parser.namespaces), vorn::max_namespaces) << text;
      ASSERT_TRUE(by_parser.nodes <= check.nodes || !by_parser.well_formed) << text;
      behind_faults += !by_parser.well_formed;
    } else if (by_parser.well_formed) { // nothing is refused without a reason
      ASSERT_NE(check.fault, RequestFault::not_well_formed) << text;
      ASSERT_TRUE(by_parser.document_type || static_cast<size_t>(by_parser.attributes) > most) << text;
    }
    well_formed += by_parser.well_formed;
  }
  EXPECT_GT(well_formed, 1000);
  EXPECT_GT(behind_faults, 500);
}

TEST(RequestCheck, KnowsTheLimits) {
  const string most = attributes(vorn::max_attributes),
               namespaces = attributes(vorn::max_namespaces, "xmlns:a");
  const string long_name(XML_MAX_NAME_LENGTH, 'n');
  const std::pair<string, RequestFault> cases[] = {
      {"<a" + most + "/>", RequestFault::none},
      {"<a" + most + "><b" + most + "/></a>", RequestFault::none},
      {"<a" + most + "\n\tlast = 'v' />", RequestFault::attributes},
      {"<a><!-- " + most + most + " --><![CDATA[<b" + most + most + "/>]]><?p <b" + most + most + "/>?></a>",
       RequestFault::none},
      {"<a" + most + "><b xmlns='u'/></a>", RequestFault::none},
      {"<a" + most + " xmlns='u'/>", RequestFault::attributes},
      {"<a" + namespaces + "/>", RequestFault::none},
      {"<a><b xmlns='u'/><c" + namespaces + "/></a>", RequestFault::namespaces},
      {" <!-- --><!DOCTYPE lsql><lsql/>", RequestFault::document_type},
      {"<a><!-- <!DOCTYPE a> --><![CDATA[<!DOCTYPE a>]]></a>", RequestFault::none},
      // libxml2 does not know an instruction of such a name, and would read on within it.
      {"<a><?" + long_name + " <b" + most + most + "/>?></a>", RequestFault::not_well_formed},
      {"<a><!-- \1 <b" + most + most + "/> --></a>", RequestFault::not_well_formed},
      {"<a><!-- \xe9 <b" + most + most + "/> --></a>", RequestFault::not_well_formed},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xe9'>\xe9</a>", RequestFault::none},
      {"<?xml version='1.0' encoding='utf-8' standalone='yes'?><a/>", RequestFault::none},
      {"<?xml version='1.0' encoding='UTF-7'?><a/>", RequestFault::encoding},
      {"<?xml version='1.0>' ?><a/>", RequestFault::not_well_formed},
      {"", RequestFault::none}, // there is nothing to be afraid of: libxml2 refuses it
  };
  for (const auto &[text, fault] : cases) EXPECT_EQ(fault_of(text), fault) << text.substr(0, 100);
}

TEST(RequestCheck, NoEncodingHidesADocumentType) {
  const string plain = "<!DOCTYPE l [<!ENTITY % a '&#37;x;'>%a;]><lsql/>";
  EXPECT_EQ(fault_of(plain), RequestFault::document_type);
  for (const char *encoding : {"UTF-7", "UTF-16LE", "UTF-16BE", "UTF-16", "UCS-4LE", "EBCDIC-US", "IBM037",
                               "ISO-2022-JP", "SHIFT_JIS", "GB18030", "ISO-8859-15", "IBM1047"}) {
    const iconv_t converter = iconv_open(encoding, "UTF-8");
    if (converter == reinterpret_cast<iconv_t>(-1)) continue;
    string text = "<?xml version=\"1.0\" encoding=\"" + string(encoding) + "\"?>" + plain;
    string converted(text.size() * 8, '\0');
    char *from = text.data(), *to = converted.data();
    size_t from_left = text.size(), to_left = converted.size();
    iconv(converter, &from, &from_left, &to, &to_left);
    iconv_close(converter);
    converted.resize(strlen(converted.c_str())); // as long as a request can be
    EXPECT_TRUE(fault_of(converted) != RequestFault::none || !by_libxml2(converted).document_type)
        << encoding;
    EXPECT_NE(fault_of(text), RequestFault::none) << encoding;
  }
}

} // namespace
