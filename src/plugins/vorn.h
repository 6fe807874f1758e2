/* The whole programming interface of the agent: the one header that a plugin includes. */
#ifndef VORN_VORN_H
#define VORN_VORN_H

#include "commit/actions.h"
#include "commit/changes.h"
#include "commit/commit_info.h"
#include "commit/provider.h"
#include "commit/providers.h"
#include "commit/refresh_info.h"
#include "config/config.h"
#include "core/agent.h"
#include "core/debug.h"
#include "core/eloop.h"
#include "core/export.h"
#include "core/socket.h"
#include "model/class.h"
#include "model/classes.h"
#include "model/instance.h"
#include "model/instances.h"
#include "model/property.h"
#include "model/types.h"
#include "plugins/plugin.h"
#include "query/notify.h"
#include "query/query.h"
#include "query/query_state.h"
#include "support/xml_nodes.h"

#endif
