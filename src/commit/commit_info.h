/* What a provider gets when a change set is committed. The agent makes an info for each call and frees it
 * when the call returns; the provider must not store it. All getters return null for a null info. */
#ifndef VORN_COMMIT_COMMIT_INFO_H
#define VORN_COMMIT_COMMIT_INFO_H

#include "commit/actions.h"
#include "commit/changes.h"
#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

/* The context of one call of a commit function. */
typedef struct vorn_commit_info vorn_commit_info;

/* Returns an info that refers to its arguments without owning them; it belongs to the caller. Null when
 * memory runs out. */
VORN_API vorn_commit_info *vorn_commit_info_new(vorn_instances *before, vorn_instances *after,
                                                vorn_changes *changes, vorn_actions *actions,
                                                void *data) VORN_NOEXCEPT;

/* Returns copies of all instances as they were before the change set. They belong to the recorder. */
VORN_API vorn_instances *vorn_commit_info_get_before(const vorn_commit_info *info) VORN_NOEXCEPT;

/* Returns the collection that was changed, normally the running configuration. */
VORN_API vorn_instances *vorn_commit_info_get_after(const vorn_commit_info *info) VORN_NOEXCEPT;

/* Returns the recorder of what was changed. */
VORN_API vorn_changes *vorn_commit_info_get_changes(const vorn_commit_info *info) VORN_NOEXCEPT;

/* Returns the requests of this commit: those of providers that come earlier in the order are in it already.
 * Null when there was no memory for the set. */
VORN_API vorn_actions *vorn_commit_info_get_actions(const vorn_commit_info *info) VORN_NOEXCEPT;

/* Returns the provider's own data. */
VORN_API void *vorn_commit_info_get_data(const vorn_commit_info *info) VORN_NOEXCEPT;

/* Replaces the data for the rest of the call. A null info is ignored. */
VORN_API void vorn_commit_info_set_data(vorn_commit_info *info, void *data) VORN_NOEXCEPT;

/* Frees the record, not what it refers to. Null is ignored. */
VORN_API void vorn_commit_info_delete(vorn_commit_info *info) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
