#include "config/config_draft.hpp"

#include "config/config.h"
#include "core/guard.hpp"
#include "core/log_text.hpp"
#include "core/refuse.hpp"
#include "model/classes.hpp"
#include "xml/nodes.hpp"
#include <algorithm>
#include <cstring>

namespace vorn {

namespace {

// The class that an element is an instance of, or why there is none.
struct Choice {
  vorn_class *cls = nullptr;
  const char *name = nullptr; // of the class, as the document has it
  CString fault{};
};

// Throws std::bad_alloc.
template <class... Arguments> Choice fault(const char *format, Arguments... arguments) {
  char *text = nullptr;
  if (asprintf(&text, format, arguments...) < 0) throw std::bad_alloc();
  return {nullptr, nullptr, CString(text)};
}

// The subclass that an element of an abstract class names by its identifier property. `find` returns where
// the element has the child of a name, or null, and `text_of` its text, which may be null.
template <class Find, class Text> Choice choose_subclass(const vorn_class &cls, Find find, Text text) {
  const char *name = cls.name.c_str();
  const char *property = cls.subclass_identifier ? cls.subclass_identifier->name.c_str() : "(null)";
  const auto *identifier = find(property);
  if (!identifier)
    return fault("Instance of class \"%s\" does not contain a subclass identifier property \"%s\".", name,
                 property);
  const char *value = text(*identifier);
  if (!value)
    return fault("Instance of class \"%s\" subclass identifier property \"%s\" has a null value.", name,
                 property);
  vorn_class *subclass = vorn_classes_get(value);
  if (!subclass)
    return fault("Instance of class \"%s\" subclass identifier property \"%s\" value is an unknown class "
                 "\"%s\".",
                 name, property, Excerpt(value).get());
  if (!subclass->superclass_name || *subclass->superclass_name != name)
    return fault("Instance of class \"%s\" subclass identifier property \"%s\" value is \"%s\", which is not "
                 "a subclass of \"%s\".",
                 name, property, value, name);
  return {subclass, value};
}

template <class Find, class Text> Choice choose_class(const char *element, Find find, Text text) {
  vorn_class *cls = vorn_classes_get(element);
  if (!cls) return fault("Instance has an unknown class \"%s\".", Excerpt(element).get());
  return cls->abstract == 1 ? choose_subclass(*cls, find, text) : Choice{cls, element};
}

Choice choose_class(const Record &record) {
  const auto find = [&](const char *name) -> const Field * {
    const auto &fields = record.fields;
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&](const Field &field) { return strcmp(field.name, name) == 0; });
    return found == fields.end() ? nullptr : &*found;
  };
  return choose_class(record.element, find, [](const Field &field) { return field.text; });
}

const xmlNode *find_child(const xmlNode &element, const char *name) {
  for (const xmlNode *child = first_child(element); child; child = child->next)
    if (child->type == XML_ELEMENT_NODE && is_named(child, name)) return child;
  return nullptr;
}

// What is drafted for a field. One that is no property is kept by its name, for the log.
std::string_view content_of(const Field &field, const vorn_property *property) {
  if (!property) return field.name;
  return field.text ? std::string_view(field.text, field.length) : std::string_view();
}

} // namespace

void ConfigDraft::begin(std::string_view root) {
  right_root_ = root == root_name;
  known_.clear();
  elements_.clear();
}

void ConfigDraft::take(const Record &record) {
  if (!right_root_ || !keep_) return;
  Choice choice = choose_class(record);
  Element element{nullptr, std::move(choice.fault)};
  if (choice.cls) element.instance = make_draft(*choice.cls, record);
  elements_.push_back(std::move(element));
}

ConfigDraft::Element ConfigDraft::next() {
  Element element = std::move(elements_.front());
  elements_.pop_front();
  return element;
}

const vorn_property *ConfigDraft::property_of(const vorn_class &cls, const Record &record, size_t field) {
  const char *name = record.fields[field].name;
  if (field == known_.size()) known_.push_back({});
  Known &known = known_[field];
  if (known.cls != &cls || known.field != name) known = {&cls, name, vorn_class_get_property(&cls, name)};
  return known.property;
}

OwnedInstance ConfigDraft::make_draft(vorn_class &cls, const Record &record) {
  ValueRoom room;
  for (size_t i = 0; i < record.fields.size(); ++i)
    room.add(content_of(record.fields[i], property_of(cls, record, i)).size());
  OwnedInstance draft = make_instance(cls, record.name, room);
  for (size_t i = 0; i < record.fields.size(); ++i) {
    const vorn_property *property = known_[i].property;
    draft->values.push_back(make_value(*draft, property, content_of(record.fields[i], property)));
  }
  return draft;
}

} // namespace vorn

const char *vorn_config_get_class_name(const xmlDoc *, const xmlNode *element) noexcept {
  if (!element) return nullptr;
  return vorn::guarded<const char *>(nullptr, [&] {
    const auto find = [&](const char *name) { return vorn::find_child(*element, name); };
    const vorn::Choice choice = vorn::choose_class(vorn::node_name(*element), find, vorn::element_text);
    if (choice.fault) vorn_debug_eprintf("%s\n", choice.fault.get());
    return choice.name;
  });
}
