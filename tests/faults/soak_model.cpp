#include "faults/soak_model.hpp"

#include <algorithm>

namespace vorn::soak {

namespace {

using std::string;
using std::to_string;

const Property identifier = {"type", false, true};

string escape(const string &text) {
  string out;
  for (const char c : text) out += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : string(1, c);
  return out;
}

string element(const string &name, const string &content, const string &attributes = "") {
  const string head = "<" + name + attributes;
  return content.empty() ? head + "/>" : head + ">" + content + "</" + name + ">";
}

string name_attribute(const std::optional<string> &name) {
  return name ? " name=\"" + escape(*name) + "\"" : "";
}

// ---- The schema ----

// Those that have instances which an element of this name stands for, in the order of a walk.
std::vector<const Class *> concrete_classes(const string &name) {
  std::vector<const Class *> found;
  for (const Class &cls : classes)
    if (!cls.abstract && (cls.name == name || cls.superclass == name)) found.push_back(&cls);
  return found;
}

// Those of the abstract class first.
std::vector<Property> all_properties(const Class &cls) {
  std::vector<Property> all;
  if (!cls.superclass.empty()) all = all_properties(*find_class(cls.superclass));
  if (cls.abstract) all.push_back(identifier);
  all.insert(all.end(), cls.properties.begin(), cls.properties.end());
  return all;
}

std::optional<Property> find_property(const Class &cls, const string &name) {
  for (const Property &property : all_properties(cls))
    if (property.name == name) return property;
  return {};
}

// ---- where ----

using Text = std::optional<string>;

Text value_of(const Instance &instance, const string &property) {
  const auto found = instance.values.find(property);
  return found == instance.values.end() ? Text() : found->second;
}

Text yield(const Expression &expression, const Instance &instance) {
  const auto holds = [&](const Expression &child) { return yield(child, instance).has_value(); };
  const auto truth = [](bool value) { return value ? Text("true") : Text(); };
  const auto &children = expression.children;
  if (expression.kind == "property") return value_of(instance, expression.text);
  if (expression.kind == "value") return expression.text.empty() ? Text() : expression.text;
  if (expression.kind == "metadata") return expression.text == "name" ? instance.name : Text();
  if (expression.kind == "not") return truth(!holds(children.at(0)));
  if (expression.kind == "and") return truth(std::all_of(children.begin(), children.end(), holds));
  if (expression.kind == "or") return truth(std::any_of(children.begin(), children.end(), holds));
  if (expression.kind != "eq") return {};
  const Text left = yield(children.at(0), instance), right = yield(children.at(1), instance);
  return truth(left && right && *left == *right);
}

// ---- The operations ----

// One operation on its way through the second pass.
struct Work {
  Model &model;
  const Operation &operation;
  bool passive;
  string data{}, error{};
  size_t counter = 0;
  const Element &element = operation.elements.front();

