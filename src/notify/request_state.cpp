#include "notify/request_state.hpp"

#include "core/immortal.hpp"
#include <utility>

const char *vorn_query_origin = nullptr;
unsigned vorn_query_transaction_number = 0;

namespace {

int depth = 0; // requests under evaluation

vorn::Immortal<vorn::SharedText> origin; // what vorn_query_origin points into

void set_current_origin(vorn::SharedText text) noexcept {
  *origin = std::move(text);
  vorn_query_origin = origin->get();
}

} // namespace

namespace vorn {

RequestScope::RequestScope() noexcept : nested_(depth++ > 0), outer_origin_(*origin) {}

RequestScope::~RequestScope() {
  --depth;
  if (nested_) set_current_origin(std::move(outer_origin_));
}

void RequestScope::set_origin(const char *text) { set_current_origin(SharedText(text)); }

} // namespace vorn
