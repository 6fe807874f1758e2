/* Actions: a set of requests, such as restarting a service, that travels with a commit.
 *
 * A request is the text PROVIDER-ACTION, PROVIDER-ACTION-CLASS or PROVIDER-ACTION-CLASS-INSTANCE. Nothing is
 * escaped: a dash inside a part cannot be told from a separator. No request can be built when the provider or
 * the action is null, when an instance is given without a class, or when memory runs out. Null arguments are
 * logged at debug level 1 and above. */
#ifndef VORN_COMMIT_ACTIONS_H
#define VORN_COMMIT_ACTIONS_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* A set of requests. */
typedef struct vorn_actions vorn_actions;

/* Returns an empty set, which belongs to the caller, or null when memory runs out. */
VORN_API vorn_actions *vorn_actions_new(void) VORN_NOEXCEPT;

/* Adds a request; adding it again changes nothing. `class_name` and `instance_name` may be null. The texts
 * are copied. Returns 0, or 1 when the set is null, the request cannot be built, or memory runs out. */
VORN_API int vorn_actions_add(vorn_actions *actions, const char *provider, const char *action,
                              const char *class_name, const char *instance_name) VORN_NOEXCEPT;

/* Returns 1 when exactly this request is in the set, else 0. Also 1 for a null set and when the request
 * cannot be built: to act once too often does less harm than not to act. */
VORN_API int vorn_actions_exists(const vorn_actions *actions, const char *provider, const char *action,
                                 const char *class_name, const char *instance_name) VORN_NOEXCEPT;

/* Frees the set. */
VORN_API void vorn_actions_delete(vorn_actions *actions) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
