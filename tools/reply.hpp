// What the agent answered: how it is shown and what it means for the exit status.
#pragma once

#include "failure.hpp"
#include "layout.hpp"
#include <string>

namespace lsql {

// One reply: a result document, a configuration, or an error document.
class Reply {
public:
  explicit Reply(std::string bytes);

  // False for bytes that are no document, or none that the agent answers with.
  bool usable() const noexcept;

  // EXIT_DONE when the reply is usable and reports no error, else EXIT_REFUSED.
  ExitStatus verdict() const noexcept;

  // The reply's bytes, a newline added when there is none at the end.
  std::string raw() const;

  // The document indented for reading, its values untouched; what is no document comes as raw().
  std::string indented() const;

private:
  std::string bytes_;
  XmlDocument document_; // null when the bytes are no document
};

} // namespace lsql
