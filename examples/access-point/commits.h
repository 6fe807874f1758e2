/* What providers ask of a commit, and of each other. */
#ifndef ACCESS_POINT_COMMITS_H
#define ACCESS_POINT_COMMITS_H

#include <vorn.h>

/* Returns 1 when the collection was empty before the commit, else 0. It is when a configuration file is
 * loaded: all instances of the file, and the singletons that it lacks, count as inserted. */
int commit_starts_from_nothing(vorn_commit_info *info);

/* Returns 1 when the values are equal or both are null, else 0. Clients often write back all that they have
 * read, so a property that was set has not always changed. */
int is_same(const char *one, const char *other);

/* For a provider that has itself changed the configuration, which must then be saved. */
void request_save(vorn_commit_info *info);

/* Returns 1 when an earlier provider has called request_save, else 0. */
int save_is_requested(vorn_commit_info *info);

#endif
