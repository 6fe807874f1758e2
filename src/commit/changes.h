/* Changes: a recorder that watches a collection while it is being changed.
 *
 * It is made before the first change. From then on it hears of every instance that comes, goes or gets a
 * value, so that a commit can tell what was inserted, updated and deleted. It copies an instance as it was
 * before that instance's first change; where memory does not suffice for the copy, the change is refused and
 * nothing has changed. What it has no copy of is as it was.
 *
 * Recorders nest: while a request is evaluated, a provider may evaluate another one, with a recorder of its
 * own. What happens belongs to the innermost recorder over the collection, whoever made it. What that one has
 * told of, or was never to tell of, is no change of the outer one's. The outer one goes on telling rightly
 * what was before; it no longer lists an instance that is gone; and an instance that came in meanwhile and
 * that it updates itself counts as updated, without a copy. Values that a refresh function stores by itself
 * are changes of the request that asks for the refresh.
 *
 * Instances that leave as a whole class (vorn_instances_delete_class, vorn_instances_remove_class) are not
 * listed as deleted. They leave the list of the changed, and what was before still has them; one that is
 * added again counts as inserted.
 *
 * All functions accept null arguments and then return their failure value. */
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
 * before the collection. Listeners that were set on the collection and its instances are removed, now and
 * when the recorder is freed; those that are set meanwhile are called. */
VORN_API vorn_changes *vorn_changes_new(vorn_instances *after) VORN_NOEXCEPT;

/* Records that the instance was inserted, with the values that it has. That is done whenever one is added, so
 * a plugin need not call this. Returns 0, also for an instance that is recorded already or was there before,
 * or 1 when memory runs out. */
VORN_API int vorn_changes_instance_inserted(vorn_changes *changes, vorn_instance *instance) VORN_NOEXCEPT;

/* Records that the instance was taken out of the collection, as is done whenever one is removed. It loses its
 * listener, and one that was inserted since the start is then in no list at all. Returns 0, also for an
 * instance that the collection does not hold, or 1 when memory runs out. */
VORN_API int vorn_changes_instance_deleted(vorn_changes *changes, vorn_instance *instance) VORN_NOEXCEPT;

/* Records that the instance was updated, as is done whenever a value is set. Returns 0, also for a repeat, or
 * 1 when the collection does not hold the instance or memory runs out. */
VORN_API int vorn_changes_instance_updated(vorn_changes *changes, vorn_instance *instance) VORN_NOEXCEPT;

/* Records that the property was set, as is done whenever a value is. The name is copied, and not checked
 * against the class. Returns 0, also for a repeat, or 1 when the collection does not hold the instance or
 * memory runs out. */
VORN_API int vorn_changes_add_property(vorn_changes *changes, vorn_instance *instance,
                                       const char *property_name) VORN_NOEXCEPT;

/* Returns the collection as it was, with copies of the instances; both belong to the recorder. The copies of
 * a class are made when somebody first asks for that class: an iterator or an instance is null when memory
 * does not suffice. Whether it is empty costs nothing to ask. */
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

/* Returns the copy of the instance as it was, which belongs to the recorder, the same that the collection as
 * it was holds; null for an instance that came in since or that the collection does not hold, and when memory
 * runs out. */
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

/* Frees the recorder with its copies, and removes the listeners of the collection and its instances. */
VORN_API void vorn_changes_delete(vorn_changes *changes) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
