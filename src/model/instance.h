/* Instances: objects of a class, with an optional name and string values.
 *
 * A null instance fails. It is logged as "Null instance. (%s)\n" with the function's name, unless said
 * otherwise. */
#ifndef VORN_MODEL_INSTANCE_H
#define VORN_MODEL_INSTANCE_H

#include "core/export.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* Called after a value was set, with the data that it was registered with. The result is ignored. It must not
 * delete the instance. */
typedef int (*vorn_instance_listener_fn)(vorn_instance *instance, const char *property_name, void *data);

/* Returns a new instance without values, which belongs to the caller until vorn_instances_add takes it.
 * `name` is copied; it must be null for singleton and anonymous classes and given for the named ones. Null
 * for an abstract class, one that vorn_classes_done_adding has not closed yet, a null class and a name that
 * does not fit, which is logged, and when memory runs out. */
VORN_API vorn_instance *vorn_instance_new(vorn_class *cls, const char *name) VORN_NOEXCEPT;

/* Returns an instance with the same name and values but without a listener, which belongs to the caller. Null
 * when memory runs out. */
VORN_API vorn_instance *vorn_instance_copy(const vorn_instance *instance) VORN_NOEXCEPT;

/* Frees an instance that is in no collection. Returns 0, or 1 for null. */
VORN_API int vorn_instance_delete(vorn_instance *instance) VORN_NOEXCEPT;

/* Returns the class, which belongs to the registry. */
VORN_API vorn_class *vorn_instance_get_class(const vorn_instance *instance) VORN_NOEXCEPT;

/* Returns the name, which belongs to the instance, or null when it has none. */
VORN_API const char *vorn_instance_get_name(const vorn_instance *instance) VORN_NOEXCEPT;

/* Returns the value, valid until that property is set again or the instance deleted; null when there is none,
 * and for a null name, which is logged. The name is not checked against the class. */
VORN_API const char *vorn_instance_get_value(const vorn_instance *instance,
                                             const char *property_name) VORN_NOEXCEPT;

/* Checks the value, stores a copy of it after all other values, and calls the listener. Whether clients may
 * write the property does not matter here. Returns 0, or 1 with the old value unchanged: for a null argument,
 * a property that the class does not have or a value that its checks refuse, which is logged, or when memory
 * runs out. */
VORN_API int vorn_instance_set_value(vorn_instance *instance, const char *property_name,
                                     const char *value) VORN_NOEXCEPT;

/* Returns 1 when the value of the property "status" is "up", else 0. */
VORN_API int vorn_instance_get_status(const vorn_instance *instance) VORN_NOEXCEPT;

/* Returns 1 when the instance passes the check of whole instances that its class may have, which is given
 * `collection`, and has all properties that are required on insert; else 0, also for null, and nothing is
 * logged. When the result is 0 and `error` is not null, it receives the reason without a line end, which the
 * caller frees with free(3), or null when memory runs out. */
VORN_API int vorn_instance_is_valid(vorn_instances *collection, vorn_instance *instance,
                                    char **error) VORN_NOEXCEPT;

/* Writes a line with the name and the class, and one for each value. A null instance is logged as "Instance
 * is null.\n". */
VORN_API void vorn_instance_print(const vorn_instance *instance, FILE *stream) VORN_NOEXCEPT;

/* Sets the listener and its data in place of any other; a null `fn` removes it. Returns 0, or 1 for a null
 * instance, which is not logged. */
VORN_API int vorn_instance_set_listener(vorn_instance *instance, vorn_instance_listener_fn fn,
                                        void *data) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
