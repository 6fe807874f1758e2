#include "faults/soak_model.hpp"

namespace vorn::soak {

const std::vector<Class> classes = {
    {"system", Names::none, true, false, "", 0, {{"host"}, {"place"}, {"uptime", false}}},
    {"server", Names::none, false, false, "", 8, {{"address", true, true}, {"state"}}},
    {"wire", Names::unique, false, false, "port", 0, {{"speed"}}},
    {"port", Names::unique, false, true, "", 0, {{"mtu"}, {"status", false}}},
    {"air", Names::unique, false, false, "port", 0, {{"channel"}, {"maker", false, true}}},
    {"radio", Names::unique, false, false, "", 6, {{"mode"}, {"power"}, {"pin"}}},
    {"rule", Names::group, false, false, "", 12, {{"action", true, true}, {"note"}}},
};

namespace {

using std::string;

struct Maker {
  std::mt19937_64 &chance;
  bool passive = false;

  size_t below(size_t bound) { return chance() % bound; }
  bool one_in(size_t count) { return below(count) == 0; }
  template <class List> auto any(const List &list) { return list[below(std::size(list))]; }

  string class_name() { return one_in(40) ? "tunnel" : any(classes).name; }
  string instance_name() {
    static const string names[] = {"a", "b", "c", "d&e",
                                   "f", "g", "h", "a name of some length, for the heap"};
    return any(names);
  }
  string value() {
    static const string values[] = {
        "1", "2", "auto", "a & b", "<x>", "", "on a heap of its own, not in place"};
    static const string others[] = {"bad", "bad" + string(200, '-'), string(3000, 'v')};
    return one_in(40) ? any(others) : any(values);
  }
  string property_name(const Class *cls) {
    static const string others[] = {"type", "colour", "mtu", "channel"};
    return !cls || one_in(10) ? any(others) : any(cls->properties).name;
  }
  std::optional<string> name_for(const Class *cls, size_t wrong_one_in) {
    const bool named = cls && cls->names != Names::none;
    return named != one_in(wrong_one_in) ? std::optional(instance_name()) : std::nullopt;
  }
  void add_values(Element &element, const Class *cls, size_t most) {
    for (size_t count = below(most + 1); count > 0; --count) {
      const string name = property_name(cls);
      // Only the agent's own plugins are passive: they leave what an instance is alone.
      if (name != "type" || !passive) element.values.emplace_back(name, value());
    }
  }
  Element match() {
    Element element = {class_name(), {}, {}, {}};
    const Class *cls = find_class(element.cls);
    if (!one_in(3)) element.name = name_for(cls, 30);
    return element;
  }
  // One that has a chance to be taken: with its identifier, and most times with what is required.
  Element newcomer() {
    Element element = {class_name(), {}, {}, {}};
    const Class *cls = find_class(element.cls);
    element.name = name_for(cls, 40);
    if (cls && (cls->abstract || !cls->superclass.empty()) && !one_in(20)) {
      string type = cls->abstract || one_in(20) ? (one_in(2) ? "wire" : "air") : cls->name;
      element.values.emplace_back("type", type);
      cls = find_class(type);
    }
    for (const Property &property : cls ? cls->properties : std::vector<Property>())
      if (property.required ? !one_in(20) : property.writable && one_in(2))
        element.values.emplace_back(property.name, value());
    if (one_in(20)) element.values.emplace_back(any(std::vector<string>{"colour", "uptime", "mtu"}), value());
    return element;
  }
  Expression leaf(const string &kind, const string &text) { return {kind, text, {}}; }
  Expression expression(const Class *cls, size_t depth) {
    static const string kinds[] = {"and", "or",       "not",   "eq",       "eq",
                                   "eq",  "property", "value", "metadata", "maybe"};
    const string kind = depth == 0 ? "eq" : any(kinds);
    if (kind == "eq" && one_in(3))
      return {kind, "", {leaf("metadata", "name"), leaf("value", instance_name())}};
    if (kind == "eq") return {kind, "", {leaf("property", property_name(cls)), leaf("value", value())}};
    if (kind == "property") return leaf(kind, property_name(cls));
    if (kind == "value") return leaf(kind, value());
    if (kind == "metadata") return leaf(kind, one_in(5) ? "class" : "name");
    Expression made = {kind, "", {}};
    for (size_t count = kind == "not" || kind == "maybe" ? 1 : below(4); count > 0; --count)
      made.children.push_back(expression(cls, depth - 1));
    return made;
  }
  Operation operation() {
    static const string kinds[] = {"insert", "insert", "insert", "update", "update", "select", "delete"};
    Operation made = {one_in(100) ? "upsert" : any(kinds), {}, {}};
    if (made.kind == "insert") {
      for (size_t count = 1 + below(3); count > 0; --count) made.elements.push_back(newcomer());
      return made;
    }
    Element element = match();
    const Class *cls = find_class(element.cls);
    if (made.kind == "select") {
      add_values(element, cls, 4);
      if (one_in(3)) element.properties = one_in(10) ? "some" : "all";
    } else if (made.kind == "update") {
      add_values(element, cls, 3);
    }
    const bool whole_class = !element.name && made.kind == "delete" && !one_in(20);
    if (whole_class || one_in(2)) made.where = expression(cls, 3);
    made.elements.push_back(element);
    return made;
  }
};

} // namespace

Request make_request(std::mt19937_64 &chance) {
  Maker maker = {chance};
  Request request;
  request.transaction = maker.one_in(3);
  request.passive = maker.passive = maker.one_in(6);
  for (size_t count = 1 + maker.below(4); count > 0; --count) request.operations.push_back(maker.operation());
  return request;
}

} // namespace vorn::soak
