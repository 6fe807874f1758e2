#include "xml/record_reader.hpp"

#include "core/guard.hpp"
#include "xml/nodes.hpp"
#include "xml/parse_file.hpp"
#include <cstring>

namespace vorn {

namespace {

// libxml2 refuses a text node of 10 000 000 bytes, and elements 256 deep, when it builds a document.
constexpr size_t usual_text = 9'000'000;
constexpr unsigned usual_depth = 200;

// One record while it comes. Its texts lie in one block, one after the other.
class RecordBuilder {
public:
  void begin(const char *element) {
    record_.element = element;
    record_.name = nullptr;
    record_.fields.clear();
    texts_.clear();
  }
  void set_name(std::string_view name) {
    record_.name = "";
    texts_.append(name).push_back('\0');
  }
  void add_field(const char *name) { record_.fields.push_back({name, nullptr, 0}); }
  void add_text(std::string_view piece) {
    Field &field = record_.fields.back();
    field.text = ""; // there is one
    field.length += piece.size();
    texts_.append(piece);
  }
  void end_field() {
    if (record_.fields.back().text) texts_.push_back('\0');
  }

  // The texts have their places now that there are no more.
  const Record &finish() {
    const char *at = texts_.c_str();
    if (record_.name) {
      record_.name = at;
      at += strlen(at) + 1;
    }
    for (Field &field : record_.fields) {
      if (!field.text) continue;
      field.text = at;
      at += field.length + 1;
    }
    return record_;
  }

private:
  Record record_{};
  std::string texts_{};
};

// The handlers of the parser that read a usual file.
class RecordStream final : public ParserUser {
public:
  explicit RecordStream(RecordTaker &taker) noexcept : taker_(taker) {}
  int set_up(xmlParserCtxt &parser) noexcept override;

  // Whether it has stopped since the file needs a document.
  bool is_unusual() const noexcept { return unusual_; }

private:
  enum class Text { none, plain, cdata };
  enum Depth : unsigned { root_depth = 1, record_depth, field_depth };

  template <class Body> static void handle(void *context, Body body);
  static void start_element(void *context, const xmlChar *name, const xmlChar *prefix, const xmlChar *uri,
                            int namespaces, const xmlChar **, int attributes, int, const xmlChar **attribute);
  static void end_element(void *context, const xmlChar *, const xmlChar *, const xmlChar *);
  static void characters(void *context, const xmlChar *text, int length);
  static void cdata(void *context, const xmlChar *text, int length);
  static void document_type(void *context, const xmlChar *, const xmlChar *, const xmlChar *);
  static void comment(void *context, const xmlChar *);
  static void instruction(void *context, const xmlChar *, const xmlChar *);

  void start(const char *name, const xmlChar **attribute, int attributes);
  void end();
  void add(std::string_view piece, Text kind);
  void end_text(size_t nodes) noexcept;

