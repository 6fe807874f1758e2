// The result document of a request.
#pragma once

#include "xml/handles.hpp"
#include <cstddef>

namespace vorn {

// The room for an error's text, its end included: for most errors, and for those that name what is at fault
// only.
constexpr size_t error_size = 160;
constexpr size_t short_error_size = 80;

// Builds "lsql_result". Its functions throw std::bad_alloc.
class Result {
public:
  Result();

  // Appends "dataset", into which the following instances go.
  void begin_dataset();
  // Appends an instance to the dataset; `name` may be null. The values that follow are its.
  void add_instance(const char *class_name, const char *name);
  // Appends a value, or an empty element for null and for what XML cannot carry.
  void add_value(const char *property, const char *value);

  // Appends an "error" whose text is cut at `size` - 1 bytes, between characters.
  [[gnu::format(printf, 3, 4)]] void add_error(size_t size, const char *format, ...);

  // Appends "rc", the number of errors, and "counter", that of instances, which ends an operation.
  void end_operation(unsigned errors, unsigned counter);

  XmlDocument release() { return std::move(document_); }

private:
  xmlNode *root() const { return xmlDocGetRootElement(document_.get()); }
  XmlDocument document_;
  xmlNode *dataset_ = nullptr;
  xmlNode *instance_ = nullptr;
};

} // namespace vorn
