/* Properties: the named, string-valued members of a class.
 *
 * Functions return 0 on success and 1 on failure unless said otherwise. A null property fails and is logged
 * as "Null property.\n" at debug level 1 and above. Flags count as set when they are not 0. */
#ifndef VORN_MODEL_PROPERTY_H
#define VORN_MODEL_PROPERTY_H

#include "core/export.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* Checks a value: returns nonzero when it is good. The value is NUL-terminated and never null. */
typedef int (*vorn_property_is_valid_fn)(const char *value);

/* Checks a value of an instance, which it may look at: returns nonzero when it is good. */
typedef int (*vorn_property_is_instance_valid_fn)(vorn_instance *instance, const char *value);

/* Returns a new property that is readable, writable, not required on insert, without checks, and as
 * persistent as its class. It belongs to the caller until vorn_class_add_property or
 * vorn_class_set_subclass_identifier takes it. The name is copied. Null when the name is null, which is
 * logged at debug level 1 and above, or memory runs out. */
VORN_API vorn_property *vorn_property_new(const char *name) VORN_NOEXCEPT;

/* Returns a copy with the same flags and checks, which belongs to the caller. Null when memory runs out. */
VORN_API vorn_property *vorn_property_clone(const vorn_property *property) VORN_NOEXCEPT;

/* Returns the name, which belongs to the property; null for null. */
VORN_API const char *vorn_property_get_name(const vorn_property *property) VORN_NOEXCEPT;

/* Marks the property as one that clients read, or not. Only listings show it; a select returns every
 * property. */
VORN_API int vorn_property_set_readable(vorn_property *property, int readable) VORN_NOEXCEPT;

/* Lets clients write the property, or not. A subclass identifier is never writable: to make it so fails,
 * which is logged. */
VORN_API int vorn_property_set_writable(vorn_property *property, int writable) VORN_NOEXCEPT;

/* Makes an instance without a value for the property invalid, or not. A subclass identifier is always
 * required: to make it optional fails, which is logged. */
VORN_API int vorn_property_set_required_on_insert(vorn_property *property, int required) VORN_NOEXCEPT;

/* Sets the check that every value must pass; null is refused, which is logged at debug level 1 and above. */
VORN_API int vorn_property_set_is_valid_fn(vorn_property *property,
                                           vorn_property_is_valid_fn fn) VORN_NOEXCEPT;

/* Sets the check that also sees the instance and comes after the other one; null is refused, which is logged
 * at debug level 1 and above. */
VORN_API int vorn_property_set_is_instance_valid_fn(vorn_property *property,
                                                    vorn_property_is_instance_valid_fn fn) VORN_NOEXCEPT;

/* Writes the property's values to the configuration file (1) or not (0); -1 follows the class. */
VORN_API int vorn_property_set_persistence(vorn_property *property, int persistence) VORN_NOEXCEPT;

/* Returns 1 when a class may take the property, else 0. Its name must be an XML name without a colon, else
 * that is logged. One that is writable, or required on insert without being a subclass identifier, needs a
 * value check, else that is logged at debug level 1 and above. */
VORN_API int vorn_property_is_valid(const vorn_property *property) VORN_NOEXCEPT;

/* Writes the name and the flags readable, writable, required on insert and persistent, without a line end. */
VORN_API void vorn_property_print(const vorn_property *property, FILE *stream) VORN_NOEXCEPT;

/* Frees a property that no class has taken. Returns 0, or 1 for null. */
VORN_API int vorn_property_delete(vorn_property *property) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
