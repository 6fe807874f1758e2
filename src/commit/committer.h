/* A ready-made commit function with a table of callbacks: for each deleted instance of a class do this, for
 * each new one that, when this property changes the other.
 *
 * A plugin makes a committer, registers its callbacks, and sets vorn_committer_fn as the commit function of a
 * provider with the committer as its data. In every commit the classes come in the order in which a callback
 * was first registered for each; within a class the deleted instances come first, then the updated and
 * inserted ones:
 *
 *   of a deleted instance   group change, instance delete, instance change (where asked for)
 *   of any other            group change, instance create (of a new one), instance change, property changes
 *
 * A group change is called once for each group and commit, at the first member that the walk meets; property
 * changes come in the order of their registration. A callback for an abstract class is called for the
 * instances of its subclasses. Callbacks may set values but must not insert or delete. Their results are
 * ignored, and a callback that fails is not retried.
 *
 * Setters return 0, or 1 with nothing changed: for a null argument, which is logged at debug level 1 and
 * above, or when memory runs out. Except for group changes they do not check whether the class and its
 * property exist; of an unknown class every commit says so in the log. A callback that is set again replaces
 * the earlier one and takes its position in the order. */
#ifndef VORN_COMMIT_COMMITTER_H
#define VORN_COMMIT_COMMITTER_H

#include "commit/commit_info.h"
#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

/* A table of callbacks. */
typedef struct vorn_committer vorn_committer;

/* Called once in every commit, before everything else. */
typedef int (*vorn_committer_pre_commit_fn)(vorn_commit_info *info);

/* Called for an instance that was inserted. */
typedef int (*vorn_committer_instance_create_fn)(vorn_instance *instance);

/* Called for the copy of an instance that was deleted. */
typedef int (*vorn_committer_instance_delete_fn)(vorn_instance *before, vorn_commit_info *info);

/* Called for an instance that was updated, one that was inserted (`before` is null) and, where asked for, one
 * that was deleted (`after` is null). */
typedef int (*vorn_committer_instance_change_fn)(vorn_instance *after, vorn_instance *before,
                                                 vorn_commit_info *info);

/* Called for a group when any of its members was changed; when the group is gone, `after` has no member of
 * it. */
typedef int (*vorn_committer_group_change_fn)(vorn_instances *after, const char *class_name,
                                              const char *group_name, vorn_commit_info *info);

/* Called for a property that was set, to whatever value, or that a new instance carries. The texts belong to
 * the instances; `old_value` is null when there was none. */
typedef int (*vorn_committer_property_change_fn)(vorn_instance *instance, const char *property_name,
                                                 const char *new_value, const char *old_value);

/* Returns a committer without callbacks, or null when memory runs out. It belongs to the caller and must
 * outlive its provider; there is no function to free it. */
VORN_API vorn_committer *vorn_committer_new(void) VORN_NOEXCEPT;

/* Sets the callback that comes before all others. */
VORN_API int vorn_committer_set_pre_commit_fn(vorn_committer *committer,
                                              vorn_committer_pre_commit_fn fn) VORN_NOEXCEPT;

/* Sets the callback for inserted instances of the class. */
VORN_API int vorn_committer_set_instance_create_fn(vorn_committer *committer, const char *class_name,
                                                   vorn_committer_instance_create_fn fn) VORN_NOEXCEPT;

/* Sets the callback for deleted instances of the class. */
VORN_API int vorn_committer_set_instance_delete_fn(vorn_committer *committer, const char *class_name,
                                                   vorn_committer_instance_delete_fn fn) VORN_NOEXCEPT;

/* Sets the callback for updated and inserted instances of the class and, when `on_delete` is not 0, for
 * deleted ones. */
VORN_API int vorn_committer_set_instance_change_fn(vorn_committer *committer, const char *class_name,
                                                   vorn_committer_instance_change_fn fn,
                                                   int on_delete) VORN_NOEXCEPT;

/* Sets the callback for the groups of the class. It also fails, which is logged at debug level 1 and above,
 * when the class has not been added yet or is not group-named. */
VORN_API int vorn_committer_set_group_change_fn(vorn_committer *committer, const char *class_name,
                                                vorn_committer_group_change_fn fn) VORN_NOEXCEPT;

/* Sets the callback for one property of the class. */
VORN_API int vorn_committer_set_property_change_fn(vorn_committer *committer, const char *class_name,
                                                   const char *property_name,
                                                   vorn_committer_property_change_fn fn) VORN_NOEXCEPT;

/* The commit function of a provider whose data is a committer: calls the callbacks. Returns 0, or 1 for null
 * data, which is logged at debug level 1 and above. */
VORN_API int vorn_committer_fn(vorn_commit_info *info) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
