/* LSQL: the XML request language in which the configuration is read and changed. */
#ifndef VORN_QUERY_QUERY_H
#define VORN_QUERY_QUERY_H

#include "core/export.h"
#include "notify/request_state.h"

VORN_BEGIN_DECLS

/* Evaluates a request against the running configuration and commits what it changed. Returns the result
 * document as text, to be freed with xmlFree or free(3); null when the request is not valid, or memory runs
 * out for the reply. Errors of the request stand in the result, also that it is too long or too expensive, or
 * that memory ran out: then it has changed nothing, or, with several operations outside of a transaction,
 * only what those before the one at fault have changed. */
VORN_API char *vorn_query_eval(const char *request) VORN_NOEXCEPT;

/* As above, in passive mode: properties that clients may not write can be set, and nothing is committed.
 * Plugins store so what they have read from the system. */
VORN_API char *vorn_query_eval_passive(const char *request) VORN_NOEXCEPT;

/* Runs a commit in which nothing has changed. Returns 0, or 1 without a running configuration or memory. */
VORN_API int vorn_query_action(const char *provider, const char *action, const char *class_name,
                               const char *instance_name) VORN_NOEXCEPT;

/* From now on, for good, refuses every request that names its origin. */
VORN_API void vorn_query_disable_external_updates(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
