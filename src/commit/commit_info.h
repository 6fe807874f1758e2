/* What a provider gets when a change set is committed. The cycle makes it for one call and frees it behind;
 * the provider must not keep it. All accessors return null for a null info. */
#ifndef VORN_COMMIT_COMMIT_INFO_H
#define VORN_COMMIT_COMMIT_INFO_H

#include "commit/actions.h"
#include "commit/changes.h"
#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

typedef struct vorn_commit_info vorn_commit_info;

/* Returns an info that refers to its arguments without owning them; null without memory. */
VORN_API vorn_commit_info *vorn_commit_info_new(vorn_instances *before, vorn_instances *after,
                                                vorn_changes *changes, vorn_actions *actions,
                                                void *data) VORN_NOEXCEPT;

/* Copies of all instances as they were before the change set. */
VORN_API vorn_instances *vorn_commit_info_get_before(const vorn_commit_info *info) VORN_NOEXCEPT;
/* The collection that was changed, normally the running configuration. */
VORN_API vorn_instances *vorn_commit_info_get_after(const vorn_commit_info *info) VORN_NOEXCEPT;
/* What was changed. */
VORN_API vorn_changes *vorn_commit_info_get_changes(const vorn_commit_info *info) VORN_NOEXCEPT;
/* The requests of this commit: those of providers that come earlier in the order are in it already. */
VORN_API vorn_actions *vorn_commit_info_get_actions(const vorn_commit_info *info) VORN_NOEXCEPT;
/* The provider's own data. */
VORN_API void *vorn_commit_info_get_data(const vorn_commit_info *info) VORN_NOEXCEPT;

/* Replaces the data for the rest of the call. */
VORN_API void vorn_commit_info_set_data(vorn_commit_info *info, void *data) VORN_NOEXCEPT;

/* Frees the record, not what it refers to. */
VORN_API void vorn_commit_info_delete(vorn_commit_info *info) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
