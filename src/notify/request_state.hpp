#pragma once

#include "core/shared_text.hpp"
#include "notify/request_state.h"

namespace vorn {

// Stands for one request under evaluation. A request that is evaluated while another one is under way, by a
// provider that stores what it has read, leaves the other's origin as it was.
class RequestScope {
public:
  RequestScope() noexcept;
  ~RequestScope();
  RequestScope(const RequestScope &) = delete;
  RequestScope &operator=(const RequestScope &) = delete;

  // Makes a copy of the text, or null, the origin. Throws std::bad_alloc.
  void set_origin(const char *origin);

private:
  bool nested_;
  SharedText outer_origin_;
};

} // namespace vorn
