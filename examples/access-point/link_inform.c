/* Lets a script or a daemon report that a link is up or down:
 *
 *   lsql inform link interface=eth0 state=down
 *
 * The agent keeps the state as the live value "carrier" and notifies its subscribers. */
#include "network.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { LONGEST_REQUEST = 160 };

/* Returns the name as the configuration has it, or null. The request and the notification below escape
 * nothing, so they are made of such names only, which have passed the check of the class. */
static const char *configured_name(const char *device) {
  vorn_instances *running = vorn_config_get_running();
  if (device == NULL || running == NULL) return NULL;
  vorn_instance *instance = vorn_instances_get(running, "interface", device);
  return instance != NULL ? vorn_instance_get_name(instance) : NULL;
}

static int refuse(const char *what, const char *value) {
  vorn_debug_eprintf("link: %s \"%s\" is not known.\n", what, value != NULL ? value : "");
  return 1;
}

static int store_carrier(const char *device, const char *state) {
  char request[LONGEST_REQUEST];
  snprintf(request, sizeof request,
           "<lsql><update><interface name=\"%s\"><carrier>%s</carrier></interface></update></lsql>", device,
           state);
  char *result = vorn_query_eval_passive(request);
  int stored = result != NULL && strstr(result, "<rc>0</rc>") != NULL;
  free(result);
  if (!stored) vorn_debug_eprintf("link: the carrier of \"%s\" cannot be stored.\n", device);
  return stored ? 0 : 1;
}

static int handle_link(void) {
  const char *asked = vorn_inform_get_value("interface");
  const char *state = vorn_inform_get_value("state");
  const char *device = configured_name(asked);
  if (device == NULL) return refuse("interface", asked);
  if (state == NULL || !vorn_input_is_up_down(state, (int)strlen(state))) return refuse("state", state);
  if (store_carrier(device, state) != 0) return 1;
  vorn_notify_object_change("link", "interface", device, "carrier", state);
  return 0;
}

int declare_link_inform(void) { return vorn_inform_fn_add("link", handle_link); }
