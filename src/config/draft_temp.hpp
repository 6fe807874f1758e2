#pragma once
#include "model/instance.hpp"
#include <optional>
#include <string>
#include <vector>
namespace vorn {
struct DraftInstance {
  vorn_class *cls;
  std::optional<std::string> name;
  std::vector<std::pair<const vorn_property *, std::string>> values;
};
using OwnedDraft = std::unique_ptr<DraftInstance>;
struct ValueRoom {
  size_t values, bytes;
};
inline OwnedDraft make_instance(vorn_class &cls, const char *name, ValueRoom room) {
  OwnedDraft draft(new DraftInstance{&cls, {}, {}});
  if (name) draft->name = name;
  draft->values.reserve(room.values);
  return draft;
}
inline void draft_value(DraftInstance &draft, const vorn_property *property, std::string_view text) {
  draft.values.emplace_back(property, text);
}
} // namespace vorn
