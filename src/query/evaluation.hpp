// The evaluation of one request.
#pragma once

#include "xml/handles.hpp"

namespace vorn {

// Refuses all requests with an origin from now on.
void prohibit_external_updates();

// Evaluates a request document. Throws std::bad_alloc, before the running configuration is replaced or
// committed.
XmlDocument evaluate_request(const xmlDoc &request, bool passive);

} // namespace vorn
