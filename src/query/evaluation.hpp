// The evaluation of one request.
#pragma once

#include "xml/handles.hpp"

namespace vorn {

// Refuses all requests with an origin from now on.
void prohibit_external_updates();

// Evaluates a request document; returns the result's text. Throws std::bad_alloc, before anything is changed.
CString evaluate_request(const xmlDoc &request, bool passive);

// The result of a request that is not evaluated.
CString refusal_result(const char *error);

} // namespace vorn
