// Random requests, with memory that runs out now and then, against a plain model. For
// longer: VORN_SOAK_REQUESTS=1000000 VORN_SOAK_SEED=7 soak_tests
#include "commit/providers.h"
#include "common/allocation.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "core/handles.hpp"
#include "faults/soak_model.hpp"
#include "query/query.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace vorn::soak;
using namespace vorn::test;
using std::string;

const char no_memory[] = "<error>No memory to evaluate the request.</error><rc>1</rc><counter>0</counter>";

size_t commits = 0;

// ---- The agent's side of the schema ----

int has_place(vorn_instances *collection, vorn_instance *instance) {
  const char *cls = vorn_class_get_name(vorn_instance_get_class(instance));
  auto *it = vorn_instances_new_class_iterator(collection, cls);
  if (!it) return 0; // there is no memory for the walk
  size_t count = 0;
  for (; vorn_instances_iterator_has_next(it); ++count) vorn_instances_iterator_next(it);
  vorn_instances_delete_iterator(it);
  return count < find_class(cls)->most;
}

vorn_property *make_property(const Property &like) {
  vorn_property *property = vorn_property_new(like.name.c_str());
  vorn_property_set_is_valid_fn(property,
                                [](const char *value) { return int(strncmp(value, "bad", 3) != 0); });
  vorn_property_set_writable(property, like.writable);
  vorn_property_set_required_on_insert(property, like.required);
  return property;
}

void add_class(const Class &like) {
  const unsigned type = like.singleton                ? VORN_CLASS_SINGLETON
                        : like.names == Names::unique ? VORN_CLASS_UNIQUE_NAMED
                        : like.names == Names::group  ? VORN_CLASS_GROUP_NAMED
                                                      : VORN_CLASS_ANONYMOUS;
  vorn_class *cls = vorn::test::add_class(like.name.c_str(), type, {},
                                          like.superclass.empty() ? nullptr : like.superclass.c_str(),
                                          like.abstract ? vorn_property_new("type") : nullptr);
  if (like.most) vorn_class_set_instance_validate_fn(cls, has_place);
  for (const Property &property : like.properties) vorn_class_add_property(cls, make_property(property));
}

void add_provider() {
  vorn_provider *provider = vorn_provider_new("counter");
  vorn_provider_set_commit_fn(
      provider, [](vorn_commit_info *) { return ++commits, 0; }, nullptr);
  vorn_providers_add(provider);
  ASSERT_EQ(vorn_providers_done_adding(), 0);
}

// ---- The agent's configuration as a model ----

Instance read_instance(const vorn_instance *instance) {
  Instance read;
  if (const char *name = vorn_instance_get_name(instance)) read.name = name;
  auto *it = vorn_class_new_property_iterator(vorn_instance_get_class(instance));
  while (it && vorn_class_property_iterator_has_next(it)) {
    const char *property = vorn_property_get_name(vorn_class_property_iterator_next(it));
    if (const char *value = vorn_instance_get_value(instance, property)) read.values[property] = value;
  }
  if (it) vorn_class_delete_property_iterator(it);
  return read;
}

Model read_running() {
  Model read;
  for (const Class &cls : classes) {
    auto &all = read.instances[cls.name];
    if (cls.abstract) continue;
    auto *it = vorn_instances_new_class_iterator(vorn_config_get_running(), cls.name.c_str());
    while (vorn_instances_iterator_has_next(it))
      all.push_back(read_instance(vorn_instances_iterator_next(it)));
    vorn_instances_delete_iterator(it);
  }
  return read;
}

// Classes that have no instances are the same as those that never had any.
Model complete(Model model) {
  for (const Class &cls : classes) model.instances[cls.name];
  return model;
}

string print(const Model &model) {
  string text;
  for (const auto &[cls, all] : model.instances)
    for (const Instance &instance : all) {
      text += "\n  " + cls + " " + instance.name.value_or("-");
      for (const auto &[name, value] : instance.values)
        text.append(" ").append(name + "='" + value.substr(0, 40) + "'");
    }
  return text;
}

