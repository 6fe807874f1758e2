/* Collections of instances: a whole configuration is one of them.
 *
 * A collection owns the instances that it holds. "remove" functions give them back to the caller, "delete"
 * functions free them. Everything is listed in the order of insertion: classes by their first instance, the
 * subclasses of an abstract class by the order of the registry, groups by their first member.
 *
 * Functions return 0 on success and 1 on failure unless said otherwise. Bad arguments fail and are logged:
 * "Null instances.\n", "Null instance. (%s)\n", "Null class_name.\n", "Unknown class \"%s\".\n", "Null
 * iterator.\n". A lack of memory is not logged. */
#ifndef VORN_MODEL_INSTANCES_H
#define VORN_MODEL_INSTANCES_H

#include "core/export.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* Walks instances of a collection. While an iterator is in use any instance may be added and removed: it goes
 * on with those that are there. An iterator must not outlive the collection. */
typedef struct vorn_instances_iterator vorn_instances_iterator;

/* The events that a listener is told of. */
enum { VORN_INSTANCES_ADDED = 0, VORN_INSTANCES_REMOVED = 1 };

/* Called after every successful vorn_instances_add (VORN_INSTANCES_ADDED) and vorn_instances_remove
 * (VORN_INSTANCES_REMOVED), with the data that it was registered with. The result is ignored. It must not
 * change the collection. */
typedef int (*vorn_instances_listener_fn)(vorn_instance *instance, int event, void *data);

/* Returns an empty collection, which belongs to the caller, or null when memory runs out. */
VORN_API vorn_instances *vorn_instances_new(void) VORN_NOEXCEPT;

/* Returns a collection of copies of all instances in the same order, without a listener; it belongs to the
 * caller. Null when there is no memory for the collection. When memory runs out for an instance, that one and
 * those of its class after it are missing. */
VORN_API vorn_instances *vorn_instances_copy(const vorn_instances *instances) VORN_NOEXCEPT;

/* Returns the instance of a singleton class, which belongs to the collection. Null when there is none, and
 * for a class of another type, which is logged. */
VORN_API vorn_instance *vorn_instances_get_singleton(const vorn_instances *instances,
                                                     const char *class_name) VORN_NOEXCEPT;

/* Returns the instance of that name of a unique-named class, or of a subclass of an abstract one; it belongs
 * to the collection. Null when there is none, and for a null name or a class of another type, which is
 * logged. */
VORN_API vorn_instance *vorn_instances_get(const vorn_instances *instances, const char *class_name,
                                           const char *instance_name) VORN_NOEXCEPT;

/* Adds an instance, which the collection owns when the result is 0. Fails for a second singleton, for a
 * unique name that is taken, in the class or a sibling, and when memory runs out. */
VORN_API int vorn_instances_add(vorn_instances *instances, vorn_instance *instance) VORN_NOEXCEPT;

/* Takes this very instance (not an equal one) out; it belongs to the caller when the result is 0. Fails when
 * the collection does not hold it. */
VORN_API int vorn_instances_remove(vorn_instances *instances, vorn_instance *instance) VORN_NOEXCEPT;

/* Takes all instances of a concrete class out, if there are any, without freeing them; they belong to the
 * caller. The listener is not told. */
VORN_API int vorn_instances_remove_class(vorn_instances *instances, const char *class_name) VORN_NOEXCEPT;

/* Takes all instances of a concrete class out, if there are any, and frees them. The listener is not told. */
VORN_API int vorn_instances_delete_class(vorn_instances *instances, const char *class_name) VORN_NOEXCEPT;

/* Frees the collection but not its instances: for a collection whose instances belong to another one. Null is
 * ignored. */
VORN_API void vorn_instances_delete(vorn_instances *instances) VORN_NOEXCEPT;

/* Frees the collection and its instances. Null is ignored. */
VORN_API void vorn_instances_delete_all(vorn_instances *instances) VORN_NOEXCEPT;

/* Returns an iterator over all instances, which the caller frees with vorn_instances_delete_iterator; null
 * when memory runs out. */
VORN_API vorn_instances_iterator *vorn_instances_new_iterator(const vorn_instances *instances) VORN_NOEXCEPT;

/* Returns such an iterator over one class, or over the subclasses of an abstract one; over all instances when
 * `class_name` is null. Null when memory runs out. */
VORN_API vorn_instances_iterator *vorn_instances_new_class_iterator(const vorn_instances *instances,
                                                                    const char *class_name) VORN_NOEXCEPT;

/* Returns such an iterator over the instances of one name of a unique-named or group-named class; over the
 * whole class when `group_name` is null. Null for another type of class or a name without a class, which is
 * logged, or when memory runs out. */
VORN_API vorn_instances_iterator *vorn_instances_new_group_iterator(const vorn_instances *instances,
                                                                    const char *class_name,
                                                                    const char *group_name) VORN_NOEXCEPT;

/* Returns 1 when there is an instance to come, else 0. */
VORN_API int vorn_instances_iterator_has_next(const vorn_instances_iterator *it) VORN_NOEXCEPT;

/* Returns the next instance, which belongs to the collection, or null at the end. */
VORN_API vorn_instance *vorn_instances_iterator_next(vorn_instances_iterator *it) VORN_NOEXCEPT;

/* Frees the iterator. Returns 0, or 1 for null. */
VORN_API int vorn_instances_delete_iterator(vorn_instances_iterator *it) VORN_NOEXCEPT;

/* Writes every instance, with an empty line after each instance and each class. */
VORN_API void vorn_instances_print(const vorn_instances *instances, FILE *stream) VORN_NOEXCEPT;

/* Returns 1 when the collection holds no instance, or is null, else 0. */
VORN_API int vorn_instances_is_empty(const vorn_instances *instances) VORN_NOEXCEPT;

/* Sets the listener and its data in place of any other; a null `fn` removes it. A null collection is not
 * logged. */
VORN_API int vorn_instances_set_listener(vorn_instances *instances, vorn_instances_listener_fn fn,
                                         void *data) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
