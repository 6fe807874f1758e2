// Whatever is passed here, libxml2 splits into the same markup. That is so where it finds no fault, and must
// be so after a fault as well, since it reads on. Two rules hold it:
//
// - A "<" begins markup, always. It stands nowhere else but in comments, CDATA sections and processing
//   instructions. After a fault within a tag libxml2 takes the tag's rest for text, and is back at the next
//   "<".
// - It leaves comments, sections and instructions where this look does: they hold only characters of XML, are
//   not longer than it takes, and an instruction has a target that it knows.
#include "query/request_check.hpp"

#include "core/limits.hpp"
#include "xml/nodes.hpp"
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <libxml/parserInternals.h>
#include <string_view>
#include <strings.h>

namespace vorn {

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool is_character_of_latin1(char c) { return static_cast<unsigned char>(c) >= 0x20 || is_blank(c); }

// XML 1.0's production 4, "NameStartChar".
bool starts_name(uint32_t c) {
  static constexpr struct {
    uint32_t first, last;
  } ranges[] = {{':', ':'},       {'A', 'Z'},       {'_', '_'},       {'a', 'z'},
                {0xc0, 0xd6},     {0xd8, 0xf6},     {0xf8, 0x2ff},    {0x370, 0x37d},
                {0x37f, 0x1fff},  {0x200c, 0x200d}, {0x2070, 0x218f}, {0x2c00, 0x2fef},
                {0x3001, 0xd7ff}, {0xf900, 0xfdcf}, {0xfdf0, 0xfffd}, {0x10000, 0xeffff}};
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [&](const auto &range) { return c >= range.first && c <= range.last; });
}

class Scanner {
public:
  explicit Scanner(const char *text) noexcept : at_(text) {}
  RequestCheck run() noexcept;

private:
  bool scan() noexcept;
  bool declaration() noexcept;
  bool declared(std::string_view name, std::string_view value) noexcept;
  bool characters() const noexcept;
  bool text() noexcept;
  bool markup() noexcept;
  bool comment() noexcept;
  bool section() noexcept;
  bool instruction() noexcept;
  bool end_tag() noexcept;
  bool start_tag() noexcept;
  bool attribute() noexcept;
  bool value(char quote) noexcept;
  bool reference() noexcept;

  bool fail(RequestFault fault) noexcept {
    fault_ = fault;
    return false;
  }
  bool take(std::string_view expected) noexcept {
    if (strncmp(at_, expected.data(), expected.size()) != 0) return false;
    at_ += expected.size();
    return true;
  }
  bool skip_blanks() noexcept {
    const char *start = at_;
    while (is_blank(*at_)) ++at_;
    return at_ != start;
  }
  // Up to a blank or a character that markup is made of; more than names are.
  std::string_view name() noexcept {
    const char *start = at_;
    at_ += strcspn(at_, " \t\n\r/>=<\"'&?");
    return {start, static_cast<size_t>(at_ - start)};
  }
  // Goes on after `end`; what stands before it has a length that libxml2 takes.
  bool skip_behind(const char *end) noexcept;

  const char *at_;
  bool latin1_ = false;
  RequestFault fault_ = RequestFault::not_well_formed;
  size_t nodes_ = 0;
  size_t attributes_ = 0; // of the present tag
  size_t namespaces_ = 0;
};

RequestCheck Scanner::run() noexcept {
  const bool passed = scan();
  return {passed ? RequestFault::none : fault_, nodes_};
}

bool Scanner::scan() noexcept {
  take("\xef\xbb\xbf"); // the mark of UTF-8
  if (strncmp(at_, "<?xml", 5) == 0 && is_blank(at_[5]) && !declaration()) return false;
  if (!characters()) return false;
  for (;;) {
    if (!text()) return false;
    if (!*at_) return true;
    if (!markup()) return false;
  }
}

// Values are plain words here, so that libxml2 finds the same end whatever it thinks of them.
bool Scanner::declaration() noexcept {
  at_ += 5;
  while (skip_blanks() && *at_ != '?') {
    const std::string_view what = name();
    skip_blanks();
    if (!take("=")) return false;
    skip_blanks();
    const char quote = *at_++;
    if (quote != '"' && quote != '\'') return false;
    const char *start = at_;
    while (isalnum(static_cast<unsigned char>(*at_)) || (*at_ && strchr("._-:", *at_))) ++at_;
    if (!declared(what, {start, static_cast<size_t>(at_ - start)}) || *at_++ != quote) return false;
  }
  return take("?>");
}

