/* Actions: a set of requests, such as restarting a service, that travels with a commit.
 *
 * A request is the text PROVIDER-ACTION, PROVIDER-ACTION-CLASS or PROVIDER-ACTION-CLASS-INSTANCE. Nothing is
 * escaped: a dash inside a part cannot be told from a separator. */
#ifndef VORN_COMMIT_ACTIONS_H
#define VORN_COMMIT_ACTIONS_H

#include "core/export.h"

VORN_BEGIN_DECLS

typedef struct vorn_actions vorn_actions;

/* Returns an empty set, which belongs to the caller, or null without memory. */
VORN_API vorn_actions *vorn_actions_new(void) VORN_NOEXCEPT;

/* Adds a request; adding it again changes nothing. `class_name` and `instance_name` may be null, the
 * instance's only with the class's. Returns 0, or 1 when the request cannot be built. */
VORN_API int vorn_actions_add(vorn_actions *actions, const char *provider, const char *action,
                              const char *class_name, const char *instance_name) VORN_NOEXCEPT;

/* Returns 1 when exactly this request is in the set, else 0. Also 1 without a set and when the request cannot
 * be built: who asks whether to act errs on the side of acting. */
VORN_API int vorn_actions_exists(const vorn_actions *actions, const char *provider, const char *action,
                                 const char *class_name, const char *instance_name) VORN_NOEXCEPT;

/* Frees the set. */
VORN_API void vorn_actions_delete(vorn_actions *actions) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
