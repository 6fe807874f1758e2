/* The files of the wireless daemon, one for each radio and one for each access list. The names must be those
 * of configured instances: their checks let no name refer to another directory. */
#ifndef ACCESS_POINT_WIRELESS_FILES_H
#define ACCESS_POINT_WIRELESS_FILES_H

#include <vorn.h>

/* Makes the directory, and removes all files that are in it. */
void begin_wireless_files(void);

/* Write the file, or remove it when the configuration does not have the radio or any entry of the list. */
void write_radio_file(vorn_instances *instances, const char *radio);
void write_list_file(vorn_instances *instances, const char *list);

#endif
