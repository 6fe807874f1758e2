/* Classes: the schema that plugins declare.
 *
 * A plugin makes a class, sets its type and persistence, adds properties and adds the class to the registry
 * (model/classes.h), which owns it from then on; classes live until the process ends and never move.
 * Inheritance is single and one level deep: an abstract class has no instances of its own, its subclasses do,
 * and its subclass identifier is the property that names an instance's subclass.
 *
 * Functions return 0 on success and 1 on failure unless said otherwise. Refusals are logged at debug level 1
 * and above, a lack of memory is not. A null class is refused with "Null class.\n", a null iterator with
 * "Null iterator.\n". */
#ifndef VORN_MODEL_CLASS_H
#define VORN_MODEL_CLASS_H

#include "core/export.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* How many instances a class may have, and how they are named. */
enum {
  VORN_CLASS_SINGLETON = 1,    /* at most one, without a name */
  VORN_CLASS_ANONYMOUS = 2,    /* any number, without names */
  VORN_CLASS_UNIQUE_NAMED = 3, /* any number; a name occurs once in the class and its siblings */
  VORN_CLASS_GROUP_NAMED = 4   /* any number; instances that share a name form a group */
};

/* Checks an instance as a whole, which is to join `collection`: returns nonzero when it is good. */
typedef int (*vorn_class_instance_validate_fn)(vorn_instances *collection, vorn_instance *instance);

/* Walks the properties of a class: those of its superclass first, then its own. */
typedef struct vorn_class_property_iterator vorn_class_property_iterator;

/* Returns a new class without type and properties, not persistent. It belongs to the caller until
 * vorn_classes_add takes it; no function frees one. The name is copied. Null when the name is null or memory
 * runs out. */
VORN_API vorn_class *vorn_class_new(const char *name) VORN_NOEXCEPT;

/* Returns a class of another name with the same type, persistence, instance check and own properties, but
 * neither abstract nor with a superclass. It belongs to the caller as a new one does. Null when the name is
 * null or memory runs out. */
VORN_API vorn_class *vorn_class_clone(const vorn_class *cls, const char *name) VORN_NOEXCEPT;

/* Returns the name, which belongs to the class; null for a null class. */
VORN_API const char *vorn_class_get_name(const vorn_class *cls) VORN_NOEXCEPT;

/* Names the abstract class that this class extends; the class of that name may be added later. Refused when
 * the name is null, a superclass has been named already, or the class is abstract. */
VORN_API int vorn_class_set_superclass(vorn_class *cls, const char *name) VORN_NOEXCEPT;

/* Makes the class abstract (1) or concrete (0). Without a call it becomes concrete when the registry is
 * closed. Refused for another value, a class with a superclass, and a second call. */
VORN_API int vorn_class_set_abstract(vorn_class *cls, int value) VORN_NOEXCEPT;

/* Makes `property` the identifier of an abstract class: not writable, required on insert, and one of the
 * class's own properties, which the class then owns. Refused for a null property, a class that is not
 * abstract or has an identifier, and a name that the class has. The property then stays the caller's, but its
 * flags may have been changed already. */
VORN_API int vorn_class_set_subclass_identifier(vorn_class *cls, vorn_property *property) VORN_NOEXCEPT;

/* Writes instances to the configuration file (1) or not (0, initially). */
VORN_API int vorn_class_set_persistence(vorn_class *cls, int persistence) VORN_NOEXCEPT;

/* Sets the type, one of VORN_CLASS_*; other values are refused. */
VORN_API int vorn_class_set_type(vorn_class *cls, unsigned type) VORN_NOEXCEPT;

/* Sets the check of whole instances; null clears it. */
VORN_API int vorn_class_set_instance_validate_fn(vorn_class *cls,
                                                 vorn_class_instance_validate_fn fn) VORN_NOEXCEPT;

/* Adds a property, which the class then owns. Refused for a null property, one that does not pass
 * vorn_property_is_valid and, without a line in the log, one whose name the class has; it then stays the
 * caller's. */
VORN_API int vorn_class_add_property(vorn_class *cls, vorn_property *property) VORN_NOEXCEPT;

/* Returns the property of that name of the class or, once the registry is closed, of its superclass; null
 * when there is none. It belongs to the class. */
VORN_API vorn_property *vorn_class_get_property(const vorn_class *cls, const char *name) VORN_NOEXCEPT;

/* Returns how many properties the class has without those of its superclass; 0 for a null class. */
VORN_API int vorn_class_get_properties(const vorn_class *cls) VORN_NOEXCEPT;

/* Returns an iterator, which the caller frees with vorn_class_delete_property_iterator; null when the class
 * is null or memory runs out. */
VORN_API vorn_class_property_iterator *vorn_class_new_property_iterator(const vorn_class *cls) VORN_NOEXCEPT;

/* Returns 1 when there is a property to come, else 0. */
VORN_API int vorn_class_property_iterator_has_next(const vorn_class_property_iterator *it) VORN_NOEXCEPT;

/* Returns the next property, which belongs to the class; null at the end. */
VORN_API vorn_property *vorn_class_property_iterator_next(vorn_class_property_iterator *it) VORN_NOEXCEPT;

/* Frees the iterator. Returns 0, or 1 for null. */
VORN_API int vorn_class_delete_property_iterator(vorn_class_property_iterator *it) VORN_NOEXCEPT;

/* Writes the class and its own properties, a line each. */
VORN_API void vorn_class_print(const vorn_class *cls, FILE *stream) VORN_NOEXCEPT;

/* Finds the superclass, joins its subclasses and settles what was left open. vorn_classes_done_adding calls
 * it once for every class. Fails when there is no such superclass, or for a persistent property of a class
 * that is not persistent. */
VORN_API int vorn_class_resolve(vorn_class *cls) VORN_NOEXCEPT;

/* Checks a resolved class: its type, and that it fits into its hierarchy. vorn_classes_done_adding calls it
 * when every class is resolved. */
VORN_API int vorn_class_validate(const vorn_class *cls) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
