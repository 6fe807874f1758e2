// Reads a file of records without a document of the whole: the elements below the root, each with a name and
// with elements that hold one text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorn {

// An element of a record. Its text is the content of its first child, or null when that is no text.
struct Field {
  const char *name;
  const char *text;
  size_t length;
};

// Lives as long as the call that hands it out. Names of elements are the same pointer when they are the same
// name, throughout one file.
struct Record {
  const char *element;
  const char *name; // the attribute "name", or null
  std::vector<Field> fields;
};

// Who gets what is read. Both functions throw std::bad_alloc, and must do nothing that a damaged file, which
// shows at its end, must not cause.
class RecordTaker {
public:
  virtual ~RecordTaker() = default;
  virtual void begin(std::string_view root) = 0; // forgets what came before: the file is read anew
  virtual void take(const Record &record) = 0;
};

enum class FileState {
  whole,    // everything was handed out, and the file is well-formed
  faulty,   // the reason is logged
  undecided // memory or descriptors did not suffice to tell
};

// The parser's events become records at once. A file with a document type declaration, with namespaces, or
// near libxml2's limits is read by way of a document, which knows what to make of those.
FileState read_records(const char *path, RecordTaker &taker) noexcept;

} // namespace vorn
