#include "reply.hpp"

#include "layout.hpp"
#include <utility>

namespace lsql {

namespace {

bool is_named(const xmlNode *node, const char *name) {
  return node->type == XML_ELEMENT_NODE &&
         xmlStrEqual(node->name, reinterpret_cast<const xmlChar *>(name)) == 1;
}

bool is_zero(xmlNode *node) {
  const XmlText text(xmlNodeGetContent(node));
  return text != nullptr && xmlStrEqual(text.get(), reinterpret_cast<const xmlChar *>("0")) == 1;
}

// Looks at the root's own children only: a class of the data set may have a property named "rc".
ExitStatus verdict_of_result(const xmlNode *root) {
  for (xmlNode *node = root->children; node != nullptr; node = node->next)
    if (is_named(node, "rc") && !is_zero(node)) return EXIT_REFUSED;
  return EXIT_DONE;
}

ExitStatus verdict_of_configuration(const xmlNode *) { return EXIT_DONE; }
ExitStatus verdict_of_error(const xmlNode *) { return EXIT_REFUSED; }

// The documents that the agent answers with.
struct Kind {
  const char *root;
  ExitStatus (*verdict)(const xmlNode *root);
};
constexpr Kind kinds[] = {
    {"lsql_result", verdict_of_result},
    {"config", verdict_of_configuration},
    {"error", verdict_of_error},
};

const Kind *kind_of(xmlDoc *document) {
  const xmlNode *root = document != nullptr ? xmlDocGetRootElement(document) : nullptr;
  if (root == nullptr) return nullptr;
  for (const Kind &kind : kinds)
    if (is_named(root, kind.root)) return &kind;
  return nullptr;
}

} // namespace

Reply::Reply(std::string bytes) : bytes_(std::move(bytes)), document_(parse_xml(bytes_)) {
  if (document_ != nullptr) drop_layout(document_.get(), Layout::blanks);
}

bool Reply::usable() const noexcept { return kind_of(document_.get()) != nullptr; }

ExitStatus Reply::verdict() const noexcept {
  const Kind *kind = kind_of(document_.get());
  return kind != nullptr ? kind->verdict(xmlDocGetRootElement(document_.get())) : EXIT_REFUSED;
}

std::string Reply::raw() const { return bytes_.ends_with('\n') ? bytes_ : bytes_ + '\n'; }

std::string Reply::indented() const {
  std::string text = document_ != nullptr ? xml_text(document_.get(), true) : std::string();
  return text.empty() ? raw() : text;
}

} // namespace lsql
