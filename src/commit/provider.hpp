#pragma once

#include "commit/provider.h"
#include <string>

// One provider; owned by the registry once it is added, and never freed.
struct vorn_provider {
  std::string name;
  vorn_provider_commit_fn commit = nullptr;
  void *commit_data = nullptr;
  vorn_provider_refresh_fn refresh = nullptr;
  void *refresh_data = nullptr;
};
