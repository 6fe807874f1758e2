/* Classes: the schema that plugins declare.
 *
 * A plugin makes a class, sets its type and persistence, adds properties and adds the class to the registry
 * (model/classes.h), which owns it from then on; classes live until the process ends and never move.
 * Inheritance is single and one level deep: an abstract class has no instances of its own, its subclasses do,
 * and its subclass identifier is the property that names an instance's subclass.
 *
 * Functions return 0 on success and 1 on failure unless said otherwise. A null class is reported as
 * "Null class.\n" and fails. */
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

/* Returns nonzero when the instance as a whole is good. `collection` is what it is checked against. */
typedef int (*vorn_class_instance_validate_fn)(vorn_instances *collection, vorn_instance *instance);

/* Walks the properties of a class: those of its superclass first, then its own. */
typedef struct vorn_class_property_iterator vorn_class_property_iterator;

/* Returns a new class without type and properties, not persistent. It belongs to the caller until
 * vorn_classes_add takes it. Null without a name or memory. */
VORN_API vorn_class *vorn_class_new(const char *name) VORN_NOEXCEPT;

/* Returns a class of another name with the same type, persistence, instance check and own properties, but
 * without the place in a hierarchy. It belongs to the caller. Null without a name or memory. */
VORN_API vorn_class *vorn_class_clone(const vorn_class *cls, const char *name) VORN_NOEXCEPT;

/* Returns the name, which stays the class's. */
VORN_API const char *vorn_class_get_name(const vorn_class *cls) VORN_NOEXCEPT;

/* Names the abstract class that this class extends, once; the class of that name may be added later. */
VORN_API int vorn_class_set_superclass(vorn_class *cls, const char *name) VORN_NOEXCEPT;

/* Decides, once, whether the class is abstract (1) or concrete (0). Undecided classes become concrete. */
VORN_API int vorn_class_set_abstract(vorn_class *cls, int value) VORN_NOEXCEPT;

/* Makes `property` the identifier of an abstract class: not writable, required on insert, and one of the
 * class's own properties. The class takes it on success; after a failure it is the caller's, though its flags
 * may have been forced already. */
VORN_API int vorn_class_set_subclass_identifier(vorn_class *cls, vorn_property *property) VORN_NOEXCEPT;

/* Writes instances to the configuration file (1) or not (0, initially). */
VORN_API int vorn_class_set_persistence(vorn_class *cls, int persistence) VORN_NOEXCEPT;

/* Sets the type, one of VORN_CLASS_*. */
VORN_API int vorn_class_set_type(vorn_class *cls, unsigned type) VORN_NOEXCEPT;

/* Sets the check of whole instances; null clears it. */
VORN_API int vorn_class_set_instance_validate_fn(vorn_class *cls,
                                                 vorn_class_instance_validate_fn fn) VORN_NOEXCEPT;

/* Adds a property that passes vorn_property_is_valid and whose name is new to the class. The class takes it
 * on success. */
VORN_API int vorn_class_add_property(vorn_class *cls, vorn_property *property) VORN_NOEXCEPT;

/* Returns the property of that name of the class or, once the registry is closed, of its superclass; null
 * when there is none. It stays the class's. */
VORN_API vorn_property *vorn_class_get_property(const vorn_class *cls, const char *name) VORN_NOEXCEPT;

/* Returns the number of own properties; those of the superclass do not count. 0 for null. */
VORN_API int vorn_class_get_properties(const vorn_class *cls) VORN_NOEXCEPT;

/* Returns an iterator, to be freed with vorn_class_delete_property_iterator, or null without memory. A null
 * iterator is reported as "Null iterator.\n". */
VORN_API vorn_class_property_iterator *vorn_class_new_property_iterator(const vorn_class *cls) VORN_NOEXCEPT;
/* Returns 1 when there is a property to come, else 0. */
VORN_API int vorn_class_property_iterator_has_next(const vorn_class_property_iterator *it) VORN_NOEXCEPT;
/* Returns the next property, which stays the class's, or null at the end. */
VORN_API vorn_property *vorn_class_property_iterator_next(vorn_class_property_iterator *it) VORN_NOEXCEPT;
VORN_API int vorn_class_delete_property_iterator(vorn_class_property_iterator *it) VORN_NOEXCEPT;

/* Writes the class and its own properties, a line each. */
VORN_API void vorn_class_print(const vorn_class *cls, FILE *stream) VORN_NOEXCEPT;

/* Looks up the superclass, joins its subclasses and decides what was left open. Called once for every class
 * by vorn_classes_done_adding. */
VORN_API int vorn_class_resolve(vorn_class *cls) VORN_NOEXCEPT;

/* Checks a resolved class. Called by vorn_classes_done_adding after every class was resolved. */
VORN_API int vorn_class_validate(const vorn_class *cls) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
