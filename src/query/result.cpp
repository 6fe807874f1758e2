#include "query/result.hpp"

#include "xml/nodes.hpp"
#include <cstdarg>
#include <cstdio>
#include <new>
#include <string>

namespace vorn {

namespace {

xmlNode *append(xmlNode *parent, const char *name, const char *value = nullptr) {
  xmlNode *element = add_element(parent, name, value && xml_can_carry(value) ? value : nullptr);
  if (!element) throw std::bad_alloc();
  return element;
}

// Drops the first bytes of a character whose other bytes were cut off (UTF-8's lead and trail bytes).
void drop_cut_character(std::string &text) {
  size_t lead = text.size();
  while (lead > 0 && (text[lead - 1] & 0xc0) == 0x80) --lead;
  if (lead > 0 && (text[lead - 1] & 0xc0) == 0xc0) --lead;
  if (!xml_can_carry(text.c_str() + lead)) text.resize(lead);
}

} // namespace

Result::Result() : document_(new_document("lsql_result")) {
  if (!document_) throw std::bad_alloc();
}

void Result::begin_dataset() { dataset_ = append(root(), "dataset"); }

void Result::add_instance(const char *class_name, const char *name) {
  instance_ = append(dataset_, class_name);
  if (name && xml_can_carry(name) && !set_attribute(instance_, "name", name)) throw std::bad_alloc();
}

void Result::add_value(const char *property, const char *value) { append(instance_, property, value); }

void Result::add_error(size_t size, const char *format, ...) {
  std::string text(size, '\0');
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(text.data(), size, format, arguments);
  va_end(arguments);
  const bool cut = length < 0 || static_cast<size_t>(length) >= size;
  text.resize(cut ? size - 1 : static_cast<size_t>(length));
  if (cut) drop_cut_character(text);
  append(root(), "error", text.c_str());
}

void Result::end_operation(unsigned errors, unsigned counter) {
  append(root(), "rc", std::to_string(errors).c_str());
  append(root(), "counter", std::to_string(counter).c_str());
}

} // namespace vorn
