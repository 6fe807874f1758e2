// What outsiders may ask for at most, and how long they may take. docs/limits.md has the table for users.
#pragma once

#include <cstddef>

// Both in MiB, set when the build is configured: 8 and 64 for a device with memory to spare, 1 and 8 for a
// small one.
#ifndef VORN_MAX_REQUEST_MIB
#define VORN_MAX_REQUEST_MIB 8
#endif
#ifndef VORN_MAX_RESULT_MIB
#define VORN_MAX_RESULT_MIB 64
#endif

namespace vorn {

constexpr size_t mebibyte = 1024 * 1024;

// ---- Requests ----

// The longest request, in bytes: more than any configuration needs, and little enough to hold for every
// client at once.
constexpr size_t max_request_size = VORN_MAX_REQUEST_MIB * mebibyte;

// The longest result, in bytes.
constexpr size_t max_result_size = VORN_MAX_RESULT_MIB * mebibyte;

// Attributes of one element, namespace declarations counted: libxml2 compares each with all others of its
// element.
constexpr size_t max_attributes = 64;

// ---- Configuration files ----

// The longest file that is read, expanded where it is compressed, and so the longest that is written: far
// more than a device has use for, so that what is longer is taken for damage.
constexpr size_t max_config_size = 256 * mebibyte;

// Attributes, and namespaces, of one element of a file: no class has a use for more than one. Which of some
// hundred more is the first to be refused depends on how the parser reads.
constexpr int max_file_attributes = 1000;

// What is kept of a startup file that was given up, in bytes: enough to see what is wrong with it.
constexpr size_t max_kept_size = 256 * 1024;

// ---- The log ----

// What is logged of a text that comes from outside, in bytes: enough to recognise it on a slow console.
constexpr size_t max_logged_text = 512;

} // namespace vorn
