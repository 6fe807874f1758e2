#include "model/class_store.hpp"

#include "core/refuse.hpp"
#include "model/overlay_store.hpp"

namespace vorn {

namespace {

void rename(Members &members, vorn_instance *instance, vorn_instance *by) noexcept {
  auto *entry = members.find(address_key(instance));
  entry->value = by;
  members.rename(entry, address_key(by));
}

template <class Table> void take_all(Table &to, Table &from) noexcept {
  for (auto it = from.iterate(); auto *entry = it.next();) to.take(from, entry);
}

vorn_instance *value_of(const Members::Entry *entry) noexcept { return entry ? entry->value : nullptr; }

// Of a singleton class, or an anonymous one.
class NamelessStore final : public PlainStore {
public:
  explicit NamelessStore(const vorn_class &cls) noexcept : PlainStore(cls) {}
  bool add(vorn_instance *instance) override {
    const bool singleton = cls().type == VORN_CLASS_SINGLETON;
    if (singleton && !members_.empty())
      return refuse_aloud("Singleton class may not have multiple instances.\n");
    if (instance->name)
      return refuse_aloud("%s instance may not have a name.\n", singleton ? "Singleton" : "Anonymous");
    return members_.insert(address_key(instance), instance) != nullptr;
  }
  bool remove(vorn_instance *instance) noexcept override {
    auto *entry = members_.find(address_key(instance));
    if (entry) members_.remove(entry);
    return entry != nullptr;
  }
  bool contains(vorn_instance &instance) const noexcept override {
    vorn_instance *const address = &instance;
    return members_.find(address_key(address)) != nullptr;
  }
  TableCursor table_cursor() noexcept override { return TableCursor(members_.iterate()); }
  vorn_instance *predecessor(vorn_instance &instance) const noexcept override {
    vorn_instance *const address = &instance;
    return value_of(members_.before(members_.find(address_key(address))));
  }
  void replace(vorn_instance &instance, vorn_instance &by) noexcept override {
    rename(members_, &instance, &by);
  }
  void absorb(PlainStore &other) noexcept override {
    take_all(members_, static_cast<NamelessStore &>(other).members_);
  }

private:
  Members members_{1};
};

class UniqueNamedStore final : public PlainStore {
public:
  explicit UniqueNamedStore(const vorn_class &cls) noexcept : PlainStore(cls) {}
  bool add(vorn_instance *instance) override {
    if (!instance->name) return refuse_aloud("Unique-named instance must have a name.\n");
    return names_.insert(instance->name, instance) != nullptr;
  }
  bool remove(vorn_instance *instance) noexcept override {
    auto *entry = entry_of(*instance);
    if (entry) names_.remove(entry);
    return entry != nullptr;
  }
  bool contains(vorn_instance &instance) const noexcept override { return entry_of(instance) != nullptr; }
  TableCursor table_cursor() noexcept override { return TableCursor(names_.iterate()); }
  TableCursor table_group_cursor(const char *name) noexcept override {
    auto *entry = names_.find(name);
    return entry ? TableCursor(names_.iterate_one(entry)) : TableCursor();
  }
  vorn_instance *find(const char *name) const noexcept override { return value_of(names_.find(name)); }
  vorn_instance *predecessor(vorn_instance &instance) const noexcept override {
    return value_of(names_.before(entry_of(instance)));
  }
  void replace(vorn_instance &instance, vorn_instance &by) noexcept override {
    entry_of(instance)->value = &by;
  }
  void absorb(PlainStore &other) noexcept override {
    take_all(names_, static_cast<UniqueNamedStore &>(other).names_);
  }

private:
  UniqueNames::Entry *entry_of(const vorn_instance &instance) const noexcept {
    auto *entry = instance.name ? names_.find(instance.name) : nullptr;
    return entry && entry->value == &instance ? entry : nullptr;
  }
  UniqueNames names_{1};
};

class GroupNamedStore final : public PlainStore {
public:
  explicit GroupNamedStore(const vorn_class &cls) noexcept : PlainStore(cls) {}
  bool add(vorn_instance *instance) override {
    if (!instance->name) return refuse_aloud("Group-named instance must have a name.\n");
    auto *group = groups_.find(instance->name);
    if (group) return group->value.insert(address_key(instance), instance) != nullptr;
    group = groups_.insert(instance->name, size_t{1});
    try {
      return group->value.insert(address_key(instance), instance) != nullptr;
    } catch (...) {
      groups_.remove(group); // it was made for this instance
      throw;
    }
  }
  bool remove(vorn_instance *instance) noexcept override {
    auto *group = group_of(*instance);
    auto *entry = group ? group->value.find(address_key(instance)) : nullptr;
    if (!entry) return false;
    group->value.remove(entry);
    if (group->value.empty()) groups_.remove(group);
    return true;
  }
  bool contains(vorn_instance &instance) const noexcept override {
    vorn_instance *const address = &instance;
    const auto *group = group_of(instance);
    return group && group->value.find(address_key(address));
  }
  TableCursor table_cursor() noexcept override { return TableCursor(groups_.iterate()); }
  TableCursor table_group_cursor(const char *name) noexcept override {
    const auto *group = groups_.find(name);
    return group ? TableCursor(group->value.iterate()) : TableCursor();
  }
  vorn_instance *predecessor(vorn_instance &instance) const noexcept override {
    vorn_instance *const address = &instance;
    const auto *group = group_of(instance);
    const auto *entry = group->value.before(group->value.find(address_key(address)));
    if (entry) return entry->value;
    group = groups_.before(group);
    return group ? group->value.last()->value : nullptr;
  }
  void replace(vorn_instance &instance, vorn_instance &by) noexcept override {
    rename(group_of(instance)->value, &instance, &by);
  }
  void absorb(PlainStore &other) noexcept override {
    take_all(groups_, static_cast<GroupNamedStore &>(other).groups_);
  }
  void absorb_group(PlainStore &other, const char *name) noexcept override {
    Groups &from = static_cast<GroupNamedStore &>(other).groups_;
    auto *group = from.find(name);
    take_all(groups_.find(name)->value, group->value);
    from.remove(group);
  }

private:
  Groups::Entry *group_of(const vorn_instance &instance) const noexcept {
    return instance.name ? groups_.find(instance.name) : nullptr;
  }
  Groups groups_{1};
};

} // namespace

vorn_instance *TableCursor::peek() noexcept {
  while (!instances_.has_next()) {
    const auto *group = groups_.next();
    if (!group) return nullptr;
    instances_ = group->value.iterate();
  }
  return instances_.peek()->value;
}

vorn_instance *TableCursor::next() noexcept {
  vorn_instance *instance = peek();
  instances_.next();
  return instance;
}

vorn_instance *ClassCursor::next() noexcept {
  if (!overlay_) return base_.next();
  vorn_instance *instance = peek_overlay();
  if (extras_.peek())
    extras_.next();
  else if (base_.peek())
    pass_base();
  else
    added_.next();
  return instance;
}

vorn_instance *ClassCursor::peek_overlay() noexcept {
  if (overlay_->is_retired()) return nullptr;
  for (vorn_instance *below; !extras_.peek() && (below = base_.peek()) && !overlay_->shown_for(*below);)
    pass_base();
  if (vorn_instance *extra = extras_.peek()) return extra;
  if (vorn_instance *below = base_.peek()) return overlay_->shown_for(*below);
  while (vorn_instance *instance = added_.peek()) {
    if (one_group_ || !overlay_->extends_group(instance->name)) return instance;
    added_.next();
  }
  return nullptr;
}

// What the overlay adds to a group of the base comes after the group's last member there.
void ClassCursor::pass_base() noexcept {
  const vorn_instance *passed = base_.next(), *following = base_.peek();
  if (one_group_ || overlay_->cls().type != VORN_CLASS_GROUP_NAMED) return;
  if (following && strcmp(following->name, passed->name) == 0) return;
  extras_ = overlay_->extras(passed->name);
}

void ClassStore::delete_instances() noexcept {
  for (ClassCursor it = cursor(); vorn_instance *instance = it.next();) vorn_instance_delete(instance);
}

std::unique_ptr<PlainStore> PlainStore::make(const vorn_class &cls) {
  switch (cls.type) {
  case VORN_CLASS_SINGLETON:
  case VORN_CLASS_ANONYMOUS: return std::make_unique<NamelessStore>(cls);
  case VORN_CLASS_UNIQUE_NAMED: return std::make_unique<UniqueNamedStore>(cls);
  case VORN_CLASS_GROUP_NAMED: return std::make_unique<GroupNamedStore>(cls);
  default: return nullptr;
  }
}

} // namespace vorn
