/* Collections of instances: a whole configuration is one of them.
 *
 * A collection owns the instances that it holds. "remove" functions hand them back, "delete" functions free
 * them. Everything is listed in the order of insertion: classes by their first instance, the subclasses of an
 * abstract class by the order of the registry, groups by their first member.
 *
 * Functions return 0 on success and 1 on failure unless said otherwise, and report bad arguments: "Null
 * instances.\n", "Null class_name.\n", "Unknown class \"%s\".\n", "Null iterator.\n", "Null instance.
 * (%s)\n". */
#ifndef VORN_MODEL_INSTANCES_H
#define VORN_MODEL_INSTANCES_H

#include "core/export.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* Walks instances of a collection. The instance that was just returned may be removed; no other change to the
 * collection is allowed while an iterator is in use, and it must not outlive the collection. */
typedef struct vorn_instances_iterator vorn_instances_iterator;

enum { VORN_INSTANCES_ADDED = 0, VORN_INSTANCES_REMOVED = 1 };

/* Told of every vorn_instances_add (VORN_INSTANCES_ADDED) and vorn_instances_remove (VORN_INSTANCES_REMOVED)
 * that succeeded; the result is ignored. Must not change the collection. */
typedef int (*vorn_instances_listener_fn)(vorn_instance *instance, int event, void *data);

/* Returns an empty collection, which belongs to the caller, or null without memory. */
VORN_API vorn_instances *vorn_instances_new(void) VORN_NOEXCEPT;

/* Returns a collection of copies of all instances in the same order, without a listener; it belongs to the
 * caller. An instance that cannot be copied for want of memory, and those of its class behind it, are
 * missing. */
VORN_API vorn_instances *vorn_instances_copy(const vorn_instances *instances) VORN_NOEXCEPT;

/* Returns the instance of a singleton class, which stays the collection's, or null. */
VORN_API vorn_instance *vorn_instances_get_singleton(const vorn_instances *instances,
                                                     const char *class_name) VORN_NOEXCEPT;

/* Returns the instance of that name of a unique-named class, or of a subclass of an abstract one; it stays
 * the collection's. Null when there is none. */
VORN_API vorn_instance *vorn_instances_get(const vorn_instances *instances, const char *class_name,
                                           const char *instance_name) VORN_NOEXCEPT;

/* Adds an instance, which the collection owns when the result is 0. A second singleton and a unique name that
 * is taken, in the class or a sibling, are refused. */
VORN_API int vorn_instances_add(vorn_instances *instances, vorn_instance *instance) VORN_NOEXCEPT;

/* Takes this very instance (not an equal one) out; it is the caller's when the result is 0. */
VORN_API int vorn_instances_remove(vorn_instances *instances, vorn_instance *instance) VORN_NOEXCEPT;

/* Takes all instances of a concrete class out without freeing them; the listener is not told. */
VORN_API int vorn_instances_remove_class(vorn_instances *instances, const char *class_name) VORN_NOEXCEPT;

/* Takes all instances of a concrete class out and frees them; the listener is not told. */
VORN_API int vorn_instances_delete_class(vorn_instances *instances, const char *class_name) VORN_NOEXCEPT;

/* Frees the collection but not its instances, for collections that refer to another's. Null is ignored. */
VORN_API void vorn_instances_delete(vorn_instances *instances) VORN_NOEXCEPT;

/* Frees the collection and its instances. Null is ignored. */
VORN_API void vorn_instances_delete_all(vorn_instances *instances) VORN_NOEXCEPT;

/* Returns an iterator over all instances, to be freed with vorn_instances_delete_iterator; null without
 * memory. */
VORN_API vorn_instances_iterator *vorn_instances_new_iterator(const vorn_instances *instances) VORN_NOEXCEPT;

/* As above, over one class, or over the subclasses of an abstract one; over all when `class_name` is null. */
VORN_API vorn_instances_iterator *vorn_instances_new_class_iterator(const vorn_instances *instances,
                                                                    const char *class_name) VORN_NOEXCEPT;

/* As above, over the instances of one name of a unique-named or group-named class; over the class when
 * `group_name` is null. */
VORN_API vorn_instances_iterator *vorn_instances_new_group_iterator(const vorn_instances *instances,
                                                                    const char *class_name,
                                                                    const char *group_name) VORN_NOEXCEPT;

/* Returns 1 when there is an instance to come, else 0. */
VORN_API int vorn_instances_iterator_has_next(const vorn_instances_iterator *it) VORN_NOEXCEPT;
/* Returns the next instance, which stays the collection's, or null at the end. */
VORN_API vorn_instance *vorn_instances_iterator_next(vorn_instances_iterator *it) VORN_NOEXCEPT;
VORN_API int vorn_instances_delete_iterator(vorn_instances_iterator *it) VORN_NOEXCEPT;

/* Writes every instance, with an empty line behind each instance and each class. */
VORN_API void vorn_instances_print(const vorn_instances *instances, FILE *stream) VORN_NOEXCEPT;

/* Returns 1 when the collection holds no instance, else 0. */
VORN_API int vorn_instances_is_empty(const vorn_instances *instances) VORN_NOEXCEPT;

/* Sets the one listener in place of any other; a null `fn` clears it. 1, silently, for a null collection. */
VORN_API int vorn_instances_set_listener(vorn_instances *instances, vorn_instances_listener_fn fn,
                                         void *data) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
