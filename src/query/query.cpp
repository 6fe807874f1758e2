#include "query/query.h"

#include "commit/providers.h"
#include "config/config.h"
#include "core/guard.hpp"
#include "core/refuse.hpp"
#include "query/evaluation.hpp"
#include "xml/nodes.hpp"
#include <climits>
#include <cstring>
#include <libxml/parser.h>

namespace {

using vorn::XmlDocument;

void log_document(const char *what, bool passive, const XmlDocument &document) {
  if (vorn_debug_get() < (passive ? 2 : 1)) return;
  vorn_debug_printf("LSQL %s%s:\n", what, passive ? " (passive)" : "");
  xmlDocDump(vorn_debug_get_stream(), document.get());
  fflush(vorn_debug_get_stream());
}

XmlDocument parse(const char *request) {
  const size_t length = strlen(request);
  return XmlDocument(length <= INT_MAX ? xmlParseMemory(request, static_cast<int>(length)) : nullptr);
}

char *dump(const XmlDocument &document) {
  xmlChar *text = nullptr;
  int size = 0;
  xmlDocDumpMemory(document.get(), &text, &size);
  return reinterpret_cast<char *>(text);
}

char *evaluate(const char *text, bool passive) {
  const XmlDocument request = text ? parse(text) : nullptr;
  if (!request) return vorn::refuse_aloud("Invalid LSQL request: %s\n", vorn::or_null(text));
  if (vorn::is_named(xmlDocGetRootElement(request.get()), "get_conf"))
    return vorn_config_get_startup_as_xml();
  return vorn::guarded<char *>(nullptr, [&] {
    log_document("query", passive, request);
    const XmlDocument result = vorn::evaluate_request(*request, passive);
    log_document("result", passive, result);
    return dump(result);
  });
}

} // namespace

char *vorn_query_eval(const char *request) noexcept { return evaluate(request, false); }

char *vorn_query_eval_passive(const char *request) noexcept { return evaluate(request, true); }

int vorn_query_action(const char *provider, const char *action, const char *class_name,
                      const char *instance_name) noexcept {
  vorn_instances *running = vorn_config_get_running();
  vorn_changes *changes = vorn_changes_new(running);
  if (!changes) return 1;
  vorn_actions *actions = vorn_actions_new();
  vorn_actions_add(actions, provider, action, class_name, instance_name);
  // The commit does not get the set, deliberately: providers see a commit in which nothing has changed.
  vorn_providers_commit(running, changes, nullptr);
  vorn_changes_delete(changes);
  vorn_actions_delete(actions);
  return 0;
}

void vorn_query_disable_external_updates() noexcept { vorn::prohibit_external_updates(); }
