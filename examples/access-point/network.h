/* What the files of the network plugin share. Functions of type int return 0, or 1 when they have failed. */
#ifndef ACCESS_POINT_NETWORK_H
#define ACCESS_POINT_NETWORK_H

#include <vorn.h>

/* interface.c: the classes "interface", "ethernet" and "radio". */
int declare_interface_classes(void);

/* interface_commit.c: makes the kernel's devices follow the interfaces. Null when it cannot be made. */
vorn_committer *new_interface_committer(void);

/* interface_live.c: reads the live values of the interfaces. Null when it cannot be made. */
vorn_refresher *new_interface_refresher(void);

/* interface_statistics.c: the live values that come from tables; ended by null. */
extern vorn_util_txt_table *interface_tables[];

/* link_inform.c: lets programs report that a link is up or down. */
int declare_link_inform(void);

/* wireless.c: the classes "ssid" and "access-list". */
int declare_wireless_classes(void);

/* wireless_commit.c: the providers that keep the wireless daemon's files in step. */
int declare_wireless_providers(void);

#endif
