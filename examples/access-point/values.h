/* Checks of values. The agent hands every value to its property's check before it takes it, whether it comes
 * from a client, from the configuration file or from a plugin. All return 1 when the value is good, else 0.
 */
#ifndef ACCESS_POINT_VALUES_H
#define ACCESS_POINT_VALUES_H

#include <stddef.h>

#define DIGITS "0123456789"
#define HEX_DIGITS DIGITS "abcdefABCDEF"
#define LETTERS "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"

/* Building blocks. */

/* `min` to `max` bytes, all of them out of `characters`. */
int made_of(const char *value, size_t min, size_t max, const char *characters);

/* A decimal number without sign or leading zeros. */
int in_range(const char *value, unsigned long low, unsigned long high);

/* One of the words; a null pointer ends them. */
int one_of(const char *value, const char *const words[]);

/* Checks that fit a property as they are. */

int is_flag(const char *value); /* 0 or 1 */
int is_text(const char *value); /* one line of up to 255 bytes, empty or blank as well */
int is_ipv4(const char *value); /* dotted decimal */
int is_mac(const char *value);  /* of one station, not of a group: 02:00:5e:10:00:01 */
int is_port(const char *value); /* 1 to 65535 */

#endif
