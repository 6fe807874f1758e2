#include "query/evaluation.hpp"

#include "commit/activity.hpp"
#include "commit/changes.h"
#include "commit/providers.h"
#include "config/config.h"
#include "config/running.hpp"
#include "core/debug.h"
#include "model/overlay.hpp"
#include "notify/request_state.hpp"
#include "query/operations.hpp"
#include "query/undo.hpp"
#include "xml/nodes.hpp"

namespace vorn {

namespace {

bool external_updates_prohibited = false;

constexpr char incomplete[] = "Incomplete lsql request.";
constexpr char nested_transaction[] =
    "A write-transaction cannot be nested in a request, a commit or a load.";

using Changes = std::unique_ptr<vorn_changes, Closer<vorn_changes_delete>>;
using RefreshInfo = std::unique_ptr<vorn_refresh_info, Closer<vorn_refresh_info_delete>>;

// One request on its way through both passes.
class Evaluation {
public:
  explicit Evaluation(bool passive) { context_.passive = passive; }
  CString run(const xmlNode &root);

private:
  bool is_acceptable(const xmlNode &root);
  bool may_replace_running(const xmlNode &first);
  bool refuse(const char *text);
  const xmlNode *choose_target(const xmlNode &root);
  void start_recording();
  void collect(const xmlNode *operations);
  void refresh();
  void apply(const xmlNode *operations);
  void commit();
  bool replace_running();
  const xmlNode *evaluate_operation(const xmlNode &element, OperationFunction OperationKind::*pass);
  bool carry_out(Operation &operation, OperationFunction function);
  const xmlNode *take_where(const xmlNode &element, Operation &operation);
  const xmlNode *end_request(size_t size, const char *format, const char *argument);

