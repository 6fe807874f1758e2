#include "model/instances.hpp"

vorn_instances_iterator::vorn_instances_iterator(const vorn_instances &instances)
    : instances_(&instances), stores_(instances.stores.iterate()) {
  skip_empty_classes();
}

vorn_instances_iterator::vorn_instances_iterator(const vorn_instances &instances, const vorn_class &cls)
    : instances_(&instances) {
  if (cls.abstract == 1)
    subclasses_ = cls.subclasses.iterate();
  else if (const vorn::ClassStore *store = instances.store(cls))
    cursor_ = store->cursor();
  skip_empty_classes();
}

vorn_instances_iterator::vorn_instances_iterator(const vorn_instances &instances, const vorn_class &cls,
                                                 const char *name)
    : instances_(&instances) {
  if (const vorn::ClassStore *store = instances.store(cls)) cursor_ = store->group_cursor(name);
}

vorn_instance *vorn_instances_iterator::next() {
  vorn_instance *instance = cursor_.next();
  skip_empty_classes();
  return instance;
}

// Moves a walk that spans classes on to the next one that has instances.
void vorn_instances_iterator::skip_empty_classes() {
  while (!cursor_.has_next()) {
    if (const auto *store = stores_.next()) {
      cursor_ = store->value->cursor();
    } else if (const auto *subclass = subclasses_.next()) {
      const vorn::ClassStore *members = instances_->store(*subclass->value);
      cursor_ = members ? members->cursor() : vorn::StoreCursor();
    } else {
      return;
    }
  }
}
