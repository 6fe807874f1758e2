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

// The longest result, in bytes. What a request stores counts with it: both are what it expands to, and an
// operation that goes beyond it ends with an error.
constexpr size_t max_result_size = VORN_MAX_RESULT_MIB * mebibyte;

// What a stored value and a new instance count besides their text: about what they take in memory.
constexpr size_t value_overhead = 64;
constexpr size_t instance_overhead = 512;

// Nodes of a request's document: elements, texts, comments, and two for an attribute. A node takes 128 bytes,
// so that the document of the longest request takes eight times its length.
constexpr size_t max_request_nodes = max_request_size / 16;

// Attributes of one element, namespace declarations counted: libxml2 compares each with all others of its
// element.
constexpr size_t max_attributes = 64;

// Namespace declarations of a whole request, of which LSQL needs none: libxml2 looks every prefix up in all
// of them that hold where it stands.
constexpr size_t max_namespaces = 64;

// What the evaluation of a request may cost: an instance looked at, a part of a "where" evaluated for an
// instance, a value read or set are one step each. All values of 100 000 instances with 100 properties are
// half of that, in some seconds on a slow processor.
constexpr size_t max_evaluation_steps = 20'000'000;

// How long an evaluation may take, plugins' functions not counted: watchdogs wait a few times as long.
constexpr unsigned max_evaluation_seconds = 10;

// Parts of "where" expressions that are logged as unknown, for each request.
constexpr size_t max_logged_unknown = 16;

// What is logged of a text that comes from outside, in bytes: enough to recognise it on a slow console.
constexpr size_t max_logged_text = 512;

} // namespace vorn
