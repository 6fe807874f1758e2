#include "commit/provider.hpp"

#include "commit/activity.hpp"
#include "commit/commit_info.hpp"
#include "core/guard.hpp"
#include "core/refuse.hpp"

using vorn::refuse_aloud;

vorn_provider *vorn_provider_new(const char *name) noexcept {
  if (!name) return refuse_aloud("Null name.\n");
  return vorn::guarded<vorn_provider *>(nullptr, [&] { return new vorn_provider{.name = name}; });
}

int vorn_provider_set_commit_fn(vorn_provider *provider, vorn_provider_commit_fn fn, void *data) noexcept {
  if (!provider) return refuse_aloud("Null provider.\n");
  provider->commit = fn;
  provider->commit_data = data;
  return 0;
}

int vorn_provider_set_refresh_fn(vorn_provider *provider, vorn_provider_refresh_fn fn, void *data) noexcept {
  if (!provider) return refuse_aloud("Null provider.\n");
  provider->refresh = fn;
  provider->refresh_data = data;
  return 0;
}

void vorn_provider_commit(vorn_provider *provider, vorn_instances *after, vorn_changes *changes,
                          vorn_actions *actions) noexcept {
  if (!provider) {
    vorn_debug_eprintf("Null provider.\n");
    return;
  }
  if (!provider->commit) return;
  vorn_commit_info info = {vorn_changes_get_before(changes), after, changes, actions, provider->commit_data};
  const vorn::ProviderCall call(provider->name.c_str());
  provider->commit(&info);
}

void vorn_provider_refresh(vorn_provider *provider, vorn_refresh_info *info) noexcept {
  if (!provider) {
    vorn_debug_eprintf("Null provider.\n");
    return;
  }
  vorn_refresh_info_set_data(info, provider->refresh_data);
  if (!provider->refresh) return;
  const vorn::ProviderCall call(provider->name.c_str());
  provider->refresh(info);
}

int vorn_provider_is_valid(const vorn_provider *provider) noexcept {
  if (!provider) return refuse_aloud<0>("Null provider.\n");
  if (provider->commit || provider->refresh) return 1;
  return refuse_aloud<0>("Provider \"%s\" has no commit or refresh function.\n", provider->name.c_str());
}
