/* LSQL: the XML request language in which the configuration is read and changed. */
#ifndef VORN_QUERY_QUERY_H
#define VORN_QUERY_QUERY_H

#include "core/export.h"
#include "notify/request_state.h"

VORN_BEGIN_DECLS

/* Evaluates a request against the running configuration and commits what it changed. Returns the result
 * document as text; the caller frees it with xmlFree or free(3). Null when the request is null or not valid,
 * which is logged, or memory runs out for the reply. Errors of the request stand in the result, also that it
 * is too long or too expensive, or that memory ran out: then it has changed nothing, or, with several
 * operations outside of a transaction, only what those before the one at fault have changed. Two are logged
 * with the provider being called: a transaction while a request, a commit or a load is under way, and a
 * request while 16 are. */
VORN_API char *vorn_query_eval(const char *request) VORN_NOEXCEPT;

/* Evaluates a request in passive mode: properties that clients may not write can be set, and nothing is
 * committed, so that a transaction is never refused. This is how plugins store what they have read from the
 * system. Returns as vorn_query_eval. */
VORN_API char *vorn_query_eval_passive(const char *request) VORN_NOEXCEPT;

/* Runs a commit in which nothing has changed. The action does not reach the providers, deliberately: they get
 * an empty set. Returns 0, or 1 when there is no running configuration or 16 requests are under way, each of
 * which is logged, or memory runs out. */
VORN_API int vorn_query_action(const char *provider, const char *action, const char *class_name,
                               const char *instance_name) VORN_NOEXCEPT;

/* Refuses every request that names its origin, from now on until the agent ends. */
VORN_API void vorn_query_disable_external_updates(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
