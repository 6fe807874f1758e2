/* Changes: a recorder that watches a collection while it is being changed.
 *
 * It is made before the first change and copies all instances as they are then. From then on it listens to
 * the collection and its instances, so that a commit can tell what was inserted, updated and deleted. All
 * functions accept null arguments and then return their failure value. */
#ifndef VORN_COMMIT_CHANGES_H
#define VORN_COMMIT_CHANGES_H

#include "core/export.h"
#include "model/instances.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* A recorder. */
typedef struct vorn_changes vorn_changes;

/* Returns a recorder over `after`, or null when memory runs out. It belongs to the caller, who must free it
 * before the collection. Of several recorders over one collection only the newest hears of values that are
 * set, until it is freed; instances that are added and removed are recorded by all of them. */
VORN_API vorn_changes *vorn_changes_new(vorn_instances *after) VORN_NOEXCEPT;

/* Records that the instance was inserted, with the values that it has. The listeners call this, so a plugin
 * need not. Returns 0, also for an instance that is recorded already, or 1 when memory runs out. */
VORN_API int vorn_changes_instance_inserted(vorn_changes *changes, vorn_instance *instance) VORN_NOEXCEPT;

/* Records that the instance was taken out of the collection; called by the listeners, before it is freed. It
 * loses its listener, and one that was inserted since the start is then in no list at all. Returns 0, also
 * for an instance that is not recorded. */
VORN_API int vorn_changes_instance_deleted(vorn_changes *changes, vorn_instance *instance) VORN_NOEXCEPT;

/* Records that the instance was updated; called by the listeners. Returns 0, also for a repeat, or 1 when the
 * collection does not hold the instance or memory runs out. */
VORN_API int vorn_changes_instance_updated(vorn_changes *changes, vorn_instance *instance) VORN_NOEXCEPT;

/* Records that the property was set; called by the listeners, after vorn_changes_instance_updated. The name
 * is copied, and not checked against the class. Returns 0, also for a repeat, or 1 when the collection does
 * not hold the instance or memory runs out. */
VORN_API int vorn_changes_add_property(vorn_changes *changes, vorn_instance *instance,
                                       const char *property_name) VORN_NOEXCEPT;

/* Returns the copies of the instances as they were, which belong to the recorder. */
VORN_API vorn_instances *vorn_changes_get_before(const vorn_changes *changes) VORN_NOEXCEPT;

/* Returns an iterator over the updated and inserted instances of a class, or of all classes when `class_name`
 * is null. They are listed as in any collection (model/instances.h), by their first change. The caller frees
 * the iterator with vorn_instances_delete_iterator. Null for an unknown class, which is logged, or when
 * memory runs out. */
VORN_API vorn_instances_iterator *
vorn_changes_new_class_instances_iterator(const vorn_changes *changes, const char *class_name) VORN_NOEXCEPT;

/* Returns an iterator over the copies of the deleted instances; otherwise it is like
 * vorn_changes_new_class_instances_iterator. */
VORN_API vorn_instances_iterator *
vorn_changes_new_deleted_class_instances_iterator(const vorn_changes *changes,
                                                  const char *class_name) VORN_NOEXCEPT;

/* Returns the copy of the instance as it was, which belongs to the recorder; null for an instance that was
 * inserted or that the collection does not hold. */
VORN_API vorn_instance *vorn_changes_get_instance_before(const vorn_changes *changes,
                                                         vorn_instance *instance) VORN_NOEXCEPT;

/* Returns 1 when an instance of the class, or of a subclass of an abstract one, was inserted, updated or
 * deleted, else 0. */
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
