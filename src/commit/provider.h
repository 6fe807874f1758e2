/* Providers: the named units that make configuration take effect (commit) and read live values back
 * (refresh). */
#ifndef VORN_COMMIT_PROVIDER_H
#define VORN_COMMIT_PROVIDER_H

#include "commit/actions.h"
#include "commit/changes.h"
#include "commit/commit_info.h"
#include "commit/refresh_info.h"
#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

typedef struct vorn_provider vorn_provider;

/* Called with every committed change set. The info is null when memory ran out. The result is ignored: a
 * commit cannot fail. */
typedef int (*vorn_provider_commit_fn)(vorn_commit_info *info);

/* Called before a query is answered. The result is ignored. */
typedef int (*vorn_provider_refresh_fn)(vorn_refresh_info *info);

/* Returns a provider without functions, which belongs to the caller until vorn_providers_add takes it. Null
 * without a name or memory. */
VORN_API vorn_provider *vorn_provider_new(const char *name) VORN_NOEXCEPT;

/* Set the functions and what they find as data in their info. Return 0, or 1 for a null provider. */
VORN_API int vorn_provider_set_commit_fn(vorn_provider *provider, vorn_provider_commit_fn fn,
                                         void *data) VORN_NOEXCEPT;
VORN_API int vorn_provider_set_refresh_fn(vorn_provider *provider, vorn_provider_refresh_fn fn,
                                          void *data) VORN_NOEXCEPT;

/* Calls the commit function, if there is one. */
VORN_API void vorn_provider_commit(vorn_provider *provider, vorn_instances *after, vorn_changes *changes,
                                   vorn_actions *actions) VORN_NOEXCEPT;

/* Calls the refresh function, if there is one, with the provider's data in the info. */
VORN_API void vorn_provider_refresh(vorn_provider *provider, vorn_refresh_info *info) VORN_NOEXCEPT;

/* Returns 1 when the provider has at least one function, else 0. */
VORN_API int vorn_provider_is_valid(const vorn_provider *provider) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
