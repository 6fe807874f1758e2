#include "query/result.hpp"

#include "xml/nodes.hpp"
#include "xml/serialize.hpp"
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

namespace vorn {

namespace {

constexpr char root[] = "lsql_result";

// Drops the first bytes of a character whose other bytes were cut off (UTF-8's lead and trail bytes).
void drop_cut_character(char *text) {
  char *lead = text + strlen(text);
  while (lead > text && (lead[-1] & 0xc0) == 0x80) --lead;
  if (lead > text && (lead[-1] & 0xc0) == 0xc0) --lead;
  if (!xml_can_carry(lead)) *lead = '\0';
}

} // namespace

Result::Result(Budget &budget) : budget_(budget) {
  text_ += "<?xml version=\"1.0\"?>\n";
  open(root);
  head_size_ = operation_start_ = charged_ = text_.size();
}

void Result::open(const char *name) {
  complete_start_tag();
  (text_ += "<") += name;
  tag_is_complete_ = false;
}

void Result::complete_start_tag() {
  if (!tag_is_complete_) text_ += ">";
  tag_is_complete_ = true;
}

// An element without content is one tag.
void Result::close(const char *name) {
  if (tag_is_complete_)
    ((text_ += "</") += name) += ">";
  else
    text_ += "/>";
  tag_is_complete_ = true;
}

void Result::close_dataset() {
  if (instance_) close(instance_);
  if (dataset_) close(dataset_);
  instance_ = dataset_ = nullptr;
}

void Result::add_element(const char *name, const char *value) {
  open(name);
  const size_t head = text_.size();
  if (value && *value) complete_start_tag();
  if (tag_is_complete_ && !append_xml_text(text_, value)) {
    text_.cut(head);
    tag_is_complete_ = false;
  }
  close(name);
}

void Result::charge() {
  const size_t added = text_.size() - charged_;
  charged_ = text_.size();
  budget_.add_result(added);
}

void Result::begin_dataset() { open(dataset_ = "dataset"); }

void Result::add_instance(const char *class_name, const char *name) {
  if (instance_) close(instance_);
  open(instance_ = class_name);
  const size_t head = text_.size();
  if (name) text_ += " name=\"";
  if (name && append_xml_attribute(text_, name))
    text_ += "\"";
  else
    text_.cut(head);
  charge();
}

void Result::add_value(const char *property, const char *value) {
  add_element(property, value);
  charge();
}

void Result::add_error(size_t size, const char *format, ...) {
  char text[error_size];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(text, size, format, arguments);
  va_end(arguments);
  if (length < 0) *text = '\0';
  if (static_cast<size_t>(length) >= size) drop_cut_character(text);
  close_dataset();
  add_element("error", text);
}

void Result::end_operation(unsigned errors, unsigned counter) {
  close_dataset();
  add_element("rc", std::to_string(errors).c_str());
  add_element("counter", std::to_string(counter).c_str());
  operation_start_ = text_.size();
}

void Result::drop_to(size_t size, bool complete) noexcept {
  text_.cut(size);
  if (charged_ > size) {
    budget_.drop_result(charged_ - size);
    charged_ = size;
  }
  tag_is_complete_ = complete;
  instance_ = dataset_ = nullptr;
}

void Result::drop_operation() noexcept { drop_to(operation_start_, operation_start_ != head_size_); }

void Result::drop_everything() noexcept {
  operation_start_ = head_size_;
  drop_to(head_size_, false);
}

CString Result::release() {
  close(root);
  text_ += "\n";
  return text_.release();
}

} // namespace vorn
