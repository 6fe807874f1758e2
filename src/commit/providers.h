/* The registry of providers, the order between them, and the commit and refresh walks.
 *
 * Plugins add providers and declare pairs of an order by name, in any sequence; then the order is resolved
 * once, and every walk follows it. Nothing that a provider does or returns stops a walk. */
#ifndef VORN_COMMIT_PROVIDERS_H
#define VORN_COMMIT_PROVIDERS_H

#include "commit/provider.h"
#include "core/export.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* Makes the empty registry, unless there is one. Returns 0, or 1 when memory runs out. */
VORN_API int vorn_providers_init(void) VORN_NOEXCEPT;

/* Adds a valid provider, which the registry then owns. Once the order is resolved, a provider can still be
 * added but is never called. Returns 0, or 1 when the provider is null or has no function, or its name is
 * taken, each of which is logged, or when memory runs out; it then stays the caller's. */
VORN_API int vorn_providers_add(vorn_provider *provider) VORN_NOEXCEPT;

/* Returns the provider of that name, which stays the registry's, or null. */
VORN_API vorn_provider *vorn_providers_get(const char *name) VORN_NOEXCEPT;

/* Declares that the provider `before_name` comes before `after_name`; neither needs to exist. Returns 0, or 1
 * for a null name, which is logged, once the order is resolved, or when memory runs out. */
VORN_API int vorn_providers_order(const char *before_name, const char *after_name) VORN_NOEXCEPT;

/* Resolves the order. Providers without a declared relation come in the order in which their names were first
 * mentioned. Returns 0, or 1 for a circle, which is logged, or when memory runs out; the walks then reach
 * only the providers before the failure. Further calls do nothing and return 0. */
VORN_API int vorn_providers_done_adding(void) VORN_NOEXCEPT;

/* Writes the resolved order; names without a provider are marked. */
VORN_API void vorn_providers_print(FILE *stream) VORN_NOEXCEPT;

/* Lets every provider commit a change set that was applied to `after`. `actions` may be null; a set that is
 * given is freed here and must not be used afterwards. */
VORN_API void vorn_providers_commit(vorn_instances *after, vorn_changes *changes,
                                    vorn_actions *actions) VORN_NOEXCEPT;

/* Lets every provider fill in what the info asks for. */
VORN_API void vorn_providers_refresh(vorn_refresh_info *info) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
