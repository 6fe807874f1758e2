// The text of a result, held against a document of libxml2 with the same content.
#include "query/result.hpp"

#include "common/xml.hpp"
#include <gtest/gtest.h>
#include <random>

namespace {

using std::string;

// A result as a document.
class Document {
public:
  void begin_dataset() { dataset_ = vorn::add_element(root_, "dataset"); }
  void add_instance(const string &name, const string *instance_name) {
    instance_ = vorn::add_element(dataset_, name.c_str());
    if (instance_name && vorn::xml_can_carry(instance_name->c_str()))
      vorn::set_attribute(instance_, "name", instance_name->c_str());
  }
  void add_value(const string &property, const string *value) {
    const bool shown = value && vorn::xml_can_carry(value->c_str());
    vorn::add_element(instance_, property.c_str(), shown ? value->c_str() : nullptr);
  }
  void add_error(const string &text) {
    vorn::add_element(root_, "error", vorn::xml_can_carry(text.c_str()) ? text.c_str() : nullptr);
  }
  void end_operation(unsigned errors, unsigned counter) {
    vorn::add_element(root_, "rc", std::to_string(errors).c_str());
    vorn::add_element(root_, "counter", std::to_string(counter).c_str());
  }
  string text() const { return vorn::dump(document_); }

private:
  vorn::XmlDocument document_{vorn::new_document("lsql_result")};
  xmlNode *root_ = xmlDocGetRootElement(document_.get());
  xmlNode *dataset_ = nullptr, *instance_ = nullptr;
};

string random_text(std::mt19937 &random) {
  static const char *const pieces[] = {
      "<",      ">",      "&",      "\"",         "'",          "\t",     "\n",     "\r",     " ",
      "a",      "]",      "\x7f",   "&amp;",      "\u0085",     "\u00e9", "\u07ff", "\u0800", "\u20ac",
      "\ud7ff", "\ue000", "\ufffd", "\U00010000", "\U0010ffff", "\1",     "\xff"};
  string text;
  for (auto length = random() % 4; length > 0; --length)
    text += pieces[random() % (std::size(pieces) - (random() % 8 ? 2 : 0))];
  return text;
}

// The same random operations to both; `forgotten` ones are dropped again on the way.
void random_operation(std::mt19937 &random, vorn::Result &result, Document *document) {
  if (random() % 2) {
    result.begin_dataset();
    if (document) document->begin_dataset();
    for (auto instances = random() % 3; instances > 0; --instances) {
      const string name = random_text(random);
      const bool named = random() % 2;
      result.add_instance("radio", named ? name.c_str() : nullptr);
      if (document) document->add_instance("radio", named ? &name : nullptr);
      for (auto values = random() % 3; values > 0; --values) {
        const string value = random_text(random);
        const bool set = random() % 4;
        result.add_value("p\u00e9", set ? value.c_str() : nullptr);
        if (document) document->add_value("p\u00e9", set ? &value : nullptr);
      }
    }
  }
  if (random() % 2) {
    const string error = random_text(random);
    result.add_error(vorn::error_size, "%s", error.c_str());
    if (document) document->add_error(error);
  }
}

TEST(Result, IsWhatLibxml2Writes) {
  std::mt19937 random(3);
  for (int i = 0; i < 3000; ++i) {
    vorn::Budget budget;
    vorn::Result result(budget);
    Document document;
    if (random() % 4 == 0) {
      random_operation(random, result, nullptr);
      result.drop_everything();
    }
    for (auto operations = random() % 4; operations > 0; --operations) {
      if (random() % 4 == 0) {
        random_operation(random, result, nullptr);
        result.drop_operation();
      }
      random_operation(random, result, &document);
      const auto errors = static_cast<unsigned>(random() % 2), counter = static_cast<unsigned>(random() % 20);
      result.end_operation(errors, counter);
      document.end_operation(errors, counter);
    }
    ASSERT_STREQ(result.release().get(), document.text().c_str());
  }
}

} // namespace
