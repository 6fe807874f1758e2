#include "commit/activity.hpp"

#include "core/limits.hpp"
#include <utility>

namespace vorn {

namespace {
unsigned depth = 0;
bool was_too_deep = false; // since the outermost one called last
const char *current_provider = nullptr;
} // namespace

ActivityScope::ActivityScope() noexcept { ++depth; }

ActivityScope::~ActivityScope() {
  if (--depth <= 1) was_too_deep = false;
}

ProviderCall::ProviderCall(const char *provider) noexcept
    : outer_(std::exchange(current_provider, provider)) {}

ProviderCall::~ProviderCall() { current_provider = outer_; }

const char *calling_provider() noexcept { return current_provider; }

bool is_busy() noexcept { return depth > 0 || current_provider; }

bool may_nest() noexcept {
  if (was_too_deep) return false;
  if (depth < max_nested_requests) return true;
  was_too_deep = true;
  return refuse_nested(nested_too_deeply);
}

} // namespace vorn
