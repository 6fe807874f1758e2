/* A ready-made commit function with a table of callbacks: for each deleted instance of a class do this, for
 * each new one that, when this property changes the other.
 *
 * A plugin makes a committer, registers its callbacks, and sets vorn_committer_fn as the commit function of a
 * provider with the committer as its data. In every commit the classes come in the order in which a callback
 * was first registered for each; within a class first the deleted instances, then the updated and inserted
 * ones:
 *
 *   of a deleted instance   group change, instance delete, instance change (where asked for)
 *   of any other            group change, instance create (of a new one), instance change, property changes
 *
 * A group change is called once for each group and commit, at the first member met; property changes come in
 * the order of their registration. A callback for an abstract class is called for the instances of its
 * subclasses. Callbacks may set values but must not insert or delete; their results are ignored, and none is
 * called again for having failed.
 *
 * Setters return 0, or 1 with the reason logged at debug level 1 and above and nothing changed. Except for
 * group changes it is not checked whether the class and its property exist; of a class that does not, every
 * commit says so in the log. A callback that is set again
 * replaces the one before, in its place. */
#ifndef VORN_COMMIT_COMMITTER_H
#define VORN_COMMIT_COMMITTER_H

#include "commit/commit_info.h"
#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

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

/* Called for a group of which any member was changed; of a group that is gone `after` has no member. */
typedef int (*vorn_committer_group_change_fn)(vorn_instances *after, const char *class_name,
                                              const char *group_name, vorn_commit_info *info);

/* Called for a property that was set, to whatever value, or that a new instance carries. The texts are those
 * of the instances; `old_value` is null when there was none. */
typedef int (*vorn_committer_property_change_fn)(vorn_instance *instance, const char *property_name,
                                                 const char *new_value, const char *old_value);

/* Returns a committer without callbacks, which belongs to the caller and must outlive its provider: it is
 * never freed. Null without memory. */
VORN_API vorn_committer *vorn_committer_new(void) VORN_NOEXCEPT;

VORN_API int vorn_committer_set_pre_commit_fn(vorn_committer *committer,
                                              vorn_committer_pre_commit_fn fn) VORN_NOEXCEPT;

VORN_API int vorn_committer_set_instance_create_fn(vorn_committer *committer, const char *class_name,
                                                   vorn_committer_instance_create_fn fn) VORN_NOEXCEPT;

VORN_API int vorn_committer_set_instance_delete_fn(vorn_committer *committer, const char *class_name,
                                                   vorn_committer_instance_delete_fn fn) VORN_NOEXCEPT;

/* A nonzero `on_delete` asks for calls for deleted instances too. */
VORN_API int vorn_committer_set_instance_change_fn(vorn_committer *committer, const char *class_name,
                                                   vorn_committer_instance_change_fn fn,
                                                   int on_delete) VORN_NOEXCEPT;

/* The class must have been added already, and be of the group-named type. */
VORN_API int vorn_committer_set_group_change_fn(vorn_committer *committer, const char *class_name,
                                                vorn_committer_group_change_fn fn) VORN_NOEXCEPT;

VORN_API int vorn_committer_set_property_change_fn(vorn_committer *committer, const char *class_name,
                                                   const char *property_name,
                                                   vorn_committer_property_change_fn fn) VORN_NOEXCEPT;

/* The commit function of a provider whose data is a committer. Returns 0, or 1 when there is no committer. */
VORN_API int vorn_committer_fn(vorn_commit_info *info) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
