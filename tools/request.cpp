#include "request.hpp"

#include "failure.hpp"
#include "layout.hpp"
#include <cerrno>
#include <cstring>
#include <fstream>

namespace lsql {

namespace {

std::string read_all(std::istream &in, const std::string &name) {
  std::string text;
  char buffer[4096];
  errno = 0;
  while (in.read(buffer, sizeof buffer), in.gcount() > 0)
    text.append(buffer, static_cast<std::size_t>(in.gcount()));
  if (in.bad() || !in.eof()) throw Failure(EXIT_USAGE, name + ": " + std::strerror(errno != 0 ? errno : EIO));
  return text;
}

} // namespace

std::string read_request(const std::string &file, std::istream &in) {
  if (file == "-") return read_all(in, "standard input");
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw Failure(EXIT_USAGE, file + ": " + std::strerror(errno));
  return read_all(stream, file);
}

std::string compact_request(const std::string &text) {
  const XmlDocument document = parse_xml(text);
  if (document != nullptr && drop_layout(document.get(), Layout::blanks_and_comments)) {
    std::string compact = xml_text(document.get(), false);
    if (compact.empty()) throw std::bad_alloc();
    return compact;
  }
  return text.ends_with('\n') ? text.substr(0, text.size() - 1) : text;
}

} // namespace lsql
