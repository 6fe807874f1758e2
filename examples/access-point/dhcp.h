/* What the files of the DHCP plugin share. All return 0, or 1 when they have failed. */
#ifndef ACCESS_POINT_DHCP_H
#define ACCESS_POINT_DHCP_H

#include <stdio.h>
#include <vorn.h>

#define DHCP_SERVICE "dnsmasq" /* the agent's name for the daemon */

/* dhcp_file.c: makes the text of the daemon's configuration file, which the caller frees; null when no server
 * is enabled. */
int make_dhcp_text(vorn_instances *instances, char **text);

/* dhcp_commit.c: the provider that makes the daemon follow the configuration. */
int commit_dhcp(vorn_commit_info *info);

#endif
