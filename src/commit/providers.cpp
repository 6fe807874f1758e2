#include "commit/providers.h"

#include "commit/provider.hpp"
#include "commit/provider_order.hpp"
#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/refuse.hpp"
#include <optional>

namespace {

using vorn::guarded;
using vorn::refuse_aloud;

// Filling until the order is resolved; then `declared` is gone and the list stands for the process's life.
struct Registry {
  vorn::KeyedTable<vorn_provider *> providers{32};
  std::optional<vorn::ProviderOrder> declared{std::in_place};
  std::optional<std::vector<std::string>> order{};
};

vorn::Immortal<Registry> registry;

// Calls `visit` with every provider in order. Names without a provider are passed over.
template <class Visit> void walk(Visit visit) {
  if (!registry->order) return;
  for (const std::string &name : *registry->order)
    if (vorn_provider *provider = vorn_providers_get(name.c_str())) visit(name.c_str(), provider);
}

} // namespace

int vorn_providers_init() noexcept {
  return 0; // there is one from the start
}

int vorn_providers_add(vorn_provider *provider) noexcept {
  if (!provider) return refuse_aloud("Null provider.\n");
  if (!vorn_provider_is_valid(provider)) return refuse_aloud("Provider is invalid.\n");
  return guarded(1, [&]() -> int {
    const char *name = provider->name.c_str();
    if (vorn_providers_get(name))
      return refuse_aloud("Provider with name \"%s\" already in providers.\n", name);
    // After the resolution there is no order to join: such a provider is never called.
    if (registry->declared) registry->declared->mention(name);
    registry->providers.insert(name, provider);
    return 0;
  });
}

vorn_provider *vorn_providers_get(const char *name) noexcept {
  if (!name) return nullptr;
  const auto *entry = registry->providers.find(name);
  return entry ? entry->value : nullptr;
}

int vorn_providers_order(const char *before_name, const char *after_name) noexcept {
  if (!before_name || !after_name) return refuse_aloud("Null name.\n");
  if (!registry->declared) return 1;
  return guarded(1, [&] {
    registry->declared->declare(before_name, after_name);
    return 0;
  });
}

int vorn_providers_done_adding() noexcept {
  return guarded(1, [] {
    if (registry->order) return 0;
    registry->order.emplace();
    if (!registry->declared->resolve(*registry->order)) return 1;
    registry->declared.reset();
    return 0;
  });
}

void vorn_providers_print(FILE *stream) noexcept {
  fputs("Providers, in order (*** = not present):\n", stream);
  if (!registry->order) return;
  for (const std::string &name : *registry->order)
    fprintf(stream, "%s%s\n", vorn_providers_get(name.c_str()) ? "     " : " *** ", name.c_str());
}

void vorn_providers_commit(vorn_instances *after, vorn_changes *changes, vorn_actions *actions) noexcept {
  if (vorn_debug_get() >= 4) {
    FILE *stream = vorn_debug_get_stream();
    fputs("Committing with these after instances:\n", stream);
    vorn_instances_print(after, stream);
    fputs("Committing with these changes:\n", stream);
    vorn_changes_print(changes, stream);
  }
  if (!actions) actions = vorn_actions_new();
  walk([&](const char *name, vorn_provider *provider) {
    vorn_debug_lprintf(3, "Committing provider %s...\n", name);
    vorn_provider_commit(provider, after, changes, actions);
  });
  if (actions) vorn_actions_delete(actions); // the commit consumes the set, the caller's too
}

void vorn_providers_refresh(vorn_refresh_info *info) noexcept {
  if (vorn_debug_get() >= 3) {
    fputs("Refreshing providers with:\n", vorn_debug_get_stream());
    vorn_refresh_info_print(info, vorn_debug_get_stream());
  }
  walk([&](const char *name, vorn_provider *provider) {
    vorn_debug_lprintf(3, "Refreshing provider %s...\n", name);
    vorn_provider_refresh(provider, info);
  });
}
