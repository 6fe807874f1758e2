/* Text tables: how status files of the system become live values.
 *
 * A table is text: lines of fields that are separated by single blanks. A field that begins with a double
 * quote runs to the next one, blanks included. A list of columns, which ends with a null pointer, names the
 * fields. Every line becomes one passive update of the running configuration:
 *
 *   "mtu"           the field is the value of that property
 *   "#mtu"          the same: the marker is no part of the property's name
 *   "*type"         the field selects the instances whose property has that value
 *   "name", "*name" the field is the instance's name; an empty one selects nothing
 *   ""              the field is passed over
 *
 * A line that ends before a column that selects has that field empty: it selects nothing. What comes directly
 * after a closing quote, up to the next blank or the line's end, belongs to the field as it is: "a b"c is the
 * field a bc.
 *
 * Fields may hold any bytes, such as the names that strangers give to their networks: an update made of a
 * line does nothing but set the values of the columns in the instances that the line selects. Only a
 * reference to a character, such as "&amp;" or "&#38;", stands for that character. What XML cannot carry (a
 * control character, a byte that is not UTF-8) becomes U+FFFD. Columns and the class are the plugin's own
 * words and must be names.
 *
 * An update stores into the running configuration, not into the copy that a write transaction works on. */
#ifndef VORN_SUPPORT_TEXT_TABLE_H
#define VORN_SUPPORT_TEXT_TABLE_H

#include "commit/refresher.h"
#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

/* The most bytes that a line may have: in its instance name, in its values and in its conditions with their
 * tags, and in its whole update, before anything is escaped. A line that has more is logged and left out, as
 * is one that finds no memory. */
enum {
  VORN_UTIL_LONGEST_NAME = 79,
  VORN_UTIL_LONGEST_VALUES = 3000,
  VORN_UTIL_LONGEST_CONDITIONS = 1024,
  VORN_UTIL_LONGEST_UPDATE = 3999
};

/* Fills `buf`, which is empty, with lines: at most `size` bytes and a terminator after them. `arg` is the
 * table's `read_arg`. The result is ignored. */
typedef int (*vorn_util_txt_table_read_fn)(void *arg, char *buf, int size);

/* Turns the text of a table into updates, and may modify it. The result is ignored. */
typedef int (*vorn_util_txt_table_parse_fn)(char *text, const char **columns, const char *class_name);

/* One source of status values. It belongs to the plugin and must exist as long as callbacks use it. */
typedef struct vorn_util_txt_table {
  unsigned last_transaction;          /* the transaction number at the last reading; 0 at first */
  vorn_util_txt_table_read_fn read;   /* supplies the text; null for none */
  void *read_arg;                     /* what `read` gets */
  vorn_util_txt_table_parse_fn parse; /* normally vorn_util_put2object */
  const char *class_name;             /* whose instances the lines update */
  const char **columns;               /* the names of the fields, then a null pointer */
} vorn_util_txt_table;

/* Evaluates an update for each line, until a line has no values. The text is modified. Returns 4 when the
 * text ended inside a line that was evaluated, else 0; a null argument is logged. */
VORN_API int vorn_util_put2object(char *text, const char **columns, const char *class_name) VORN_NOEXCEPT;

/* Returns the value of a property that one of the tables has. The table is read first, unless
 * vorn_query_transaction_number is what it was at the last reading. `tables` ends with a null pointer. The
 * text belongs to the instance. Null when no table has the property or the instance has no value. */
VORN_API const char *vorn_util_txt_tables_get_val(vorn_instance *instance, vorn_util_txt_table **tables,
                                                  const char *property_name) VORN_NOEXCEPT;

/* Adds a property to the class for every column that names one: neither writable nor persistent. Returns 0,
 * or 1 when any of them could not be added. */
VORN_API int vorn_util_txt_tables_add_properties(vorn_util_txt_table **tables, vorn_class *cls) VORN_NOEXCEPT;

/* Registers `fn` with the refresher for the same properties; normally it returns what
 * vorn_util_txt_tables_get_val does. Returns 0, or 1 when any of them could not be registered. */
VORN_API int vorn_util_txt_tables_add_refresh(vorn_util_txt_table **tables, vorn_refresher *refresher,
                                              vorn_refresher_property_fn fn) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
