/* Tables instead of calls: a plugin lists its classes and properties, and these functions declare them to the
 * agent. They return 0, or 1 with the reason logged. */
#ifndef ACCESS_POINT_DECLARE_H
#define ACCESS_POINT_DECLARE_H

#include <vorn.h>

/* What a property is for. */
enum use {
  SETTING,  /* clients write it, the configuration file keeps it */
  REQUIRED, /* as above, and no instance is without it */
  FIXED,    /* set when the instance is inserted and never changed after that, kept in the file */
  LIVE      /* read from the system: clients only read it, and it is not in the file */
};

struct property_row {
  const char *name;
  enum use use;
  vorn_property_is_valid_fn is_valid;                   /* may be null for a LIVE one only */
  vorn_property_is_instance_valid_fn is_instance_valid; /* sees the other values too; null: none */
};

struct class_row {
  const char *name;
  unsigned type;          /* VORN_CLASS_* */
  const char *superclass; /* null: none */
  const char *identifier; /* names the subclass identifier of an abstract class, else null */
  vorn_class_instance_validate_fn is_instance_valid; /* null: every instance is valid */
  const struct property_row *properties;             /* ended by a row without a name */
  vorn_util_txt_table **tables;                      /* their columns are live properties, too; null: none */
};

struct provider_row {
  const char *name;
  vorn_provider_commit_fn commit; /* either function may be null, but not both */
  void *commit_data;              /* the committer, where that function is vorn_committer_fn */
  vorn_provider_refresh_fn refresh;
  void *refresh_data; /* the refresher, where that function is vorn_refresher_fn */
};

/* Returns 1 when the agent supports the version of the interface that this plugin was compiled for, else 0.
 * Then the plugin must declare nothing. */
int plugin_is_accepted(void);

int declare_class(const struct class_row *row);

int declare_provider(const struct provider_row *row);

#endif
