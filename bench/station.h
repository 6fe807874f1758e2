/* The class that all figures are taken with: unique-named, persistent, ten writable properties. */
#ifndef VORN_BENCH_STATION_H
#define VORN_BENCH_STATION_H

#ifdef __cplusplus
extern "C" {
#endif

enum { STATION_PROPERTIES = 10 };

#define STATION_CLASS "Station"

extern const char *const station_properties[STATION_PROPERTIES];

/* Registers the class and a provider whose functions do nothing, so that commits and refreshes really walk.
 * Returns 0, or 1 when anything was refused. */
int station_register(void);

#ifdef __cplusplus
}
#endif

#endif
