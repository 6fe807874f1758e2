/* Providers: the named units that make configuration take effect (commit) and read live values back
 * (refresh). A null provider is logged. */
#ifndef VORN_COMMIT_PROVIDER_H
#define VORN_COMMIT_PROVIDER_H

#include "commit/actions.h"
#include "commit/changes.h"
#include "commit/commit_info.h"
#include "commit/refresh_info.h"
#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

/* A name with a commit function, a refresh function, or both. */
typedef struct vorn_provider vorn_provider;

/* Called with every committed change set. The info is null when memory ran out. The result is ignored: a
 * commit cannot fail. */
typedef int (*vorn_provider_commit_fn)(vorn_commit_info *info);

/* Called before a request is evaluated, with what the request will read. The info belongs to the agent: do
 * not store it. The result is ignored. */
typedef int (*vorn_provider_refresh_fn)(vorn_refresh_info *info);

/* Returns a provider without functions, which belongs to the caller until vorn_providers_add takes it; no
 * function frees one. The name is copied. Null when the name is null, which is logged, or memory runs out. */
VORN_API vorn_provider *vorn_provider_new(const char *name) VORN_NOEXCEPT;

/* Sets the commit function, or removes it when `fn` is null, and the data that it finds in its info. The data
 * stays the caller's. Returns 0, or 1 for a null provider. */
VORN_API int vorn_provider_set_commit_fn(vorn_provider *provider, vorn_provider_commit_fn fn,
                                         void *data) VORN_NOEXCEPT;

/* Sets the refresh function, or removes it when `fn` is null, and the data that it finds in its info. The
 * data stays the caller's. Returns 0, or 1 for a null provider. */
VORN_API int vorn_provider_set_refresh_fn(vorn_provider *provider, vorn_provider_refresh_fn fn,
                                          void *data) VORN_NOEXCEPT;

/* Calls the commit function, if there is one, with an info that is made for this call. */
VORN_API void vorn_provider_commit(vorn_provider *provider, vorn_instances *after, vorn_changes *changes,
                                   vorn_actions *actions) VORN_NOEXCEPT;

/* Calls the refresh function, if there is one, with the provider's data in the info. */
VORN_API void vorn_provider_refresh(vorn_provider *provider, vorn_refresh_info *info) VORN_NOEXCEPT;

/* Returns 1 when the provider has at least one function, else 0 with the reason logged. */
VORN_API int vorn_provider_is_valid(const vorn_provider *provider) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
