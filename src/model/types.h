/* The records of the data model, as opaque handles. */
#ifndef VORN_MODEL_TYPES_H
#define VORN_MODEL_TYPES_H

/* A kind of instance, as a plugin declares it (model/class.h). */
typedef struct vorn_class vorn_class;

/* A named member of a class (model/property.h). */
typedef struct vorn_property vorn_property;

/* One object of a class, with its values (model/instance.h). */
typedef struct vorn_instance vorn_instance;

/* A collection of instances (model/instances.h). */
typedef struct vorn_instances vorn_instances;

#endif
