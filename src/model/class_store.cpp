#include "model/class_store.hpp"

#include "core/guard.hpp"
#include "core/refuse.hpp"

namespace vorn {

namespace {

// Appends copies of a table's instances under the same keys.
bool copy_entries(const UniqueNames &from, UniqueNames &to, bool by_address) {
  return guarded(false, [&] {
    for (const auto &entry : from) {
      OwnedInstance copy(vorn_instance_copy(entry.value));
      if (!copy) return false;
      vorn_instance *const address = copy.get();
      if (by_address)
        to.insert(address_key(address), address);
      else
        to.insert_like(entry, address);
      copy.release();
    }
    return true;
  });
}

bool remove_member(Members &members, vorn_instance *instance) {
  auto *entry = members.find(address_key(instance));
  if (entry) members.remove(entry);
  return entry != nullptr;
}

class SingletonStore final : public ClassStore {
public:
  explicit SingletonStore(const vorn_class &cls) : ClassStore(cls) {}
  bool add(vorn_instance *instance) override {
    if (instance_) return refuse_aloud("Singleton class may not have multiple instances.\n");
    if (instance->name.get()) return refuse_aloud("Singleton instance may not have a name.\n");
    instance_ = instance;
    return true;
  }
  bool remove(vorn_instance *instance) override {
    if (instance_ != instance) return false;
    instance_ = nullptr;
    return true;
  }
  bool copy_from(const ClassStore &other) override {
    const auto *from = static_cast<const SingletonStore &>(other).instance_;
    if (from) instance_ = vorn_instance_copy(from);
    return !from || instance_;
  }
  StoreCursor cursor() const override { return StoreCursor(instance_); }

private:
  vorn_instance *instance_ = nullptr;
};

class AnonymousStore final : public ClassStore {
public:
  explicit AnonymousStore(const vorn_class &cls) : ClassStore(cls) {}
  bool add(vorn_instance *instance) override {
    if (instance->name.get()) return refuse_aloud("Anonymous instance may not have a name.\n");
    return members_.insert(address_key(instance), instance) != nullptr;
  }
  bool remove(vorn_instance *instance) override { return remove_member(members_, instance); }
  bool copy_from(const ClassStore &other) override {
    return copy_entries(static_cast<const AnonymousStore &>(other).members_, members_, true);
  }
  StoreCursor cursor() const override { return StoreCursor(members_.iterate()); }

private:
  Members members_{64};
};

class UniqueNamedStore final : public ClassStore {
public:
  explicit UniqueNamedStore(const vorn_class &cls) : ClassStore(cls) {}
  bool add(vorn_instance *instance) override {
    if (!instance->name.get()) return refuse_aloud("Unique-named instance must have a name.\n");
    return names_.insert(instance->name.get(), instance) != nullptr;
  }
  bool remove(vorn_instance *instance) override {
    auto *entry = instance->name.get() ? names_.find(instance->name.get()) : nullptr;
    if (!entry || entry->value != instance) return false;
    names_.remove(entry);
    return true;
  }
  bool copy_from(const ClassStore &other) override {
    return copy_entries(static_cast<const UniqueNamedStore &>(other).names_, names_, false);
  }
  StoreCursor cursor() const override { return StoreCursor(names_.iterate()); }
  StoreCursor group_cursor(const char *name) const override { return StoreCursor(find(name)); }
  vorn_instance *find(const char *name) const override {
    const auto *entry = names_.find(name);
    return entry ? entry->value : nullptr;
  }

private:
  UniqueNames names_{64};
};

class GroupNamedStore final : public ClassStore {
public:
  explicit GroupNamedStore(const vorn_class &cls) : ClassStore(cls) {}
  bool add(vorn_instance *instance) override {
    const char *name = instance->name.get();
    if (!name) return refuse_aloud("Group-named instance must have a name.\n");
    auto *group = groups_.find(name);
    if (group) return group->value.insert(address_key(instance), instance) != nullptr;
    group = groups_.insert(name, size_t{4});
    try {
      return group->value.insert(address_key(instance), instance) != nullptr;
    } catch (...) {
      groups_.remove(group); // it was made for this instance
      throw;
    }
  }
  bool remove(vorn_instance *instance) override {
    auto *group = instance->name.get() ? groups_.find(instance->name.get()) : nullptr;
    if (!group || !remove_member(group->value, instance)) return false;
    if (group->value.empty()) groups_.remove(group);
    return true;
  }
  bool copy_from(const ClassStore &other) override {
    return guarded(false, [&] {
      for (const auto &group : static_cast<const GroupNamedStore &>(other).groups_) {
        auto *copy = groups_.insert_like(group, size_t{4});
        const bool whole = copy_entries(group.value, copy->value, true);
        if (copy->value.empty()) groups_.remove(copy);
        if (!whole) return false;
      }
      return true;
    });
  }
  StoreCursor cursor() const override { return StoreCursor(groups_.iterate()); }
  StoreCursor group_cursor(const char *name) const override {
    const auto *group = groups_.find(name);
    return group ? StoreCursor(group->value.iterate()) : StoreCursor();
  }

private:
  Groups groups_{8};
};

} // namespace

vorn_instance *StoreCursor::next() noexcept {
  if (single_) return std::exchange(single_, nullptr);
  auto *entry = instances_.next();
  if (!entry) return nullptr;
  vorn_instance *instance = entry->value;
  skip_to_group();
  return instance;
}

// A group that is used up is left at once: it is freed when its last member is removed.
void StoreCursor::skip_to_group() noexcept {
  if (instances_.has_next()) return;
  auto *group = groups_.next();
  instances_ = group ? group->value.iterate() : UniqueNames::Iterator();
}

std::unique_ptr<ClassStore> ClassStore::make(const vorn_class &cls) {
  switch (cls.type) {
  case VORN_CLASS_SINGLETON: return std::make_unique<SingletonStore>(cls);
  case VORN_CLASS_ANONYMOUS: return std::make_unique<AnonymousStore>(cls);
  case VORN_CLASS_UNIQUE_NAMED: return std::make_unique<UniqueNamedStore>(cls);
  case VORN_CLASS_GROUP_NAMED: return std::make_unique<GroupNamedStore>(cls);
  default: return nullptr;
  }
}

} // namespace vorn
