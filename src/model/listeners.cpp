#include "model/listeners.hpp"

#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "model/instances.hpp"

namespace {

struct Listener {
  vorn_instance_listener_fn fn;
  void *data;
};
vorn::Immortal<vorn::KeyedTable<Listener>> listeners; // by the instance's address

auto *listener_of(vorn_instance *instance) {
  return listeners->empty() ? nullptr : listeners->find(vorn::address_key(instance));
}

} // namespace

void vorn::tell_listener(vorn_instance *instance, const char *property_name) {
  const auto *entry = listener_of(instance);
  if (!entry) return;
  const Listener listener = entry->value; // the call may remove the entry
  listener.fn(instance, property_name, listener.data);
}

void vorn::drop_listener(vorn_instance *instance) noexcept {
  if (auto *entry = listener_of(instance)) listeners->remove(entry);
}

void vorn::drop_listeners(const vorn_instances &instances) noexcept {
  for (auto it = listeners->iterate(); auto *entry = it.next();) {
    vorn_instance *instance;
    memcpy(&instance, entry->key().data(), sizeof instance);
    if (instances.holds(*instance)) listeners->remove(entry);
  }
}

int vorn_instance_set_listener(vorn_instance *instance, vorn_instance_listener_fn fn, void *data) noexcept {
  if (!instance) return 1;
  if (!fn) {
    vorn::drop_listener(instance);
    return 0;
  }
  return vorn::guarded(1, [&] {
    listeners->find_or_insert(vorn::address_key(instance))->value = {fn, data};
    return 0;
  });
}
