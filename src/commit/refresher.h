/* A ready-made refresh function with a table of callbacks that compute the live values of one class.
 *
 * A plugin makes a refresher for each class that it serves, registers a callback for each live property, and
 * sets vorn_refresher_fn as the refresh function of a provider with the refresher as its data. For each
 * instance that a request asks for, the instance callback is called first, then the callbacks of the
 * properties that it asks for, in the order of their registration. These two may set values but must not
 * insert or delete.
 *
 * Setters return 0, or 1 with the reason logged at debug level 1 and above. */
#ifndef VORN_COMMIT_REFRESHER_H
#define VORN_COMMIT_REFRESHER_H

#include "commit/refresh_info.h"
#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

typedef struct vorn_refresher vorn_refresher;

/* Called once, before the instances; the result is ignored. */
typedef int (*vorn_refresher_pre_refresh_fn)(vorn_refresh_info *info);

/* Called for an instance, before its properties: the place for work that they have in common. The result is
 * ignored. */
typedef int (*vorn_refresher_instance_fn)(vorn_instance *instance, vorn_refresh_info *info);

/* Returns the property's value now. The refresher copies it at once; it may be the instance's own stored
 * text. Null is no value: that is logged, and the property keeps the one it has. */
typedef const char *(*vorn_refresher_property_fn)(vorn_instance *instance, const char *property_name,
                                                  vorn_refresh_info *info);

/* Returns a refresher without callbacks, which belongs to the caller and must outlive its provider: it is
 * never freed. The name of the class is kept, not copied: it must live as long. An abstract class stands for
 * its subclasses. Null without a name or memory. */
VORN_API vorn_refresher *vorn_refresher_new(const char *class_name) VORN_NOEXCEPT;

VORN_API int vorn_refresher_set_pre_refresh_fn(vorn_refresher *refresher,
                                               vorn_refresher_pre_refresh_fn fn) VORN_NOEXCEPT;

VORN_API int vorn_refresher_set_instance_fn(vorn_refresher *refresher,
                                            vorn_refresher_instance_fn fn) VORN_NOEXCEPT;

/* A property that has a callback keeps it: the second one is refused. */
VORN_API int vorn_refresher_set_property_fn(vorn_refresher *refresher, const char *property_name,
                                            vorn_refresher_property_fn fn) VORN_NOEXCEPT;

/* The refresh function of a provider whose data is a refresher. Returns 0, or 1 when there is no refresher.
 */
VORN_API int vorn_refresher_fn(vorn_refresh_info *info) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