  RecordTaker &taker_;
  RecordBuilder builder_{};
  unsigned depth_ = 0;
  size_t nodes_ = 0;       // children of the element that is open; as far as it matters
  Text text_ = Text::none; // the last of them, while it may go on
  size_t length_ = 0;      // its bytes so far
  bool unusual_ = false;
  bool stopped_ = false;
};

// Nothing may be thrown through libxml2.
template <class Body> void RecordStream::handle(void *context, Body body) {
  auto *parser = static_cast<xmlParserCtxt *>(context);
  auto &stream = *static_cast<RecordStream *>(parser->_private);
  if (stream.stopped_) return;
  const bool done = guarded(false, [&] {
    body(stream);
    return true;
  });
  if (done && !stream.unusual_) return;
  stream.stopped_ = true;
  xmlStopParser(parser);
}

int RecordStream::set_up(xmlParserCtxt &parser) noexcept {
  parser._private = this;
  xmlSAXHandler &handlers = *parser.sax;
  handlers.internalSubset = document_type;
  handlers.startElementNs = start_element;
  handlers.endElementNs = end_element;
  handlers.characters = handlers.ignorableWhitespace = characters;
  handlers.cdataBlock = cdata;
  handlers.comment = comment;
  handlers.processingInstruction = instruction;
  return XML_PARSE_NOENT; // attributes come without references; there are no entities but XML's own five
}

void RecordStream::start_element(void *context, const xmlChar *name, const xmlChar *prefix,
                                 const xmlChar *uri, int namespaces, const xmlChar **, int attributes, int,
                                 const xmlChar **attribute) {
  handle(context, [&](RecordStream &stream) {
    if (prefix || uri || namespaces > 0)
      stream.unusual_ = true;
    else
      stream.start(text_of(name), attribute, attributes);
  });
}

void RecordStream::end_element(void *context, const xmlChar *, const xmlChar *, const xmlChar *) {
  handle(context, [](RecordStream &stream) { stream.end(); });
}

void RecordStream::characters(void *context, const xmlChar *text, int length) {
  handle(context, [&](RecordStream &stream) {
    stream.add({text_of(text), static_cast<size_t>(length)}, Text::plain);
  });
}

void RecordStream::cdata(void *context, const xmlChar *text, int length) {
  handle(context, [&](RecordStream &stream) {
    stream.add({text_of(text), static_cast<size_t>(length)}, Text::cdata);
  });
}

void RecordStream::document_type(void *context, const xmlChar *, const xmlChar *, const xmlChar *) {
  handle(context, [](RecordStream &stream) { stream.unusual_ = true; });
}

void RecordStream::comment(void *context, const xmlChar *) {
  handle(context, [](RecordStream &stream) { stream.end_text(stream.nodes_ + 1); });
}

void RecordStream::instruction(void *context, const xmlChar *, const xmlChar *) {
  handle(context, [](RecordStream &stream) { stream.end_text(stream.nodes_ + 1); });
}

void RecordStream::start(const char *name, const xmlChar **attribute, int attributes) {
  if (++depth_ > usual_depth) unusual_ = true;
  if (depth_ == root_depth)
    taker_.begin(name);
  else if (depth_ == record_depth)
    builder_.begin(name);
  else if (depth_ == field_depth)
    builder_.add_field(name);
  end_text(0);
  for (; attributes > 0; --attributes, attribute += 5) { // its name, prefix, URI, value and the value's end
    if (attribute[1]) unusual_ = true;
    if (depth_ == record_depth && strcmp(text_of(attribute[0]), "name") == 0)
      builder_.set_name({text_of(attribute[3]), text_of(attribute[4])});
  }
}

void RecordStream::end() {
  if (depth_ == field_depth) builder_.end_field();
  if (depth_ == record_depth) taker_.take(builder_.finish());
  --depth_;
  end_text(1);
}

// Pieces of one kind are one node.
void RecordStream::add(std::string_view piece, Text kind) {
  if (text_ != kind) end_text(nodes_ + 1);
  text_ = kind;
  length_ += piece.size();
  if (length_ > usual_text) unusual_ = true;
  if (depth_ == field_depth && nodes_ == 1) builder_.add_text(piece);
}

void RecordStream::end_text(size_t nodes) noexcept {
  nodes_ = nodes;
  text_ = Text::none;
  length_ = 0;
}

void take_element(const xmlNode &element, RecordBuilder &builder, RecordTaker &taker) {
  builder.begin(node_name(element));
  if (const char *name = vorn_util_xmlGetProp(&element, "name")) builder.set_name(name);
  for (const xmlNode *child = first_child(element); child; child = child->next) {
    if (child->type != XML_ELEMENT_NODE) continue;
    builder.add_field(node_name(*child));
    if (const char *text = element_text(*child)) builder.add_text(text);
    builder.end_field();
  }
  taker.take(builder.finish());
}

bool take_document(const xmlDoc &document, RecordTaker &taker) {
  const xmlNode *root = xmlDocGetRootElement(&document);
  RecordBuilder builder;
  taker.begin(node_name(*root));
  for (const xmlNode *child = root->children; child; child = child->next)
    if (child->type == XML_ELEMENT_NODE) take_element(*child, builder, taker);
  return true;
}

FileState state_of(const ParsedFile &file) {
  if (file.undecided) return FileState::undecided;
  return file.document ? FileState::whole : FileState::faulty;
}

FileState read_by_document(const char *path, RecordTaker &taker) {
  const ParsedFile file = parse_file(path);
  if (file.document && !guarded(false, [&] { return take_document(*file.document, taker); }))
    return FileState::undecided;
  return state_of(file);
}

} // namespace

FileState read_records(const char *path, RecordTaker &taker) noexcept {
  RecordStream stream(taker);
  const FileState state = state_of(parse_file(path, &stream));
  return stream.is_unusual() ? read_by_document(path, taker) : state;
}

} // namespace vorn
