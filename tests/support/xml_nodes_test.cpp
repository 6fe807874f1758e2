#include "core/handles.hpp"
#include "support/xml_nodes.hpp"

#include <gtest/gtest.h>
#include <libxml/parser.h>

namespace {

TEST(XmlNodes, ReadTextsAndAttributesInPlace) {
  const char text[] = "<r e='' a='x&amp;y'><t>v&lt;w</t><c><![CDATA[<d>]]></c><n><!-- --></n><m/></r>";
  const vorn::XmlDocument document(xmlParseMemory(text, sizeof text - 1));
  const xmlNode *root = xmlDocGetRootElement(document.get());
  const auto read = [&](const xmlNode *node, int in_line) {
    return vorn_util_xmlNodeListGetString(document.get(), node, in_line);
  };
  const xmlNode *element = root->children;
  EXPECT_STREQ(read(element->children, 1), "v<w");
  EXPECT_EQ(read(element->children, 1), read(element->children, 1)); // no copies
  EXPECT_EQ(read(element->children, 0), nullptr);
  EXPECT_EQ(read(element, 1), nullptr);
  element = element->next;
  EXPECT_STREQ(read(element->children, 1), "<d>");
  element = element->next;
  EXPECT_EQ(read(element->children, 1), nullptr); // a comment
  EXPECT_EQ(read(element->next->children, 1), nullptr);
  EXPECT_STREQ(vorn_util_xmlGetProp(root, "a"), "x&y");
  EXPECT_STREQ(vorn_util_xmlGetProp(root, "e"), "");
  EXPECT_EQ(vorn_util_xmlGetProp(root, "none"), nullptr);
  EXPECT_EQ(vorn_util_xmlGetProp(nullptr, "a"), nullptr);
  EXPECT_EQ(vorn_util_xmlGetProp(root, nullptr), nullptr);
}

} // namespace
