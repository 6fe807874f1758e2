/* What is known of the request that is being evaluated. */
#ifndef VORN_NOTIFY_REQUEST_STATE_H
#define VORN_NOTIFY_REQUEST_STATE_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* The origin that the request names, null when it names none. The text belongs to the agent. It stays valid
 * after the request, until the next one begins. */
VORN_API extern const char *vorn_query_origin;

/* Counts the operations of requests that are not passive, each in both passes of its request. As long as the
 * number has not changed, what was read from the system need not be read again. */
VORN_API extern unsigned vorn_query_transaction_number;

VORN_END_DECLS

#endif
