/* Instances: objects of a class, with an optional name and string values.
 *
 * A null instance is reported as "Null instance. (%s)\n" with the function's name, and fails. */
#ifndef VORN_MODEL_INSTANCE_H
#define VORN_MODEL_INSTANCE_H

#include "core/export.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* Told of every value that is set, after it is set; the result is ignored. Must not delete the instance. */
typedef int (*vorn_instance_listener_fn)(vorn_instance *instance, const char *property_name, void *data);

/* Returns a new instance without values, which belongs to the caller until vorn_instances_add takes it.
 * `name` must be null for singleton and anonymous classes and given for the named ones. Null, with a reason
 * logged, for an abstract class, one that is not closed yet, a wrong name, or without memory. */
VORN_API vorn_instance *vorn_instance_new(vorn_class *cls, const char *name) VORN_NOEXCEPT;

/* Returns an equal instance without a listener; it belongs to the caller. Null without memory. */
VORN_API vorn_instance *vorn_instance_copy(const vorn_instance *instance) VORN_NOEXCEPT;

/* Frees an instance that is in no collection. Returns 0, or 1 for null. */
VORN_API int vorn_instance_delete(vorn_instance *instance) VORN_NOEXCEPT;

/* Returns the class. */
VORN_API vorn_class *vorn_instance_get_class(const vorn_instance *instance) VORN_NOEXCEPT;

/* Returns the name, which stays the instance's, or null when it has none. */
VORN_API const char *vorn_instance_get_name(const vorn_instance *instance) VORN_NOEXCEPT;

/* Returns the value, valid until that property is set again or the instance deleted; null when there is none.
 * The name is not checked against the class. */
VORN_API const char *vorn_instance_get_value(const vorn_instance *instance,
                                             const char *property_name) VORN_NOEXCEPT;

/* Checks the value and stores a copy of it, behind the values that were set before. Whether clients may write
 * the property does not matter here. Returns 0, or 1 with the reason logged and the old value in place. */
VORN_API int vorn_instance_set_value(vorn_instance *instance, const char *property_name,
                                     const char *value) VORN_NOEXCEPT;

/* Returns 1 exactly when the value of "status" is "up", else 0. */
VORN_API int vorn_instance_get_status(const vorn_instance *instance) VORN_NOEXCEPT;

/* Returns 1 when the instance as a whole may join `collection`, else 0. When `error` is not null and the
 * result is 0, it receives the reason, without a line end, to be freed with free(3), or null without memory.
 */
VORN_API int vorn_instance_is_valid(vorn_instances *collection, vorn_instance *instance,
                                    char **error) VORN_NOEXCEPT;

/* Writes name, class and values, a line each. */
VORN_API void vorn_instance_print(const vorn_instance *instance, FILE *stream) VORN_NOEXCEPT;

/* Sets the one listener in place of any other; a null `fn` clears it. Returns 0, or 1 for null. */
VORN_API int vorn_instance_set_listener(vorn_instance *instance, vorn_instance_listener_fn fn,
                                        void *data) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
