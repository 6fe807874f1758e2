#include "support/text_table.h"

#include "core/guard.hpp"
#include "core/handles.hpp"
#include "core/refuse.hpp"
#include "core/xml_text.hpp"
#include "model/class.h"
#include "model/instance.h"
#include "model/property.h"
#include "query/query.h"
#include "support/columns.hpp"
#include <cstring>
#include <string>
#include <string_view>

namespace {

using vorn::column_name;
using vorn::CString;
using vorn::is_key_column;
using vorn::refuse_aloud;

constexpr int table_size = 8000;
constexpr int ended_in_line = 4;

// Cuts a text into lines and fields by writing NULs into it.
class FieldReader {
public:
  explicit FieldReader(char *text) : cursor_(text) {}

  bool line_ended() const { return state_ != State::in_line; }
  bool input_ended() const { return state_ == State::end; }
  void start_line() { state_ = State::in_line; }

  // Returns the next field, or null when there is no text left.
  char *next() {
    if (*cursor_ == '\0') {
      state_ = State::end;
      return nullptr;
    }
    char *const field = *cursor_ == '"' ? open_quotes() : cursor_;
    char *const after = cursor_ + strcspn(cursor_, " \n");
    state_ = *after == ' ' ? State::in_line : *after == '\n' ? State::line_end : State::end;
    cursor_ = *after ? after + 1 : after;
    *after = '\0';
    return field;
  }

  void skip_line() {
    while (!line_ended() && next()) continue;
  }

private:
  // Takes the two quotes out and goes on after them. What stands between them moves over the closing one, to
  // what follows it.
  char *open_quotes() {
    char *const run = cursor_ + 1;
    const size_t length = strcspn(run, "\"");
    char *const field = run[length] ? run + 1 : run;
    memmove(field, run, length);
    cursor_ = field + length;
    return field;
  }

  enum class State { in_line, line_end, end } state_ = State::in_line;
  char *cursor_;
};

// The one value of the system that its files write in another form than the configuration.
const char *map_value(const char *class_name, const char *property, const char *value) {
  if (strcmp(class_name, "interface") != 0 || strcmp(property, "exclude-unencrypted") != 0) return value;
  return strcmp(value, "1") == 0 ? "on" : "off";
}

// A piece of a request. What is longer than its limit, counted before anything is escaped, is not whole.
class Piece {
public:
  explicit Piece(size_t limit) : limit_(limit) {}

  const std::string &text() const { return text_; }
  bool is_whole() const { return size_ <= limit_; }

  Piece &operator<<(std::string_view markup) {
    if (makes_room(markup.size())) text_ += markup;
    return *this;
  }
  Piece &operator<<(const Piece &other) {
    if (makes_room(other.size_)) text_ += other.text_;
    return *this;
  }
  // Appends what a file says, which is to be nothing but a value.
  Piece &add_field(const char *field) {
    if (makes_room(strlen(field))) vorn::append_xml_escaped_once(text_, field);
    return *this;
  }

private:
  bool makes_room(size_t size) { return (size_ += size) <= limit_; }

  std::string text_;
  size_t size_ = 0;
  size_t limit_;
};

// One line on its way to an update.
class LineUpdate {
public:
  explicit LineUpdate(const char *class_name) : class_name_(class_name) {}

  void add(const char *column, const char *field) {
    if (*column != '\0') build([&] { append_field(column, field); });
  }

  bool has_values() const { return has_values_; }

  // Returns whether the line was evaluated.
  bool evaluate() {
    Piece document(VORN_UTIL_LONGEST_UPDATE);
    build([&] { write(document); });
    if (lacks_memory_) return refuse_aloud("No memory for a line of values for class \"%s\".\n", class_name_);
    if (!name_.is_whole() || !values_.is_whole() || !conditions_.is_whole() || !document.is_whole())
      return refuse_aloud("A line of values for class \"%s\" is too long.\n", class_name_);
    const CString result(vorn_query_eval_passive(document.text().c_str()));
    return true;
  }

private:
  template <class Step> void build(Step step) {
    const bool built = vorn::guarded(false, [&] {
      step();
      return true;
    });
    lacks_memory_ = lacks_memory_ || !built;
  }

