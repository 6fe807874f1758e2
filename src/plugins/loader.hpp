#pragma once

namespace vorn {

// Loads and starts every plugin, in the order in which the directory lists them. Returns 0, or 1 when the
// directory cannot be opened or any plugin cannot be loaded; the others are loaded all the same.
int vorn_plugins_init() noexcept;

} // namespace vorn