  const bool nested_ = is_busy(); // before it is under way itself
  ActivityScope activity_;
  RequestScope scope_;
  Budget budget_;
  Result result_{budget_};
  Context context_{budget_, result_};
  unsigned errors_ = 0; // of the operation evaluated last
  bool last_only_read_ = false;
  bool in_transaction_ = false;
  OwnedInstances copy_; // the transaction's target until it replaces the running configuration
  Changes changes_;     // freed before the collection that it watches
  RefreshInfo refresh_;
};

CString Evaluation::run(const xmlNode &root) {
  if (is_acceptable(root)) {
    const xmlNode *operations = choose_target(root);
    start_recording();
    collect(operations);
    if (errors_ == 0) {
      refresh();
      apply(operations);
    }
    if (errors_ == 0 && !context_.passive) commit();
  }
  return result_.release();
}

bool Evaluation::is_acceptable(const xmlNode &root) {
  if (!is_named(&root, "lsql")) return refuse("Top level name is not lsql.");
  const char *origin = vorn_util_xmlGetProp(&root, "origin");
  scope_.set_origin(origin);
  if (origin && external_updates_prohibited) return refuse("External updates are prohibited.");
  if (!root.children) return refuse(incomplete);
  return may_replace_running(*root.children);
}

// The one around it, and whoever walks the running configuration, would go on with one that is freed.
bool Evaluation::may_replace_running(const xmlNode &first) {
  if (!nested_ || context_.passive || !is_named(&first, "write-transaction")) return true;
  refuse_nested(nested_transaction);
  return refuse(nested_transaction);
}

bool Evaluation::refuse(const char *text) {
  end_request(error_size, "%s", text);
  return false;
}

// Returns the first operation, which an empty transaction does not have.
const xmlNode *Evaluation::choose_target(const xmlNode &root) {
  context_.target = vorn_config_get_running();
  in_transaction_ = is_named(root.children, "write-transaction");
  if (!in_transaction_) return root.children;
  if (context_.target) {
    copy_ = share(*context_.target);
    context_.target = copy_.get();
  }
  return first_child(*root.children);
}

void Evaluation::start_recording() {
  refresh_.reset(vorn_refresh_info_new(context_.target));
  if (context_.target) changes_.reset(vorn_changes_new(context_.target));
  if (!refresh_ || (context_.target && !changes_)) throw std::bad_alloc();
  context_.changes = changes_.get();
  context_.refresh = refresh_.get();
}

// The first pass: only the errors of its last operation count, those of the others come back in the second
// one.
void Evaluation::collect(const xmlNode *operations) {
  for (const xmlNode *element = operations; element;)
    element = evaluate_operation(*element, &OperationKind::collect);
}

void Evaluation::refresh() {
  const Budget::PluginTime refreshing(budget_);
  if (context_.target) vorn_providers_refresh(refresh_.get());
  context_.refresh = nullptr;
  refresh_.reset();
}

// The second pass.
void Evaluation::apply(const xmlNode *operations) {
  result_.drop_everything();
  for (const xmlNode *element = operations; element && errors_ == 0;)
    element = evaluate_operation(*element, &OperationKind::carry_out);
}

// A plain request that ends with a select commits nothing, even when earlier operations changed something:
// deliberate, clients read back what they have written that way.
void Evaluation::commit() {
  if (in_transaction_) result_.reserve_end(); // from here on nothing may fail
  if (copy_ && !replace_running()) return;
  if (last_only_read_ && !in_transaction_) return;
  if (context_.target) vorn_providers_commit(context_.target, changes_.get(), nullptr);
}

// Makes the transaction's changes in the running configuration.
bool Evaluation::replace_running() {
  const Overlay &overlay = *copy_->overlay;
  if (overlay.fault() != Overlay::Fault::none) {
    const bool memory = overlay.fault() == Overlay::Fault::memory;
    end_request(error_size, "%s", memory ? no_memory : "The configuration has changed meanwhile.");
    return false;
  }
  copy_->overlay->apply(*copy_);
  vorn::replace_running(copy_.release());
  return true;
}

// Returns the element at which the evaluation goes on, or null at the end.
const xmlNode *Evaluation::evaluate_operation(const xmlNode &element,
                                              OperationFunction OperationKind::*pass) {
  const OperationKind *kind = find_operation(element);
  if (!kind) return end_request(short_error_size, "Invalid operation \"%s\".", node_name(element));
  const xmlNode *first = first_child(element);
  if (!first) return end_request(error_size, "%s", incomplete);
  if (!first->name) return end_request(error_size, "%s", "No class name.");

  Operation operation;
  operation.first_class = first;
  operation.first_property = first_child(*first);
  operation.class_name = node_name(*first);
  operation.instance_name = vorn_util_xmlGetProp(first, "name");
  operation.properties = vorn_util_xmlGetProp(first, "properties");
  const xmlNode *next = take_where(element, operation);

  if (!context_.passive) ++vorn_query_transaction_number;
  const bool completed = carry_out(operation, kind->*pass);
  errors_ = operation.errors;
  last_only_read_ = kind->reads_only;
  result_.end_operation(operation.errors, operation.counter);
  return completed ? next : nullptr;
}

// Returns false for an operation that a limit or a lack of memory ends, and the request with it: it has
// changed nothing then.
bool Evaluation::carry_out(Operation &operation, OperationFunction function) {
  Undo undo(context_.target);
  context_.undo = &undo;
  context_.memory = {};
  context_.irrevocable = false;
  const char *error;
  try {
    result_.reserve_end();
    function(context_, operation);
    if (context_.irrevocable) return true;
    budget_.check_time();
    if (!context_.memory.has_failed()) return true;
    error = no_memory;
  } catch (const LimitExceeded &limit) {
    error = limit.text;
  } catch (const std::bad_alloc &) {
    error = no_memory;
  } catch (const std::length_error &) {
    error = no_memory;
  }
  undo.take_back();
  result_.drop_operation();
  operation.errors = 1;
  operation.counter = 0;
  vorn_debug_eprintf("LSQL request ended: %s\n", error);
  result_.add_error(error_size, "%s", error);
  return false;
}

// A "where" belongs to the operation before it. An element without children directly after an operation is
// neither a "where" nor an operation: it is passed over.
const xmlNode *Evaluation::take_where(const xmlNode &element, Operation &operation) {
  const xmlNode *next = element.next;
  if (!next) return nullptr;
  if (!first_child(*next)) return next->next;
  if (!is_named(next, "where")) return next;
  operation.where = first_child(*next);
  return next->next;
}

const xmlNode *Evaluation::end_request(size_t size, const char *format, const char *argument) {
  result_.add_error(size, format, argument);
  errors_ = 1;
  result_.end_operation(errors_, 0);
  return nullptr;
}

} // namespace

void prohibit_external_updates() { external_updates_prohibited = true; }

CString evaluate_request(const xmlDoc &request, bool passive) {
  if (!may_nest()) return refusal_result(nested_too_deeply);
  return Evaluation(passive).run(*xmlDocGetRootElement(&request));
}

CString refusal_result(const char *error) {
  Budget budget;
  Result result(budget);
  result.add_error(error_size, "%s", error);
  result.end_operation(1, 0);
  return result.release();
}

} // namespace vorn
