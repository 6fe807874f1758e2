/* Readers of XML trees. What they return points into the document: do not free it, and use it only as long as
 * the document exists and is not changed. The records are libxml2's xmlDoc and xmlNode. */
#ifndef VORN_XML_NODES_H
#define VORN_XML_NODES_H

#include "core/export.h"

VORN_BEGIN_DECLS

struct _xmlDoc;
struct _xmlNode;

/* Returns the content of `node` when it is a text or CDATA node and `in_line` is not 0, else null. To read
 * the text of an element, pass its first child. `doc` is not used. */
VORN_API const char *vorn_util_xmlNodeListGetString(const struct _xmlDoc *doc, const struct _xmlNode *node,
                                                    int in_line) VORN_NOEXCEPT;

/* Returns the value of an element's attribute: "" for an empty one, null when the node, the name or the
 * attribute is missing. */
VORN_API const char *vorn_util_xmlGetProp(const struct _xmlNode *node, const char *name) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
