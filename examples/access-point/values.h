/* Checks of values, beside those that the agent brings (support/input.h). The agent hands every value to its
 * property's check before it takes it, whether it comes from a client, from the configuration file or from a
 * plugin. All return 1 when the value is good, else 0. */
#ifndef ACCESS_POINT_VALUES_H
#define ACCESS_POINT_VALUES_H

/* Building blocks. */

/* Pairs of the first and the last character of a range. */
#define DIGITS "09"
#define LETTERS "azAZ"

/* `min` to `max` bytes, all of them in one of the ranges. */
int made_of(const char *value, int min, int max, const char *ranges);

/* A decimal number without sign, blanks or leading zeros. */
int in_range(const char *value, int low, int high);

/* One of the words; a null pointer ends them. */
int one_of(const char *value, const char *const words[]);

/* Checks that fit a property as they are. */

int is_flag(const char *value); /* 0 or 1 */
int is_text(const char *value); /* one line of up to 255 bytes, empty or blank as well */
int is_ipv4(const char *value); /* dotted decimal */
int is_mac(const char *value);  /* of one station, not of a group: 02:00:5e:10:00:01 */
int is_port(const char *value); /* 1 to 65535 */

/* Names of network devices become parts of file names and arguments of programs, so they must be neither a
 * path nor an option. */
int is_device_name(const char *value);

#endif
