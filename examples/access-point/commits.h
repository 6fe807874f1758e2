/* What providers ask of a commit, and of each other. */
#ifndef ACCESS_POINT_COMMITS_H
#define ACCESS_POINT_COMMITS_H

#include <vorn.h>

/* Returns 1 when the collection was empty before the commit, else 0. So it is when a configuration file is
 * loaded: all that the file has, and the singletons that it lacks, come as inserted. */
int commit_starts_from_nothing(vorn_commit_info *info);

/* Returns 1 for equal values, and for none twice, else 0. Clients like to write back all that they have read,
 * so a property that was set is not always one that changed. */
int is_same(const char *one, const char *other);

/* A provider that has itself changed what it was given asks for it to be saved. */
void request_save(vorn_commit_info *info);

/* Returns 1 when an earlier provider has done so, else 0. */
int save_is_requested(vorn_commit_info *info);

#endif
