/* What the files of the network plugin share. */
#ifndef ACCESS_POINT_NETWORK_H
#define ACCESS_POINT_NETWORK_H

#include <vorn.h>

/* interface.c: the classes "interface", "ethernet" and "radio". */
int declare_interface_classes(void);

/* wireless.c: the classes "ssid" and "access-list". */
int declare_wireless_classes(void);

/* links.c: makes the kernel's devices follow the interfaces. */
int commit_links(vorn_commit_info *info);

/* links_live.c: reads the live values of the interfaces. */
int refresh_links(vorn_refresh_info *info);

#endif
