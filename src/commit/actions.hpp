#pragma once

#include "commit/actions.h"
#include "core/handles.hpp"
#include "core/keyed_table.hpp"

// A set of requests.
struct vorn_actions {
  vorn::NameSet strings{8};
};

// Returns the text of a request, or null, with the reason logged, when a part is missing or memory runs out.
vorn::CString vorn_actions_get_string(const char *provider, const char *action, const char *class_name,
                                      const char *instance_name) noexcept;
