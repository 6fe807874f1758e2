#include "values.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <string.h>
#include <vorn.h>

enum { LONGEST_TEXT = 255, LONGEST_NUMBER = 9 };

int made_of(const char *value, int min, int max, const char *ranges) {
  size_t length = strlen(value);
  if (length < (size_t)min || length > (size_t)max) return 0;
  return vorn_input_is_string_in_ranges(value, (int)length, ranges, (int)strlen(ranges) / 2);
}

/* The agent's check alone accepts " +7" and "007", too, which the programs that get the value unchanged may
 * understand differently. */
int in_range(const char *value, int low, int high) {
  if (!made_of(value, 1, LONGEST_NUMBER, DIGITS)) return 0;
  if (value[0] == '0' && value[1] != '\0') return 0;
  return vorn_input_is_int_in_range(value, (int)strlen(value), low, high);
}

int one_of(const char *value, const char *const words[]) {
  return vorn_input_is_string_in_array(value, (int)strlen(value), words);
}

int is_flag(const char *value) { return made_of(value, 1, 1, "01"); }

/* Non-ASCII bytes are accepted: requests and the configuration file have been parsed as XML, so they are
 * valid UTF-8. Control characters would spoil the lists that clients print. */
int is_text(const char *value) {
  for (const char *c = value; *c != '\0'; c++) {
    unsigned char byte = (unsigned char)*c;
    if (byte < 0x20 || byte == 0x7f) return 0;
  }
  return strlen(value) <= LONGEST_TEXT;
}

/* Stricter than the agent's check, which accepts "010.1.1.1" and "+1.1.1.1", too. */
int is_ipv4(const char *value) {
  struct in_addr address;
  return inet_pton(AF_INET, value, &address) == 1;
}

/* The lowest bit of the first byte is set in group addresses (IEEE 802). */
int is_mac(const char *value) {
  return vorn_input_is_mac(value, (int)strlen(value)) && strchr("02468aceACE", value[1]) != NULL;
}

int is_device_name(const char *value) {
  return made_of(value, 1, IFNAMSIZ - 1, LETTERS DIGITS "..__--") && strchr("._-", value[0]) == NULL;
}

int is_port(const char *value) { return in_range(value, 1, 65535); }
