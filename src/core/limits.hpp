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

// What is logged of a text that comes from outside, in bytes: enough to recognise it on a slow console.
constexpr size_t max_logged_text = 512;

// ---- Services, as the agent starts and stops ----

// How long all services together may take to end when they are asked to (SIGTERM), and then when they are
// killed (SIGKILL), in microseconds: who asks the agent to end waits that long.
constexpr unsigned term_timeout = 5'000'000;
constexpr unsigned kill_timeout = 1'000'000;

// How often it is looked whether they have ended, in microseconds.
constexpr unsigned end_poll_interval = 50'000;

// The record that an agent leaves to the next one: this many services, and so many bytes of their names.
// Further services run as well, but outlive an agent that is killed.
constexpr size_t max_recorded_services = 256;
constexpr size_t max_recorded_name = 64;

} // namespace vorn
