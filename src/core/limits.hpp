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

// Requests within one another, which providers send while they are called: a few have a reason, and more are
// one that ends up in itself. All of them fit into a small part of a stack.
constexpr unsigned max_nested_requests = 16;

// Parts of "where" expressions that are logged as unknown, for each request.
constexpr size_t max_logged_unknown = 16;

// ---- Memory ----

// The longest value that an instance holds in its own block of memory, in bytes. A copy of the instance
// copies it; longer ones are shared, so that a change costs no more than this for every value that it leaves
// alone.
constexpr size_t max_packed_value = 255;

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

// ---- Clients ----

// Bytes of the parameters of an inform request: far more than anybody has to say of one event.
constexpr size_t max_inform_size = 256 * 1024;

// Clients of one local socket at once. More wait in the kernel's queue, which the text of listen(2) calls the
// backlog, and are taken in the order in which they came.
constexpr size_t max_local_clients = 16;
constexpr int listen_backlog = 50;

// Connections to port 8002 at once; one more is closed. Long-lived ones of a few programs.
constexpr size_t max_lsql_connections = 8;

// Connections to port 8001 at once: those that get messages, and all, which leaves those that have not asked
// yet room for a crowd.
constexpr size_t max_notify_listeners = 8;
constexpr size_t max_notify_connections = 64;

// Bytes that wait for one listener of port 8001: some hundred messages, or a very long one.
constexpr size_t max_waiting_messages = 64 * 1024;

// How long a client may keep its place, in seconds, without sending the rest of its request, and without
// taking anything of what is sent to it.
constexpr unsigned silence_seconds = 10;
constexpr unsigned outbox_timeout_seconds = 10;

// How long it keeps its place when others wait for one, in seconds. On a local socket: silent, which a client
// at work never is so long; without taking anything of its reply; and with a request that comes piecemeal. On
// port 8002: between requests. On port 8001: without having asked for messages.
constexpr unsigned local_silence_seconds = 1;
constexpr unsigned local_reply_seconds = 2;
constexpr unsigned local_request_seconds = 30;
constexpr unsigned lsql_idle_seconds = 60;
constexpr unsigned notify_silence_seconds = 10;

// What is read from one client, in buffers of 4096 bytes, and taken from one queue of connections, in one
// pass of the loop: the others have their turn.
constexpr size_t reads_a_pass = 16;
constexpr size_t accepts_a_pass = 16;

// When a peer of a TCP connection that says nothing is asked whether it is still there, how often, and after
// how many questions without an answer it is not: 90 seconds in all.
constexpr int keep_alive_idle_seconds = 60;
constexpr int keep_alive_interval_seconds = 10;
constexpr int keep_alive_probes = 3;

// Between reports of connections that cannot be taken, in seconds: a client tries again at once.
constexpr unsigned accept_report_seconds = 60;

// Until connections are tried again that can neither be taken nor turned away, in milliseconds.
constexpr unsigned accept_retry_ms = 1000;

} // namespace vorn