bool Scanner::declared(std::string_view name, std::string_view value) noexcept {
  if (name != "encoding") return true;
  const auto is = [&](std::string_view encoding) {
    return value.size() == encoding.size() && strncasecmp(value.data(), encoding.data(), value.size()) == 0;
  };
  latin1_ = is("ISO-8859-1");
  return latin1_ || is("UTF-8") || is("UTF8") || is("US-ASCII") || is("ASCII") ||
         fail(RequestFault::encoding);
}

bool Scanner::characters() const noexcept {
  if (!latin1_) return is_xml_characters(at_);
  for (const char *c = at_; *c; ++c)
    if (!is_character_of_latin1(*c)) return false;
  return true;
}

// Up to the next markup, or the end.
bool Scanner::text() noexcept {
  if (*at_ && *at_ != '<') ++nodes_;
  for (;;) {
    at_ += strcspn(at_, "<&]");
    if (*at_ == '&') {
      if (!reference()) return false;
    } else if (*at_ == ']') {
      if (strncmp(at_, "]]>", 3) == 0) return false;
      ++at_;
    } else {
      return true;
    }
  }
}

bool Scanner::markup() noexcept {
  if (at_[1] == '/') return end_tag();
  ++nodes_;
  if (take("<!--")) return comment();
  if (take("<![CDATA[")) return section();
  if (take("<?")) return instruction();
  if (at_[1] != '!') return start_tag();
  return strncmp(at_, "<!DOCTYPE", 9) == 0 ? fail(RequestFault::document_type) : false;
}

bool Scanner::skip_behind(const char *end) noexcept {
  const char *found = strstr(at_, end);
  if (!found) return false;
  const auto length = static_cast<size_t>(found - at_) * (latin1_ ? 2 : 1);
  at_ = found + strlen(end);
  return length < XML_MAX_TEXT_LENGTH;
}

bool Scanner::comment() noexcept { return skip_behind("--") && take(">"); }

bool Scanner::section() noexcept { return skip_behind("]]>"); }

bool Scanner::instruction() noexcept {
  const uint32_t first = latin1_ ? static_cast<unsigned char>(*at_) : decode_utf8(at_).character;
  return starts_name(first) && name().size() * (latin1_ ? 2 : 1) < XML_MAX_NAME_LENGTH && skip_behind("?>");
}

bool Scanner::end_tag() noexcept {
  at_ += 2;
  at_ += strcspn(at_, "<>");
  return take(">");
}

bool Scanner::start_tag() noexcept {
  ++at_;
  if (name().empty()) return false;
  for (attributes_ = 0;;) {
    const bool separated = skip_blanks();
    if (take("/>") || take(">")) return true;
    if (!separated || !attribute()) return false;
  }
}

bool Scanner::attribute() noexcept {
  const std::string_view what = name();
  skip_blanks();
  if (what.empty() || !take("=")) return false;
  skip_blanks();
  const char quote = *at_;
  if ((quote != '"' && quote != '\'') || !value(quote)) return false;
  nodes_ += 2; // it and its value
  if (++attributes_ > max_attributes) return fail(RequestFault::attributes);
  if (what.starts_with("xmlns") && ++namespaces_ > max_namespaces) return fail(RequestFault::namespaces);
  return true;
}

bool Scanner::value(char quote) noexcept {
  const char stops[] = {quote, '<', '&', '\0'};
  ++at_;
  for (;;) {
    at_ += strcspn(at_, stops);
    if (*at_ == quote) {
      ++at_;
      return true;
    }
    if (*at_ != '&' || !reference()) return false;
  }
}

// Without a document type there are no entities but XML's own.
bool Scanner::reference() noexcept {
  for (const char *entity : {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"})
    if (take(entity)) return true;
  if (!take("&#")) return false;
  const char *digits = take("x") ? "0123456789abcdefABCDEF" : "0123456789";
  const size_t count = strspn(at_, digits);
  at_ += count;
  return count > 0 && take(";");
}

} // namespace

RequestCheck check_request(const char *text) noexcept { return Scanner(text).run(); }

const char *explain(RequestFault fault) noexcept {
  switch (fault) {
  case RequestFault::document_type: return "it has a document type declaration";
  case RequestFault::attributes: return "a tag has too many attributes";
  case RequestFault::namespaces: return "it has too many namespace declarations";
  case RequestFault::encoding: return "its encoding is not UTF-8, US-ASCII or ISO-8859-1";
  default: return nullptr;
  }
}

} // namespace vorn
