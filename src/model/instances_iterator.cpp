#include "core/guard.hpp"
#include "model/instances.hpp"

vorn_instances_iterator::vorn_instances_iterator(const vorn_instances &instances)
    : instances_(&instances), stores_(instances.all_stores().iterate()) {}

vorn_instances_iterator::vorn_instances_iterator(const vorn_instances &instances, const vorn_class &cls)
    : instances_(&instances) {
  if (cls.abstract == 1)
    subclasses_ = cls.subclasses.iterate();
  else if (vorn::ClassStore *store = instances.store(cls))
    cursor_ = store->cursor();
}

vorn_instances_iterator::vorn_instances_iterator(const vorn_instances &instances, const vorn_class &cls,
                                                 const char *name)
    : instances_(&instances) {
  if (vorn::ClassStore *store = instances.store(cls)) cursor_ = store->group_cursor(name);
}

// A walk that spans classes moves on to the next one that has instances.
vorn_instance *vorn_instances_iterator::peek() {
  for (;;) {
    if (vorn_instance *instance = cursor_.peek()) return instance;
    if (const auto *store = stores_.next()) {
      cursor_ = store->value->cursor();
    } else if (const auto *subclass = subclasses_.next()) {
      vorn::ClassStore *members = instances_->store(*subclass->value);
      cursor_ = members ? members->cursor() : vorn::ClassCursor();
    } else {
      return nullptr;
    }
  }
}

vorn_instance *vorn_instances_iterator::next() {
  vorn_instance *instance = peek();
  if (instance) cursor_.next();
  return instance;
}

vorn_instance *vorn_instances_iterator::peek_own() noexcept {
  vorn_instance *own = vorn::guarded<vorn_instance *>(nullptr, [&]() -> vorn_instance * {
    vorn_instance *shown = peek();
    return shown ? &vorn::own(const_cast<vorn_instances &>(*instances_), *shown) : nullptr;
  });
  if (!own) *this = {};
  return own;
}
