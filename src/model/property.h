/* Properties: the named, string-valued members of a class.
 *
 * Functions return 0 on success and 1 on failure unless said otherwise. A null property is reported as
 * "Null property.\n" and fails. */
#ifndef VORN_MODEL_PROPERTY_H
#define VORN_MODEL_PROPERTY_H

#include "core/export.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* Returns nonzero when the value is good. The value is NUL-terminated and never null. */
typedef int (*vorn_property_is_valid_fn)(const char *value);

/* As above, for checks that depend on the instance's other values. */
typedef int (*vorn_property_is_instance_valid_fn)(vorn_instance *instance, const char *value);

/* Returns a new property that is readable, writable, not required on insert, without checks, and as
 * persistent as its class. It belongs to the caller until vorn_class_add_property or
 * vorn_class_set_subclass_identifier takes it. Null without a name or memory. */
VORN_API vorn_property *vorn_property_new(const char *name) VORN_NOEXCEPT;

/* Returns a copy with the same checks; it belongs to the caller. Null without memory. */
VORN_API vorn_property *vorn_property_clone(const vorn_property *property) VORN_NOEXCEPT;

/* Returns the name, which stays the property's. */
VORN_API const char *vorn_property_get_name(const vorn_property *property) VORN_NOEXCEPT;

/* Marks the property as one that clients read (nonzero) or not. Listings show it; a select returns every
 * property all the same. */
VORN_API int vorn_property_set_readable(vorn_property *property, int readable) VORN_NOEXCEPT;

/* Lets clients write the property (nonzero) or not. A subclass identifier is never writable. */
VORN_API int vorn_property_set_writable(vorn_property *property, int writable) VORN_NOEXCEPT;

/* Makes an instance without a value for the property invalid (nonzero) or not. A subclass identifier is
 * always required. */
VORN_API int vorn_property_set_required_on_insert(vorn_property *property, int required) VORN_NOEXCEPT;

/* Sets the check that every value must pass; null is refused. */
VORN_API int vorn_property_set_is_valid_fn(vorn_property *property,
                                           vorn_property_is_valid_fn fn) VORN_NOEXCEPT;

/* Sets the check that also sees the instance; null is refused. */
VORN_API int vorn_property_set_is_instance_valid_fn(vorn_property *property,
                                                    vorn_property_is_instance_valid_fn fn) VORN_NOEXCEPT;

/* Writes the property's values to the configuration file (1) or not (0); -1 follows the class. */
VORN_API int vorn_property_set_persistence(vorn_property *property, int persistence) VORN_NOEXCEPT;

/* Returns 1 when the property may join a class, else 0: its name must be an XML name without a colon
 * (reported always), and what is writable, or required without being a subclass identifier, needs a value
 * check. */
VORN_API int vorn_property_is_valid(const vorn_property *property) VORN_NOEXCEPT;

/* Writes the name and the flags readable, writable, required on insert and persistent, without a line end. */
VORN_API void vorn_property_print(const vorn_property *property, FILE *stream) VORN_NOEXCEPT;

/* Frees a property that no class has taken. */
VORN_API int vorn_property_delete(vorn_property *property) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
