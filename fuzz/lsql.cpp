// Requests, separated by the byte that ends them on TCP. A digit before one sets the debug level, a "p" makes
// it passive.
#include "config/config.h"
#include "core/debug.h"
#include "core/handles.hpp"
#include "query/query.h"
#include "world.hpp"
#include "xml/handles.hpp"
#include "xml/nodes.hpp"
#include <cstring>
#include <libxml/parser.h>

using namespace vorn::fuzz;

namespace {

vorn::XmlDocument parse(const char *text) {
  return vorn::XmlDocument(
      xmlReadMemory(text, static_cast<int>(strlen(text)), nullptr, nullptr, XML_PARSE_HUGE));
}

bool has_failed(const char *reply) {
  for (const char *rc = strstr(reply, "<rc>"); rc; rc = strstr(rc + 1, "<rc>"))
    if (rc[4] != '0') return true;
  return false;
}

bool is_transaction(const char *request) {
  // A declaration is refused before the parser, which it could keep busy.
  if (!strstr(request, "write-transaction") || strstr(request, "<!DOCTYPE")) return false;
  const vorn::XmlDocument document = parse(request);
  const xmlNode *root = document ? xmlDocGetRootElement(document.get()) : nullptr;
  return root && vorn::is_named(root->children, "write-transaction");
}

void evaluate(const char *request) {
  if (*request >= '0' && *request <= '6') vorn_debug_set(*request++ - '0');
  const bool passive = *request == 'p';
  if (passive) ++request;
  const std::string before = state(vorn_config_get_running());
  const unsigned commits_before = commits;
  const bool sound = identifiers_hold();

  expect_before(before);
  const vorn::CString reply(passive ? vorn_query_eval_passive(request) : vorn_query_eval(request));

  const bool failed = !reply || has_failed(reply.get());
  if (reply) require(parse(reply.get()) != nullptr, "a reply is XML");
  if (failed || passive) require(commits == commits_before, "what failed or is passive is not committed");
  if (!reply || (failed && is_transaction(request)) || (passive && is_transaction(request)))
    require(state(vorn_config_get_running()) == before, "a transaction that failed has changed nothing");
  if (!passive && sound) require(identifiers_hold(), "an identifier names the class of its instance");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  World world;
  vorn_debug_set(0);
  for (Input input(data, size); !input.empty();) evaluate(input.until(0x13).c_str());
  world.check();
  return 0;
}
