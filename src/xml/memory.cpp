#include "xml/memory.hpp"

#include <cstdlib>
#include <cstring>
#include <libxml/xmlmemory.h>

namespace {

unsigned failures = 0;

// What libxml2 asks for is never of size 0.
void *noted(void *block) {
  if (!block) ++failures;
  return block;
}

void *allocate(size_t size) { return noted(malloc(size)); }
void *reallocate(void *block, size_t size) { return noted(realloc(block, size)); }
char *duplicate(const char *text) { return static_cast<char *>(noted(strdup(text))); }

// Before main: libxml2 must not have allocated anything by then.
const int installed = xmlMemSetup(free, allocate, reallocate, duplicate);

} // namespace

vorn::XmlMemoryWatch::XmlMemoryWatch() noexcept : failures_before_(failures) {}

bool vorn::XmlMemoryWatch::has_failed() const noexcept {
  return installed != 0 || failures != failures_before_;
}
