// Lists of columns, as text tables and status files have them.
#pragma once

#include <string_view>

namespace vorn {

// A column's name without the marker that only readers of the list regard.
inline const char *column_name(const char *column) noexcept { return *column == '#' ? column + 1 : column; }

inline bool is_key_column(const char *column) noexcept { return *column == '*'; }

// Returns the position of the column that stands for `name`, a leading marker of which does not count, or -1.
inline int find_column(const char *const *columns, std::string_view name) noexcept {
  if (name.starts_with('*') || name.starts_with('#')) name.remove_prefix(1);
  for (int i = 0; columns && columns[i]; ++i)
    if (column_name(columns[i]) == name) return i;
  return -1;
}

} // namespace vorn
