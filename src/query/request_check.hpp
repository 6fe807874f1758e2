// A look at a request's bytes before libxml2 gets them.
#pragma once

#include <cstddef>

namespace vorn {

// What libxml2 must not be given, since it is busy with it for longer than a watchdog waits.
enum class RequestFault {
  none,
  not_well_formed, // it would refuse this too, but may first go on after the fault, on a way of its own
  document_type,
  attributes,
  namespaces,
  encoding,
};

struct RequestCheck {
  RequestFault fault;
  size_t nodes; // that the document has at most, when there is no fault
};

// Walks the text once, markup by markup, in time linear in its length. Names, the nesting of elements and
// what their attributes are called are left to libxml2: whatever it makes of them, both see the same markup.
//
// Encodings are UTF-8, its part US-ASCII, and ISO-8859-1: in others, markup can be hidden from this look.
RequestCheck check_request(const char *text) noexcept;

// Why a request is refused that XML allows; null for the other faults.
const char *explain(RequestFault fault) noexcept;

} // namespace vorn
