#pragma once

#include "core/debug.h"
#include <cstdarg>

namespace vorn {

// Writes a message when the debug level is at least `min`.
void log_message(int min, const char *format, va_list arguments) noexcept;

// What a message says for a text that may be missing.
inline const char *or_null(const char *text) noexcept { return text ? text : "(null)"; }

} // namespace vorn
