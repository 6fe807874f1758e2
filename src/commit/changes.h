/* Changes: a recorder that watches a collection while it is being changed.
 *
 * It is made before the first change and keeps copies of all instances as they were. From then on it listens
 * to the collection and its instances, so that a commit can tell what was inserted, updated and deleted. All
 * functions tolerate null arguments and then return their failure value. */
#ifndef VORN_COMMIT_CHANGES_H
#define VORN_COMMIT_CHANGES_H

#include "core/export.h"
#include "model/instances.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

typedef struct vorn_changes vorn_changes;

/* Returns a recorder over `after`, which belongs to the caller and must be freed before the collection; null
 * without memory. One recorder listens to a collection at a time: one that is made over another one listens
 * in its place until it is freed; only instances added and removed meanwhile are recorded by both. */
VORN_API vorn_changes *vorn_changes_new(vorn_instances *after) VORN_NOEXCEPT;

/* Record one event each; the listeners call them, and a repeat is harmless. Return 0 or 1. */
VORN_API int vorn_changes_instance_inserted(vorn_changes *changes, vorn_instance *instance) VORN_NOEXCEPT;
VORN_API int vorn_changes_instance_deleted(vorn_changes *changes, vorn_instance *instance) VORN_NOEXCEPT;
VORN_API int vorn_changes_instance_updated(vorn_changes *changes, vorn_instance *instance) VORN_NOEXCEPT;
VORN_API int vorn_changes_add_property(vorn_changes *changes, vorn_instance *instance,
                                       const char *property_name) VORN_NOEXCEPT;

/* Returns the copies of the instances as they were; they stay the recorder's. */
VORN_API vorn_instances *vorn_changes_get_before(const vorn_changes *changes) VORN_NOEXCEPT;

/* Returns an iterator over the updated and inserted instances of a class, in the order in which they were
 * first touched; to be freed with vorn_instances_delete_iterator. */
VORN_API vorn_instances_iterator *
vorn_changes_new_class_instances_iterator(const vorn_changes *changes, const char *class_name) VORN_NOEXCEPT;

/* Returns an iterator over the copies of the deleted instances of a class, as above. */
VORN_API vorn_instances_iterator *
vorn_changes_new_deleted_class_instances_iterator(const vorn_changes *changes,
                                                  const char *class_name) VORN_NOEXCEPT;

/* Returns the instance as it was, or null for one that was inserted. */
VORN_API vorn_instance *vorn_changes_get_instance_before(const vorn_changes *changes,
                                                         vorn_instance *instance) VORN_NOEXCEPT;

/* Returns 1 when the class has a changed or deleted instance, else 0. */
VORN_API int vorn_changes_contains_class(const vorn_changes *changes, const char *class_name) VORN_NOEXCEPT;

/* Returns 1 when the instance was updated or inserted, else 0. */
VORN_API int vorn_changes_contains_instance(const vorn_changes *changes,
                                            vorn_instance *instance) VORN_NOEXCEPT;

/* Returns 1 when the property was set, to whatever value, or the instance was inserted with it, else 0. */
VORN_API int vorn_changes_contains_property(const vorn_changes *changes, vorn_instance *instance,
                                            const char *property_name) VORN_NOEXCEPT;

/* Writes the changed and the deleted instances. */
VORN_API void vorn_changes_print(const vorn_changes *changes, FILE *stream) VORN_NOEXCEPT;

/* Stops listening and frees the recorder with its copies. */
VORN_API void vorn_changes_delete(vorn_changes *changes) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
