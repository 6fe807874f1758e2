#include "model/classes.hpp"

#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/refuse.hpp"
#include "core/xml_text.hpp"

namespace {

using vorn::refuse;
using vorn::refuse_aloud;

// Plugins and instances refer to classes until the process has ended.
vorn::Immortal<vorn::Classes> table;

// Names become those of elements, and "lsql" and "where" are LSQL's own.
bool has_good_name(const vorn_class &cls) {
  const char *name = cls.name.c_str();
  if (!vorn::is_xml_name(name))
    return refuse_aloud("Class \"%s\" is refused: that is no XML name without a colon.\n", name);
  if (cls.name == "lsql" || cls.name == "where")
    return refuse_aloud("Class \"%s\" is refused: LSQL has elements of that name.\n", name);
  return true;
}

// Applies one pass of the closing to every class; each failing one is named.
template <class Pass> int pass_over_classes(Pass pass) {
  int result = 0;
  for (const auto &cls : vorn::classes()) {
    if (pass(cls.value) == 0) continue;
    vorn_debug_1printf("Class \"%s\" is invalid.\n", cls.name());
    result = 1;
  }
  return result;
}

} // namespace

vorn::Classes &vorn::classes() noexcept { return *table; }

int vorn_classes_add(vorn_class *cls) noexcept {
  if (!cls) return refuse("Null class.\n");
  if (!has_good_name(*cls)) return 1;
  return vorn::guarded(1, [&]() -> int {
    const char *name = cls->name.c_str();
    if (vorn::classes().insert(name, cls)) return 0;
    return refuse("Class with name \"%s\" already in classes.\n", name);
  });
}

vorn_class *vorn_classes_get(const char *name) noexcept {
  if (!name) return nullptr;
  const auto *entry = vorn::classes().find(name);
  return entry ? entry->value : nullptr;
}

vorn_classes_iterator *vorn_classes_new_iterator() noexcept {
  return vorn::guarded<vorn_classes_iterator *>(
      nullptr, [] { return new vorn_classes_iterator{vorn::classes().iterate()}; });
}

int vorn_classes_iterator_has_next(const vorn_classes_iterator *it) noexcept {
  if (!it) return refuse<0>("Null iterator.\n");
  return it->walk.has_next() ? 1 : 0;
}

vorn_class *vorn_classes_iterator_next(vorn_classes_iterator *it) noexcept {
  if (!it) return refuse("Null iterator.\n");
  const auto *entry = it->walk.next();
  return entry ? entry->value : nullptr;
}

int vorn_classes_delete_iterator(vorn_classes_iterator *it) noexcept {
  if (!it) return refuse("Null iterator.\n");
  delete it;
  return 0;
}

void vorn_classes_print(FILE *stream) noexcept {
  for (const auto &cls : vorn::classes()) {
    vorn_class_print(cls.value, stream);
    fputs("\n", stream);
  }
}

int vorn_classes_done_adding() noexcept {
  // A superclass knows its subclasses only when all of them have resolved: two passes.
  const int resolved = pass_over_classes(vorn_class_resolve);
  const int validated = pass_over_classes(vorn_class_validate);
  return resolved || validated ? 1 : 0;
}
