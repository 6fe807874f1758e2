#include "values.h"

#include <arpa/inet.h>
#include <stdlib.h>
#include <string.h>

enum { LONGEST_TEXT = 255, LONGEST_NUMBER = 9, MAC_LENGTH = 17 };

int made_of(const char *value, size_t min, size_t max, const char *characters) {
  size_t length = strlen(value);
  return length >= min && length <= max && strspn(value, characters) == length;
}

int in_range(const char *value, unsigned long low, unsigned long high) {
  if (!made_of(value, 1, LONGEST_NUMBER, DIGITS)) return 0;
  if (value[0] == '0' && value[1] != '\0') return 0;
  unsigned long number = strtoul(value, NULL, 10);
  return number >= low && number <= high;
}

int one_of(const char *value, const char *const words[]) {
  for (const char *const *word = words; *word != NULL; word++)
    if (strcmp(value, *word) == 0) return 1;
  return 0;
}

int is_flag(const char *value) { return strcmp(value, "0") == 0 || strcmp(value, "1") == 0; }

/* What is not plain ASCII is let through: requests and the configuration file are parsed as XML before a
 * value gets here, so its bytes are good UTF-8. Control characters would spoil the lists that clients print.
 */
int is_text(const char *value) {
  for (const char *c = value; *c != '\0'; c++) {
    unsigned char byte = (unsigned char)*c;
    if (byte < 0x20 || byte == 0x7f) return 0;
  }
  return strlen(value) <= LONGEST_TEXT;
}

int is_ipv4(const char *value) {
  struct in_addr address;
  return inet_pton(AF_INET, value, &address) == 1;
}

int is_mac(const char *value) {
  if (!made_of(value, MAC_LENGTH, MAC_LENGTH, HEX_DIGITS ":")) return 0;
  for (size_t i = 0; i < MAC_LENGTH; i++)
    if ((value[i] == ':') != (i % 3 == 2)) return 0;
  /* The lowest bit of the first byte marks the address of a group (IEEE 802). */
  return strchr("02468aceACE", value[1]) != NULL;
}

int is_port(const char *value) { return in_range(value, 1, 65535); }
