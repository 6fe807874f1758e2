/* What is known of the request that is being evaluated. */
#ifndef VORN_NOTIFY_REQUEST_STATE_H
#define VORN_NOTIFY_REQUEST_STATE_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* The origin that the request names, null when it names none. It keeps its value after the request, and
 * belongs to the agent; the pointer changes with the next request. */
VORN_API extern const char *vorn_query_origin;

/* Counts the operations of non-passive requests, each once for either pass: who has seen a number has not to
 * read its source again until the number changes. */
VORN_API extern unsigned vorn_query_transaction_number;

VORN_END_DECLS

#endif
