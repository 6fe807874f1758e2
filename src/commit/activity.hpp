// What the agent is in the midst of while a plugin's function calls it.
#pragma once

#include "core/refuse.hpp"

namespace vorn {

constexpr char nested_too_deeply[] = "Requests are nested too deeply.";

// Stands for one request, load or action under way. Within them, and within one another, plugins' functions
// are called.
class ActivityScope {
public:
  ActivityScope() noexcept;
  ~ActivityScope();
  ActivityScope(const ActivityScope &) = delete;
  ActivityScope &operator=(const ActivityScope &) = delete;
};

// Stands for one call of a provider, whose name outlives it.
class ProviderCall {
public:
  explicit ProviderCall(const char *provider) noexcept;
  ~ProviderCall();
  ProviderCall(const ProviderCall &) = delete;
  ProviderCall &operator=(const ProviderCall &) = delete;

private:
  const char *outer_;
};

// The name of the provider that is being called, the innermost one; null without one.
const char *calling_provider() noexcept;

// Whether there is something under way, or a provider being called: then the running configuration must stay
// the one that it is.
bool is_busy() noexcept;

// Whether one more request or action may begin. Where it would be one too many, that is logged. From there on
// all are refused that are not called by the outermost one itself: requests that each send some more would
// otherwise come to as many as the limit's power of that.
bool may_nest() noexcept;

// Logs why something is refused, and who has asked for it.
inline Refusal<1> refuse_nested(const char *reason) noexcept {
  if (const char *provider = calling_provider())
    return refuse_aloud("Provider \"%s\": %s\n", provider, reason);
  return refuse_aloud("%s\n", reason);
}

} // namespace vorn
