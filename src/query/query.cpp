#include "query/query.h"

#include "commit/activity.hpp"
#include "commit/providers.h"
#include "config/config.h"
#include "core/debug.h"
#include "core/guard.hpp"
#include "core/log_text.hpp"
#include "query/evaluation.hpp"
#include "query/request.hpp"
#include "query/result.hpp"
#include "xml/nodes.hpp"
#include <algorithm>

namespace {

using vorn::CString;

// A document as libxml2 writes it: the declaration is a line of its own, and the rest is one, whatever the
// texts in it hold.
void log_document(const char *what, bool passive, std::string_view text) {
  FILE *stream = vorn_debug_get_stream();
  vorn_debug_printf("LSQL %s%s:\n", what, passive ? " (passive)" : "");
  const size_t line_end = std::min(text.find('\n'), text.size());
  vorn::put_escaped(stream, text.substr(0, line_end));
  text.remove_prefix(line_end);
  if (text.starts_with('\n')) text.remove_prefix(1);
  if (text.ends_with('\n')) text.remove_suffix(1);
  fputs("\n", stream);
  vorn::put_escaped(stream, text);
  fputs("\n", stream);
  fflush(stream);
}

void log_request(const xmlDoc &request, bool passive) {
  xmlChar *text = nullptr;
  int size = 0;
  xmlDocDumpMemory(const_cast<xmlDoc *>(&request), &text, &size);
  const vorn::XmlText owner(text);
  log_document("query", passive, text ? vorn::text_of(text) : "");
}

char *evaluate_document(const xmlDoc &request, bool passive) {
  const bool log = vorn_debug_get() >= (passive ? 2 : 1);
  if (log) log_request(request, passive);
  CString result = vorn::evaluate_request(request, passive);
  if (log) log_document("result", passive, result.get());
  return result.release();
}

// The reply to a request that is not evaluated; null without memory for it.
char *refusal(const char *error) {
  return vorn::guarded<char *>(nullptr, [&] { return vorn::refusal_result(error).release(); });
}

char *evaluate(const char *text, bool passive) {
  const vorn::ParsedRequest request = vorn::parse_request(text);
  if (request.refusal) return refusal(request.refusal);
  if (!request.document) return nullptr;
  if (vorn::is_named(xmlDocGetRootElement(request.document.get()), "get_conf"))
    return vorn_config_get_startup_as_xml();
  if (char *reply =
          vorn::guarded<char *>(nullptr, [&] { return evaluate_document(*request.document, passive); }))
    return reply;
  vorn_debug_eprintf("LSQL request ended: %s\n", vorn::no_memory);
  return refusal(vorn::no_memory);
}

} // namespace

char *vorn_query_eval(const char *request) noexcept { return evaluate(request, false); }

char *vorn_query_eval_passive(const char *request) noexcept { return evaluate(request, true); }

int vorn_query_action(const char *provider, const char *action, const char *class_name,
                      const char *instance_name) noexcept {
  if (!vorn::may_nest()) return 1;
  const vorn::ActivityScope acting;
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
