#include "commit/actions.hpp"

#include "core/guard.hpp"
#include "core/refuse.hpp"
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using vorn::refuse;

vorn::CString vorn_actions_get_string(const char *provider, const char *action, const char *class_name,
                                      const char *instance_name) noexcept {
  if (!provider) return refuse("No provider.\n");
  if (!action) return refuse("No action.\n");
  if (instance_name && !class_name) return refuse("Instance, but no class.\n");

  const auto optional_length = [](const char *part) { return part ? strlen(part) + 1 : 0; };
  const size_t action_length =
      strlen(provider) + strlen(action) + optional_length(class_name) + optional_length(instance_name) + 2;
  vorn::CString text(static_cast<char *>(malloc(action_length)));
  if (!text) return nullptr;

  char *action_string = text.get();
  snprintf(action_string, action_length, "%s-%s%s%s%s%s", provider, action, class_name ? "-" : "",
           class_name ? class_name : "", instance_name ? "-" : "", instance_name ? instance_name : "");
  assert(strlen(action_string) == action_length - 1);
  return text;
}

vorn_actions *vorn_actions_new() noexcept {
  return vorn::guarded<vorn_actions *>(nullptr, [] { return new vorn_actions; });
}

int vorn_actions_add(vorn_actions *actions, const char *provider, const char *action, const char *class_name,
                     const char *instance_name) noexcept {
  if (!actions) return refuse("No actions.\n");
  const vorn::CString text = vorn_actions_get_string(provider, action, class_name, instance_name);
  if (!text) return 1;
  return vorn::guarded(1, [&] {
    actions->strings.insert(text.get());
    return 0;
  });
}

int vorn_actions_exists(const vorn_actions *actions, const char *provider, const char *action,
                        const char *class_name, const char *instance_name) noexcept {
  if (!actions) return refuse("No actions.\n");
  const vorn::CString text = vorn_actions_get_string(provider, action, class_name, instance_name);
  return !text || actions->strings.find(text.get()) ? 1 : 0;
}

void vorn_actions_delete(vorn_actions *actions) noexcept {
  if (!actions) {
    vorn_debug_1printf("No actions.\n");
    return;
  }
  delete actions;
}
