// The result of a request.
#pragma once

#include "core/growing_text.hpp"
#include "query/budget.hpp"
#include <cstddef>

namespace vorn {

// The room for an error's text, its end included: for most errors, and for those that name what is at fault
// only.
constexpr size_t error_size = 160;
constexpr size_t short_error_size = 80;

constexpr char no_memory[] = "No memory to evaluate the request.";

// Writes the document "lsql_result", in the bytes that libxml2 would write for it, while it comes. Its
// functions throw std::bad_alloc, and those that write what is selected LimitExceeded.
class Result {
public:
  explicit Result(Budget &budget);

  // Begins "dataset", into which the following instances go.
  void begin_dataset();
  // Begins an instance in the dataset; `name` may be null. The values that follow are its.
  void add_instance(const char *class_name, const char *name);
  // Adds a value, or an empty element for null and for what XML cannot carry.
  void add_value(const char *property, const char *value);

  // Adds an "error" whose text is cut at `size` - 1 bytes, between characters. The dataset ends before it.
  [[gnu::format(printf, 3, 4)]] void add_error(size_t size, const char *format, ...);

  // Adds "rc", the number of errors, and "counter", that of instances, which ends an operation.
  void end_operation(unsigned errors, unsigned counter);

  // Makes sure that an error, the end of an operation and that of the document need no more memory.
  void reserve_end() { text_.reserve(end_size); }

  // Drops what has come since the last operation ended, or everything.
  void drop_operation() noexcept;
  void drop_everything() noexcept;

  CString release();

private:
  // More than the longest error with every byte written as a reference, and the end tags around it.
  static constexpr size_t end_size = 16 * error_size;

  // An element that is open, with its start tag complete or not.
  void open(const char *name);
  void complete_start_tag();
  void close(const char *name);
  void close_dataset();
  void add_element(const char *name, const char *value);
  void charge();
  void drop_to(size_t size, bool complete) noexcept;

  Budget &budget_;
  GrowingText text_{};
  bool tag_is_complete_ = true; // the last start tag has its ">"
  const char *dataset_ = nullptr;
  const char *instance_ = nullptr; // their names, while they are open
  size_t head_size_;               // of what comes before the first operation
  size_t operation_start_;
  size_t charged_; // bytes that the budget knows of
};

} // namespace vorn
