// Random requests, saves and loads, with memory that runs out now and then, against a plain model. For
// longer: VORN_SOAK_REQUESTS=1000000 VORN_SOAK_SEED=7 soak_tests
#include "commit/providers.h"
#include "common/allocation.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/config_reader.hpp"
#include "core/handles.hpp"
#include "faults/soak_requests.hpp"
#include "query/query.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace vorn::soak;
using namespace vorn::test;
using std::string;

const char no_memory[] = "<error>No memory to evaluate the request.</error><rc>1</rc><counter>0</counter>";

size_t commits = 0;

// Memory runs out by chance while it lives.
struct BadLuck {
  explicit BadLuck(unsigned long one_in) { mallocs_fail_one_in = one_in; }
  ~BadLuck() { mallocs_fail_one_in = 0; }
  bool struck() const { return mallocs_failed > before; }
  long before = mallocs_failed;
};

// ---- The agent's side of the schema ----

// How many the collection holds of the instance's class; -1 without memory for the walk.
int count_like(vorn_instances *collection, vorn_instance *instance) {
  auto *it =
      vorn_instances_new_class_iterator(collection, vorn_class_get_name(vorn_instance_get_class(instance)));
  if (!it) return -1;
  int count = 0;
  for (; vorn_instances_iterator_has_next(it); ++count) vorn_instances_iterator_next(it);
  vorn_instances_delete_iterator(it);
  return count;
}

int has_place(vorn_instances *collection, vorn_instance *instance) {
  const int most = static_cast<int>(find_class(vorn_class_get_name(vorn_instance_get_class(instance)))->most);
  const int count = count_like(collection, instance);
  return count >= 0 && count < most;
}

vorn_property *make_property(const Property &like) {
  vorn_property *property = vorn_property_new(like.name.c_str());
  vorn_property_set_is_valid_fn(property,
                                [](const char *value) { return int(strncmp(value, "bad", 3) != 0); });
  vorn_property_set_writable(property, like.writable);
  vorn_property_set_required_on_insert(property, like.required);
  vorn_property_set_persistence(property, like.persistent);
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
      provider,
      [](vorn_commit_info *) {
        ++commits;
        return 0;
      },
      nullptr);
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
  void save_and_load();
  void load();

  const size_t seed = from_environment("VORN_SOAK_SEED", 1);
  const size_t requests = from_environment("VORN_SOAK_REQUESTS", 20000);
  std::mt19937_64 chance{seed};
  Model model = complete({});
  size_t struck = 0, ended = 0, without_reply = 0, saves_refused = 0, loads_short = 0;
  const string path = testing::TempDir() + "soak." + std::to_string(getpid()) + ".xml";
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
  without_reply += reply == nullptr;
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
  vorn::CString reply;
  bool failed;
  {
    const BadLuck luck(10000);
    reply.reset(request.passive ? vorn_query_eval_passive(text.c_str()) : vorn_query_eval(text.c_str()));
    failed = luck.struck();
  }
  struck += failed;
  const bool as_predicted = reply && predicted.reply == reply.get();
  EXPECT_EQ(commits - commits_before, as_predicted && predicted.commits ? 1u : 0u);
  if (!failed) {
    ASSERT_STREQ(reply.get(), predicted.reply.c_str());
  }
  if (as_predicted)
    model = predicted.after;
  else
    expect_without_memory(predicted, request.transaction, reply.get());
  if (failed && as_predicted) expect_equal();
}

// The file is the configuration's, whole: it is loaded again with memory enough.
void Soak::save_and_load() {
  int saved;
  bool failed;
  {
    const BadLuck luck(20); // it allocates little
    saved = vorn_config_dump_running(path.c_str());
    failed = luck.struck();
  }
  if (saved != 0) {
    ++saves_refused;
    ASSERT_TRUE(failed);
    expect_equal();
    ASSERT_EQ(vorn_config_dump_running(path.c_str()), 0);
  }
  load();
}

// Loads twice, the first time with bad luck, which may leave it short.
void Soak::load() {
  const Model before = model;
  for (const bool lucky : {false, true}) {
    vorn_instances *const old = vorn_config_get_running();
    int result = 1;
    bool failed;
    {
      const BadLuck luck(lucky ? 0 : 2000);
      if (vorn::ReadConfig file = vorn::open_config(path.c_str()); file.draft)
        result = vorn::load_config(std::move(file.draft));
      failed = luck.struck();
    }
    loads_short += failed;
    if (vorn_config_get_running() != old) vorn_instances_delete_all(old);
    ASSERT_TRUE(failed || result == 0);
    if (result != 0) expect_equal();
    model = loaded_again(before);
    if (!failed) expect_equal();
    if (result != 0) model = before;
  }
}

TEST_F(Soak, TheAgentIsWhatItsRequestsMadeItThoughMemoryRunsOut) {
  for (size_t count = 1; count <= requests; ++count) {
    SCOPED_TRACE("request " + std::to_string(count) + " of seed " + std::to_string(seed));
    evaluate(make_request(chance));
    if (count % 1000 == 0) expect_equal();
    if (count % 400 == 0 && !HasFailure()) save_and_load();
    if (HasFailure()) break;
  }
  remove(path.c_str());
  printf("%zu requests, %ld mallocs failed in %zu of them, %zu ended without memory (%zu without a reply), "
         "%zu saves refused, memory short in %zu loads, %zu commits\n",
         requests, mallocs_failed, struck, ended, without_reply, saves_refused, loads_short, commits);
  if (can_fail_mallocs()) {
    EXPECT_GT(ended, requests / 2000);
  }
}

} // namespace
