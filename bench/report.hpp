// What is made of the figures.
#pragma once

#include "figures.hpp"

namespace bench {

// Prints all tables, first that of what is aimed at.
void report(const Sizes &sizes);

// Writes the growth as a picture, in SVG: the time of a request over the number of instances, both on
// logarithmic scales. Throws when it cannot be written.
void draw_growth(const Sizes &sizes, const char *path);

} // namespace bench
