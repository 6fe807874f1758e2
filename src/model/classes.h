/* The registry of classes: filled while plugins load, then closed and checked, never emptied. Listings follow
 * the order of addition. */
#ifndef VORN_MODEL_CLASSES_H
#define VORN_MODEL_CLASSES_H

#include "core/export.h"
#include "model/types.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* Walks all classes. */
typedef struct vorn_classes_iterator vorn_classes_iterator;

/* Adds a class, which the registry then owns. Returns 0. Returns 1 when its name is "lsql", "where" or no XML
 * name without a colon, which is logged; when the class is null or its name taken, which is logged at debug
 * level 1 and above; or when memory runs out. The class then stays the caller's. */
VORN_API int vorn_classes_add(vorn_class *cls) VORN_NOEXCEPT;

/* Returns the class of that name, which belongs to the registry, or null. */
VORN_API vorn_class *vorn_classes_get(const char *name) VORN_NOEXCEPT;

/* Returns an iterator, which the caller frees with vorn_classes_delete_iterator; null when memory runs out.
 * The functions below log a null iterator as "Null iterator.\n" at debug level 1 and above. */
VORN_API vorn_classes_iterator *vorn_classes_new_iterator(void) VORN_NOEXCEPT;

/* Returns 1 when there is a class to come, else 0. */
VORN_API int vorn_classes_iterator_has_next(const vorn_classes_iterator *it) VORN_NOEXCEPT;

/* Returns the next class, which belongs to the registry, or null at the end. */
VORN_API vorn_class *vorn_classes_iterator_next(vorn_classes_iterator *it) VORN_NOEXCEPT;

/* Frees the iterator. Returns 0, or 1 for null. */
VORN_API int vorn_classes_delete_iterator(vorn_classes_iterator *it) VORN_NOEXCEPT;

/* Writes every class, each with an empty line after it. */
VORN_API void vorn_classes_print(FILE *stream) VORN_NOEXCEPT;

/* Closes the registry: resolves every class, then validates every class. Returns 0 when all are good, else 1;
 * each bad one is logged at debug level 1 and above. */
VORN_API int vorn_classes_done_adding(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
