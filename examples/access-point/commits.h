/* What providers ask of a commit. */
#ifndef ACCESS_POINT_COMMITS_H
#define ACCESS_POINT_COMMITS_H

#include <vorn.h>

/* Returns 1 when the collection was empty before the commit, else 0. So it is when a configuration file is
 * loaded: all that the file has, and the singletons that it lacks, come as inserted. */
int commit_starts_from_nothing(vorn_commit_info *info);

/* Returns the instance's value of the property if the commit gave it a new one, else null. Clients like to
 * write back all that they have read, so a property that was set is not always one that changed. */
const char *changed_value(vorn_changes *changes, vorn_instance *instance, const char *property);

#endif