// ---- The soak ----

size_t from_environment(const char *name, size_t otherwise) {
  const char *text = getenv(name);
  return text ? strtoull(text, nullptr, 10) : otherwise;
}

class Soak : public testing::Test {
protected:
  void SetUp() override {
    ASSERT_NE(freopen("/dev/null", "w", stderr), nullptr); // the log of so many requests
    for (const Class &cls : classes) add_class(cls);
    ASSERT_EQ(vorn_classes_done_adding(), 0);
    add_provider();
    vorn_config_replace_running(vorn_instances_new());
    mallocs_chance = seed;
  }

  void evaluate(const Request &request);
  void expect_without_memory(const Prediction &predicted, bool transaction, const char *reply);
  void expect_equal() { expect_one_of({model}); }
  void expect_one_of(std::vector<Model> candidates);

  const size_t seed = from_environment("VORN_SOAK_SEED", 1);
  const size_t requests = from_environment("VORN_SOAK_REQUESTS", 20000);
  std::mt19937_64 chance{seed};
  Model model = complete({});
  size_t ended = 0;
};

// The model goes on as what the agent has come to.
void Soak::expect_one_of(std::vector<Model> candidates) {
  const Model read = read_running();
  string expected;
  for (Model &candidate : candidates) {
    candidate = complete(std::move(candidate));
    expected += "\nor" + print(candidate);
  }
  const auto found = std::find(candidates.begin(), candidates.end(), read);
  ASSERT_NE(found, candidates.end()) << "The agent has" << print(read) << "\nand not" << expected;
  model = *found;
}

void Soak::expect_without_memory(const Prediction &predicted, bool transaction, const char *reply) {
  ++ended;
  std::vector<Model> candidates;
  for (size_t count = 0; count < predicted.states.size(); ++count)
    if (!reply || reply_of(predicted.done, count, no_memory) == reply)
      candidates.push_back(predicted.states[transaction ? 0 : count]);
  for (size_t count = 0; count <= predicted.noted.size() && reply; ++count)
    if (reply_of(predicted.noted, count, no_memory) == reply) candidates.push_back(predicted.states[0]);
  ASSERT_FALSE(candidates.empty()) << "reply: " << reply << "with memory: " << predicted.reply;
  expect_one_of(candidates);
}

void Soak::evaluate(const Request &request) {
  const string text = to_xml(request);
  SCOPED_TRACE(text);
  const Prediction predicted = predict(model, request);
  const size_t commits_before = commits;
  const long failed_before = mallocs_failed;
  mallocs_fail_one_in = 10000;
  const vorn::CString reply((request.passive ? vorn_query_eval_passive : vorn_query_eval)(text.c_str()));
  mallocs_fail_one_in = 0;
  const bool failed = mallocs_failed > failed_before;
  const bool as_predicted = reply && predicted.reply == reply.get();
  EXPECT_EQ(commits - commits_before, as_predicted && predicted.commits ? 1u : 0u);
  ASSERT_TRUE(failed || as_predicted) << "reply: " << reply.get() << "and not " << predicted.reply;
  if (as_predicted)
    model = predicted.after;
  else
    expect_without_memory(predicted, request.transaction, reply.get());
  if (failed && as_predicted) expect_equal();
}

TEST_F(Soak, TheAgentIsWhatItsRequestsMadeItThoughMemoryRunsOut) {
  for (size_t count = 1; count <= requests; ++count) {
    SCOPED_TRACE("request " + std::to_string(count) + " of seed " + std::to_string(seed));
    evaluate(make_request(chance));
    if (count % 1000 == 0) expect_equal();
    if (HasFailure()) break;
  }
  printf("%zu requests, %ld mallocs failed, %zu ended without memory, %zu commits\n", requests,
         mallocs_failed, ended, commits);
  EXPECT_TRUE(ended > requests / 2000 || !can_fail_mallocs());
}

} // namespace
