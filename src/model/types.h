/* The records of the data model, as opaque handles. */
#ifndef VORN_MODEL_TYPES_H
#define VORN_MODEL_TYPES_H

typedef struct vorn_class vorn_class;
typedef struct vorn_property vorn_property;
typedef struct vorn_instance vorn_instance;
typedef struct vorn_instances vorn_instances;

#endif