  bool fail(const string &text) {
    error = text.substr(0, 159);
    return false;
  }
  bool matches(const Class &cls, const Instance &instance) const {
    if (element.name && (cls.names == Names::none || instance.name != element.name)) return false;
    return !operation.where || yield(*operation.where, instance);
  }
  template <class Visit> void walk(Visit visit) {
    for (const Class *cls : concrete_classes(element.cls))
      for (Instance &instance : model.instances[cls->name])
        if (matches(*cls, instance) && !visit(*cls, instance)) return;
  }
  void select();
  void update();
  void remove();
  bool insert(const Element &added);
  bool set(const Class &cls, Instance &instance, const Element &source, bool inserting);
  bool add(const Class &cls, const Instance &instance);
};

void Work::select() {
  walk([&](const Class &, const Instance &instance) {
    ++counter;
    string values;
    const auto append = [&](const string &name) {
      values += vorn::soak::element(name, escape(value_of(instance, name).value_or("")));
    };
    if (element.properties == "all")
      for (const Property &property : all_properties(*find_class(element.cls))) append(property.name);
    else if (element.properties)
      fail("Invalid properties=\"" + *element.properties + "\".");
    else
      for (const auto &value : element.values) append(value.first);
    data += vorn::soak::element(element.cls, values, name_attribute(instance.name));
    return error.empty();
  });
  data = vorn::soak::element("dataset", data);
}

bool Work::set(const Class &cls, Instance &instance, const Element &source, bool inserting) {
  for (const auto &[name, value] : source.values) {
    const auto property = find_property(cls, name);
    const string of = "property \"" + name + "\" of class \"" + source.cls + "\"";
    if (!property) return fail("Property \"" + name + "\" is not valid for class \"" + source.cls + "\".");
    if (!passive && !property->writable && !(inserting && property->required))
      return fail("P" + of.substr(1) + " is not writable.");
    const bool keeps_class = name != identifier.name || value == cls.name;
    if (!value_is_good(value) || !keeps_class)
      return fail("Value \"" + value + "\" is not valid for " + of + ".");
    instance.values[name] = value;
  }
  return true;
}

void Work::update() {
  if (!find_class(element.cls)) {
    fail("Unknown class \"" + element.cls + "\".");
    return;
  }
  walk([&](const Class &cls, Instance &instance) {
    if (!set(cls, instance, element, false)) return false;
    ++counter;
    return true;
  });
}

void Work::remove() {
  for (const Class *cls : concrete_classes(element.cls))
    counter += std::erase_if(model.instances[cls->name],
                             [&](const Instance &instance) { return matches(*cls, instance); });
}

// Those of a group stay together.
bool Work::add(const Class &cls, const Instance &instance) {
  auto &all = model.instances[cls.name];
  const auto same = [&](const Instance &other) { return other.name == instance.name; };
  if (cls.singleton && !all.empty()) return false;
  if (cls.names == Names::unique)
    for (const Class *sibling : concrete_classes(cls.superclass.empty() ? cls.name : cls.superclass)) {
      const auto &others = model.instances[sibling->name];
      if (std::any_of(others.begin(), others.end(), same)) return false;
    }
  const auto last = std::find_if(all.rbegin(), all.rend(), same);
  all.insert(cls.names == Names::group && last != all.rend() ? last.base() : all.end(), instance);
  return true;
}

bool Work::insert(const Element &added) {
  const Class *cls = find_class(added.cls);
  if (cls && cls->abstract) {
    const auto type = std::find_if(added.values.begin(), added.values.end(),
                                   [](const auto &value) { return value.first == identifier.name; });
    const Class *subclass = type == added.values.end() ? nullptr : find_class(type->second);
    cls = subclass && subclass->superclass == cls->name ? subclass : nullptr;
  }
  if (!cls) return fail("Unknown class \"" + added.cls + "\".");
  const string named = "\"" + added.name.value_or("(null)") + "\" of class \"" + cls->name + "\".";
  if (added.name.has_value() != (cls->names != Names::none)) return fail("Bad instance name " + named);
  Instance instance = {added.name, {}};
  if (!set(*cls, instance, added, true)) return false;
  if (cls->most && model.instances[cls->name].size() >= cls->most)
    return fail("Instance is invalid: Class \"" + cls->name + "\" validation function failed");
  for (const Property &property : all_properties(*cls))
    if (property.required && !value_of(instance, property.name))
      return fail("Instance is invalid: Property \"" + property.name + "\" of class \"" + cls->name +
                  "\" is required on insert but not set.");
  if (!add(*cls, instance)) return fail("Couldn't add instance " + named);
  ++counter;
  return true;
}

string ending(const string &error, size_t counter) {
  return (error.empty() ? "<rc>0</rc>" : "<error>" + escape(error) + "</error><rc>1</rc>") + "<counter>" +
         to_string(counter) + "</counter>";
}

// Returns what the reply holds, and whether there was an error.
std::pair<string, bool> note(const Operation &operation) {
  const string cls = operation.elements.front().cls;
  if (operation.kind == "upsert") return {ending("Invalid operation \"upsert\".", 0), true};
  if (operation.kind == "update" && !find_class(cls))
    return {ending("Unknown class \"" + cls + "\".", 0), true};
  return {(operation.kind == "select" ? "<dataset/>" : "") + ending("", 0), false};
}

std::pair<string, bool> carry_out(Model &model, const Operation &operation, bool passive) {
  Work work = {model, operation, passive};
  if (operation.kind == "select") work.select();
  if (operation.kind == "update") work.update();
  if (operation.kind == "delete") work.remove();
  if (operation.kind == "insert")
    for (const Element &added : operation.elements)
      if (!work.insert(added)) break;
  return {work.data + ending(work.error, work.counter), !work.error.empty()};
}

string to_xml(const Expression &expression) {
  string content = escape(expression.text);
  for (const Expression &child : expression.children) content += to_xml(child);
  return element(expression.kind, content);
}

string to_xml(const Element &cls) {
  string content;
  for (const auto &[name, value] : cls.values) content += element(name, escape(value));
  return element(cls.cls, content,
                 name_attribute(cls.name) +
                     (cls.properties ? " properties=\"" + escape(*cls.properties) + "\"" : ""));
}

} // namespace

const Class *find_class(const string &name) {
  const auto found =
      std::find_if(classes.begin(), classes.end(), [&](const Class &cls) { return cls.name == name; });
  return found == classes.end() ? nullptr : &*found;
}

bool value_is_good(const string &value) { return !value.starts_with("bad"); }

string to_xml(const Request &request) {
  string content;
  for (const Operation &operation : request.operations) {
    string elements;
    for (const Element &cls : operation.elements) elements += to_xml(cls);
    content += element(operation.kind, elements);
    if (operation.where) content += element("where", to_xml(*operation.where));
  }
  return element("lsql", request.transaction ? element("write-transaction", content) : content);
}

string reply_of(const std::vector<string> &operations, size_t count, const string &more) {
  string content;
  for (size_t i = 0; i < count; ++i) content += operations[i];
  return "<?xml version=\"1.0\"?>\n" + element("lsql_result", content + more) + "\n";
}

Prediction predict(const Model &before, const Request &request) {
  Prediction made = {{}, {}, {before}, {}, before};
  bool failed = false;
  for (const Operation &operation : request.operations) {
    auto [text, error] = note(operation);
    made.noted.push_back(text);
    failed = error;
    if (operation.kind == "upsert") break;
  }
  if (failed) {
    made.reply = reply_of(made.noted, made.noted.size());
    return made;
  }
  for (auto operation = request.operations.begin(); operation != request.operations.end() && !failed;
       ++operation) {
    made.states.push_back(made.states.back());
    auto [text, error] = carry_out(made.states.back(), *operation, request.passive);
    made.done.push_back(text);
    failed = error;
  }
  made.reply = reply_of(made.done, made.done.size());
  if (!request.transaction || (!failed && !request.passive)) made.after = made.states.back();
  const bool reads_last = request.operations.back().kind == "select" && !request.transaction;
  made.commits = !failed && !request.passive && !reads_last;
  return made;
}

} // namespace vorn::soak
