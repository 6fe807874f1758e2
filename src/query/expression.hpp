// The expressions of "where".
#pragma once

#include "commit/refresh_info.h"
#include "model/types.h"
#include <libxml/tree.h>

namespace vorn {

// Evaluates an expression for one instance: a text, which belongs to the document or the instance, or null
// for false. An absent expression is false.
const char *evaluate_expression(const xmlNode *node, const vorn_instance &instance);

// Notes the properties that the expression reads.
void refresh_expression(const xmlNode *node, vorn_refresh_info *info, const char *class_name,
                        const char *instance_name);

} // namespace vorn
