/* A plugin whose class lacks its type. */
#include <vorn.h>

int vorn_plugin_init(void) { return vorn_classes_add(vorn_class_new("untyped")); }
