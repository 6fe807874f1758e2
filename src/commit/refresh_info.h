/* What a provider gets before a request is evaluated: which classes, instances and properties the request
 * will read, and the collection whose instances it is to fill in. */
#ifndef VORN_COMMIT_REFRESH_INFO_H
#define VORN_COMMIT_REFRESH_INFO_H

#include "core/export.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* What one refresh asks for. */
typedef struct vorn_refresh_info vorn_refresh_info;

/* Returns an info that asks for nothing yet. It belongs to the caller; the collection is not taken over. Null
 * when memory runs out. */
VORN_API vorn_refresh_info *vorn_refresh_info_new(vorn_instances *instances) VORN_NOEXCEPT;

/* Asks for an instance, or for every instance of the class when `instance_name` is null, without any
 * property. Names are copied and not checked. Returns 0, or 1 for a null info or class or when memory runs
 * out. */
VORN_API int vorn_refresh_info_add_instance(vorn_refresh_info *info, const char *class_name,
                                            const char *instance_name) VORN_NOEXCEPT;

/* Asks for all properties of an instance, or of every instance when `instance_name` is null. Returns as
 * vorn_refresh_info_add_instance. */
VORN_API int vorn_refresh_info_add_all_properties(vorn_refresh_info *info, const char *class_name,
                                                  const char *instance_name) VORN_NOEXCEPT;

/* Asks for one property of an instance, or of every instance when `instance_name` is null. Returns as
 * vorn_refresh_info_add_instance, and 1 for a null property. */
VORN_API int vorn_refresh_info_add_property(vorn_refresh_info *info, const char *class_name,
                                            const char *instance_name,
                                            const char *property_name) VORN_NOEXCEPT;

/* Returns 1 when anything of the class is asked for, else 0; 1 for a null info, so that a refresh without one
 * refreshes everything. */
VORN_API int vorn_refresh_info_contains_class(const vorn_refresh_info *info,
                                              const char *class_name) VORN_NOEXCEPT;

/* Returns 1 when anything of the instance is asked for, else 0. Instances of a subclass are found under the
 * name of their superclass, and only there. */
VORN_API int vorn_refresh_info_contains_instance(const vorn_refresh_info *info,
                                                 const vorn_instance *instance) VORN_NOEXCEPT;

/* Returns 1 when this property of the instance is asked for, else 0. Subclasses are found as by
 * vorn_refresh_info_contains_instance. */
VORN_API int vorn_refresh_info_contains_property(const vorn_refresh_info *info, const vorn_instance *instance,
                                                 const char *property_name) VORN_NOEXCEPT;

/* Returns the collection to fill in, which is not the info's; null for null. */
VORN_API vorn_instances *vorn_refresh_info_get_instances(const vorn_refresh_info *info) VORN_NOEXCEPT;

/* Returns the data of the provider that is being called; null for null. */
VORN_API void *vorn_refresh_info_get_data(const vorn_refresh_info *info) VORN_NOEXCEPT;

/* Sets the data; the agent does so before it calls each provider. A null info is ignored. */
VORN_API void vorn_refresh_info_set_data(vorn_refresh_info *info, void *data) VORN_NOEXCEPT;

/* Writes what is asked for. */
VORN_API void vorn_refresh_info_print(const vorn_refresh_info *info, FILE *stream) VORN_NOEXCEPT;

/* Frees the info, not the collection. Null is ignored. */
VORN_API void vorn_refresh_info_delete(vorn_refresh_info *info) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
