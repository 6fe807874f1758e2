/* A ready-made refresh function with a table of callbacks that compute the live values of one class.
 *
 * A plugin makes a refresher for each class that it serves, registers a callback for each live property, and
 * sets vorn_refresher_fn as the refresh function of a provider with the refresher as its data. For each
 * instance that a request asks for, the instance callback is called first, then the callbacks of the
 * properties that it asks for, in the order of their registration. These two may set values but must not
 * insert or delete.
 *
 * Setters return 0, or 1 with nothing changed: for a null argument, which is logged at debug level 1 and
 * above, or when memory runs out. */
#ifndef VORN_COMMIT_REFRESHER_H
#define VORN_COMMIT_REFRESHER_H

#include "commit/refresh_info.h"
#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

/* A table of callbacks for one class. */
typedef struct vorn_refresher vorn_refresher;

/* Called once in a refresh that asks for the class, before the instances. The result is ignored. */
typedef int (*vorn_refresher_pre_refresh_fn)(vorn_refresh_info *info);

/* Called for an instance, before its properties: for work that they have in common. The result is ignored. */
typedef int (*vorn_refresher_instance_fn)(vorn_instance *instance, vorn_refresh_info *info);

/* Returns the property's value now. The refresher copies it at once; it may be the instance's own stored
 * text. Null means no value: that is logged, and the property's value does not change. */
typedef const char *(*vorn_refresher_property_fn)(vorn_instance *instance, const char *property_name,
                                                  vorn_refresh_info *info);

/* Returns a refresher without callbacks, which belongs to the caller and must outlive its provider; there is
 * no function to free it. It stores the pointer to the name of the class, so that text must live as long. An
 * abstract class stands for its subclasses. Null when the name is null or memory runs out. */
VORN_API vorn_refresher *vorn_refresher_new(const char *class_name) VORN_NOEXCEPT;

/* Sets the callback that comes before all instances, in place of an earlier one. */
VORN_API int vorn_refresher_set_pre_refresh_fn(vorn_refresher *refresher,
                                               vorn_refresher_pre_refresh_fn fn) VORN_NOEXCEPT;

/* Sets the callback for instances, in place of an earlier one. */
VORN_API int vorn_refresher_set_instance_fn(vorn_refresher *refresher,
                                            vorn_refresher_instance_fn fn) VORN_NOEXCEPT;

/* Sets the callback for a property. Also 1, silently, for a property that has one: that one stays. */
VORN_API int vorn_refresher_set_property_fn(vorn_refresher *refresher, const char *property_name,
                                            vorn_refresher_property_fn fn) VORN_NOEXCEPT;

/* The refresh function of a provider whose data is a refresher: calls the callbacks. Returns 0, or 1 for null
 * data, which is logged at debug level 1 and above. */
VORN_API int vorn_refresher_fn(vorn_refresh_info *info) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
