#include "wexa.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

enum { LONGEST_ENTITY = 6 };

struct entity {
  char text[LONGEST_ENTITY];
  unsigned char length; /* 0: the character stands for itself */
};

/* Indexed by byte. Most values hold no special character, so the common case is one look-up a byte. */
static const struct entity entities[256] = {
    ['&'] = {"&amp;", 5},  ['<'] = {"&lt;", 4},    ['>'] = {"&gt;", 4},
    ['"'] = {"&quot;", 6}, ['\''] = {"&apos;", 6},
};

static const struct entity *entity_of(char c) { return &entities[(unsigned char)c]; }

/* The size of the escaped text with its terminator; 0 when no object can be that large. */
static size_t escaped_size(const char *text) {
  size_t added = 0;
  const char *end = text;
  for (; *end != '\0'; end++) {
    const struct entity *entity = entity_of(*end);
    if (entity->length != 0) added += entity->length - 1U;
  }
  const size_t length = (size_t)(end - text);
  return length < SIZE_MAX / LONGEST_ENTITY ? length + added + 1 : 0;
}

/* Writes the bytes from `from` up to `to`, and returns where the next ones go. */
static char *put(char *out, const char *from, const char *to) {
  const size_t length = (size_t)(to - from);
  memcpy(out, from, length);
  return out + length;
}

static void fill(char *out, const char *text) {
  const char *pending = text; /* start of the plain bytes not written yet */
  for (; *text != '\0'; text++) {
    const struct entity *entity = entity_of(*text);
    if (entity->length == 0) continue;
    out = put(out, pending, text);
    out = put(out, entity->text, entity->text + entity->length);
    pending = text + 1;
  }
  out = put(out, pending, text);
  *out = '\0';
}

char *wexa_xml_escape(const char *text) {
  if (text == NULL) return NULL;
  const size_t size = escaped_size(text);
  char *escaped = size != 0 ? malloc(size) : NULL;
  if (escaped != NULL) fill(escaped, text);
  return escaped;
}
