// What a configuration file says, before any of it has an effect: a file may turn out damaged at its end.
#pragma once

#include "core/handles.hpp"
#include "model/instance.hpp"
#include "xml/record_reader.hpp"
#include <deque>
#include <string>
#include <vector>

namespace vorn {

class ConfigDraft final : public RecordTaker {
public:
  static constexpr char root_name[] = "config";

  // One element below the root.
  struct Element {
    // Not checked yet. Its values wait to be set, one after the other; one without a property is the name of
    // an element that the class has no property for.
    OwnedInstance instance;
    CString fault; // in its place: why it can be no instance, without a line end
  };

  // Without `keep` it only sees whether the file is a configuration. Throws std::bad_alloc.
  explicit ConfigDraft(bool keep = true) : keep_(keep) {}

  void begin(std::string_view root) override;
  void take(const Record &record) override;

  bool has_right_root() const noexcept { return right_root_; }

  // Hands out the elements, the first one first, and keeps none of them.
  bool empty() const noexcept { return elements_.empty(); }
  Element next();

private:
  // What a field of one class has been found to be: most records are like the one before.
  struct Known {
    const vorn_class *cls;
    const char *field;
    const vorn_property *property;
  };

  const vorn_property *property_of(const vorn_class &cls, const Record &record, size_t field);
  OwnedInstance make_draft(vorn_class &cls, const Record &record);

  bool keep_;
  bool right_root_ = false;
  std::vector<Known> known_{}; // by the field's place in the record
  std::deque<Element> elements_{};
};

} // namespace vorn
