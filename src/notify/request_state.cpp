#include "notify/request_state.hpp"

#include <utility>

const char *vorn_query_origin = nullptr;
unsigned vorn_query_transaction_number = 0;

namespace {

int depth = 0;            // requests under evaluation
vorn::SharedText *origin; // what vorn_query_origin points into; never destroyed, as plugins may read it late

vorn::SharedText exchange_origin(vorn::SharedText text) {
  static vorn::SharedText &current = *new vorn::SharedText;
  origin = &current;
  std::swap(*origin, text);
  vorn_query_origin = origin->get();
  return text;
}

} // namespace

namespace vorn {

RequestScope::RequestScope() noexcept
    : nested_(depth++ > 0), outer_origin_(origin ? *origin : SharedText()) {}

RequestScope::~RequestScope() {
  --depth;
  if (nested_) exchange_origin(std::move(outer_origin_));
}

void RequestScope::set_origin(const char *text) { exchange_origin(SharedText(text)); }

} // namespace vorn