  void append_field(const char *column, const char *field) {
    const char *bare = is_key_column(column) ? column + 1 : column;
    if (strcmp(bare, "name") == 0) {
      has_name_ = true;
      name_ = Piece(VORN_UTIL_LONGEST_NAME).add_field(field);
    } else if (is_key_column(column)) {
      ++condition_count_;
      conditions_ << "<eq><property>" << bare << "</property><value>";
      conditions_.add_field(map_value(class_name_, bare, field)) << "</value></eq>";
    } else {
      has_values_ = true;
      const char *property = column_name(column);
      values_ << "<" << property << ">";
      values_.add_field(map_value(class_name_, property, field)) << "</" << property << ">";
    }
  }

  void write(Piece &document) const {
    document << "<?xml version=\"1.0\"?><lsql><update><" << class_name_;
    if (has_name_) document << " name=\"" << name_ << "\"";
    document << ">" << values_ << "</" << class_name_ << "></update>";
    if (condition_count_ == 1) document << "<where>" << conditions_ << "</where>";
    if (condition_count_ > 1) document << "<where><and>" << conditions_ << "</and></where>";
    document << "</lsql>";
  }

  const char *class_name_;
  bool lacks_memory_ = false;
  bool has_name_ = false;
  bool has_values_ = false;
  int condition_count_ = 0;
  Piece name_{VORN_UTIL_LONGEST_NAME};
  Piece values_{VORN_UTIL_LONGEST_VALUES};
  Piece conditions_{VORN_UTIL_LONGEST_CONDITIONS};
};

bool selects(const char *column) { return is_key_column(column) || strcmp(column, "name") == 0; }

// A line that ends before what it is to be selected by has that empty: it selects nothing.
LineUpdate read_line(FieldReader &reader, const char **columns, const char *class_name) {
  LineUpdate line(class_name);
  reader.start_line();
  for (const char **column = columns; *column; ++column) {
    const char *field = reader.line_ended() ? nullptr : reader.next();
    if (field || selects(*column)) line.add(*column, field ? field : "");
  }
  reader.skip_line();
  return line;
}

void read_table(vorn_util_txt_table &table) {
  char text[table_size] = "";
  if (table.read) table.read(table.read_arg, text, table_size - 1);
  text[table_size - 1] = '\0';
  if (table.parse) table.parse(text, table.columns, table.class_name);
}

// Calls `use` with the name of each column that is a property. Returns 0 when all calls did, else 1.
template <class Use> int for_each_property(vorn_util_txt_table **tables, Use use) {
  int failed = 0;
  for (vorn_util_txt_table **table = tables; table && *table; ++table)
    for (const char **column = (*table)->columns; column && *column; ++column)
      if (**column != '\0' && !is_key_column(*column) && use(column_name(*column)) != 0) failed = 1;
  return failed;
}

int add_property(vorn_class *cls, const char *name) {
  vorn_property *property = vorn_property_new(name);
  if (!property) return 1;
  vorn_property_set_writable(property, 0);
  vorn_property_set_persistence(property, 0);
  if (vorn_class_add_property(cls, property) == 0) return 0;
  vorn_property_delete(property);
  return 1;
}

} // namespace

int vorn_util_put2object(char *text, const char **columns, const char *class_name) noexcept {
  if (!text || !columns || !class_name) return refuse_aloud<0>("Null text, columns or class.\n");
  FieldReader reader(text);
  while (!reader.input_ended()) {
    LineUpdate line = read_line(reader, columns, class_name);
    if (!line.has_values()) return 0;
    const bool evaluated = line.evaluate();
    if (reader.input_ended()) return evaluated ? ended_in_line : 0;
  }
  return 0;
}

const char *vorn_util_txt_tables_get_val(vorn_instance *instance, vorn_util_txt_table **tables,
                                         const char *property_name) noexcept {
  if (!tables || !property_name) return nullptr;
  while (*tables && vorn::find_column((*tables)->columns, property_name) < 0) ++tables;
  if (!*tables) return nullptr;
  vorn_util_txt_table &table = **tables;
  if (table.last_transaction != vorn_query_transaction_number) {
    table.last_transaction = vorn_query_transaction_number; // first: the updates may ask for values again
    read_table(table);
  }
  return vorn_instance_get_value(instance, property_name);
}

int vorn_util_txt_tables_add_properties(vorn_util_txt_table **tables, vorn_class *cls) noexcept {
  return for_each_property(tables, [&](const char *name) { return add_property(cls, name); });
}

int vorn_util_txt_tables_add_refresh(vorn_util_txt_table **tables, vorn_refresher *refresher,
                                     vorn_refresher_property_fn fn) noexcept {
  return for_each_property(
      tables, [&](const char *name) { return vorn_refresher_set_property_fn(refresher, name, fn); });
}
