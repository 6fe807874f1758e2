#include "station.h"

const char *const station_properties[STATION_PROPERTIES] = {
    "macAddress", "ipAddress", "hostName",  "ssid",      "band",
    "security",   "vlan",      "rateLimit", "firstSeen", "description",
};
