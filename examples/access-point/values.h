/* Checks of values, in addition to those of the agent (support/input.h). The agent calls the check of a
 * property before it accepts a value, whether that comes from a client, from the configuration file or from a
 * plugin. All return 1 when the value is valid, else 0. */
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

/* Checks for properties. */

int is_flag(const char *value); /* 0 or 1 */
int is_text(const char *value); /* one line of up to 255 bytes, empty or blank as well */
int is_ipv4(const char *value); /* dotted decimal */
int is_mac(const char *value);  /* unicast: 02:00:5e:10:00:01 */
int is_port(const char *value); /* 1 to 65535 */

/* Names of network devices become parts of file names and arguments of programs, so they must not look like a
 * path or an option. */
int is_device_name(const char *value);

#endif
