#include "commit/provider.hpp"
#include "commit/providers.h"
#include "common/log.hpp"
#include "common/schema.hpp"

#include <gtest/gtest.h>

namespace {

using namespace vorn::test;

std::string calls;

int note_commit(vorn_commit_info *info) {
  calls.append(static_cast<const char *>(vorn_commit_info_get_data(info))).append(" ");
  return 1; // ignored
}

int note_refresh(vorn_refresh_info *info) {
  calls.append(static_cast<const char *>(vorn_refresh_info_get_data(info))).append(" ");
  return 1;
}

vorn_provider *make_provider(const char *name) {
  vorn_provider *provider = vorn_provider_new(name);
  vorn_provider_set_commit_fn(provider, note_commit, const_cast<char *>(name));
  vorn_provider_set_refresh_fn(provider, note_refresh, const_cast<char *>(name));
  return provider;
}

struct Providers : testing::Test {
  Providers() {
    calls.clear();
    vorn_providers_init();
  }
  static void add(std::initializer_list<const char *> names) {
    for (const char *name : names) EXPECT_EQ(vorn_providers_add(make_provider(name)), 0);
  }
  Log log;
};

TEST_F(Providers, AreOrderedByDeclarationThenByFirstMention) {
  add({"d", "c"});
  vorn_providers_order("b", "c");
  vorn_providers_order("b", "c");
  add({"a"});
  vorn_providers_order("ghost", "d");
  vorn_providers_order("a", "b");
  add({"b"});
  EXPECT_EQ(vorn_providers_done_adding(), 0);
  EXPECT_EQ(vorn_providers_done_adding(), 0);
  EXPECT_EQ(printed(vorn_providers_print), "Providers, in order (*** = not present):\n"
                                           " *** ghost\n     d\n     a\n     b\n     c\n");
  vorn_providers_commit(nullptr, nullptr, nullptr);
  vorn_refresh_info *info = vorn_refresh_info_new(nullptr);
  vorn_providers_refresh(info);
  vorn_refresh_info_delete(info);
  EXPECT_EQ(calls, "d a b c d a b c ");
  EXPECT_EQ(log.take(), "");
  add({"late"}); // accepted, but there is no order to join any more
  EXPECT_EQ(vorn_providers_order("late", "d"), 1);
  calls.clear();
  vorn_providers_commit(nullptr, nullptr, nullptr);
  EXPECT_EQ(calls, "d a b c ");
}

TEST_F(Providers, ALoopAfterOthersNamesOnlyThePath) {
  add({"x", "self"});
  vorn_providers_order("self", "self");
  EXPECT_EQ(vorn_providers_done_adding(), 1);
  EXPECT_EQ(log.take(), "vorn: Loop detected in providers order: self, self.\n");
  vorn_providers_commit(nullptr, nullptr, nullptr);
  EXPECT_EQ(calls, "x "); // what was placed is walked: without -e the agent goes on
}

TEST_F(Providers, RefuseInvalidAndRepeatedOnes) {
  vorn_provider *empty = vorn_provider_new("empty");
  EXPECT_EQ(vorn_providers_add(empty), 1);
  EXPECT_EQ(vorn_providers_add(nullptr), 1);
  add({"a"});
  vorn_provider *again = make_provider("a");
  EXPECT_EQ(vorn_providers_add(again), 1);
  EXPECT_EQ(log.take(), "vorn: Provider \"empty\" has no commit or refresh function.\n"
                        "vorn: Provider is invalid.\nvorn: Null provider.\n"
                        "vorn: Provider with name \"a\" already in providers.\n");
  EXPECT_NE(vorn_providers_get("a"), again);
  delete empty; // what was refused is still the caller's
  delete again;
}

int add_or_find_action(vorn_commit_info *info) {
  EXPECT_EQ(vorn_commit_info_get_before(info), vorn_changes_get_before(vorn_commit_info_get_changes(info)));
  vorn_actions *actions = vorn_commit_info_get_actions(info);
  calls += vorn_actions_exists(actions, "p", "restart", nullptr, nullptr) ? "found " : "added ";
  return vorn_actions_add(actions, "p", "restart", nullptr, nullptr);
}

TEST_F(Providers, SeeWhatWasBeforeAndTheActionsOfEarlierOnes) {
  const vorn::OwnedInstances all(vorn_instances_new());
  vorn_changes *changes = vorn_changes_new(all.get());
  for (const char *name : {"first", "second"}) {
    vorn_provider *provider = vorn_provider_new(name);
    vorn_provider_set_commit_fn(provider, add_or_find_action, nullptr);
    vorn_providers_add(provider);
  }
  vorn_providers_done_adding();
  vorn_providers_commit(all.get(), changes, nullptr);
  vorn_providers_commit(all.get(), changes, vorn_actions_new()); // which the commit frees
  EXPECT_EQ(calls, "added found added found ");
  vorn_changes_delete(changes);
}

TEST_F(Providers, InstancesOfASubclassAreAskedForByTheNameOfTheirSuperclassOnly) {
  add_all_kinds();
  vorn_refresh_info *info = vorn_refresh_info_new(nullptr);
  const vorn::OwnedInstance wire(make("wire", "w"));
  vorn_refresh_info_add_all_properties(info, "wire", nullptr);
  EXPECT_EQ(vorn_refresh_info_contains_class(info, "port"), 0);
  EXPECT_EQ(vorn_refresh_info_contains_class(nullptr, "wire"), 1);
  EXPECT_EQ(vorn_refresh_info_contains_instance(info, wire.get()), 0);
  vorn_refresh_info_add_property(info, "port", "w", "mtu");
  EXPECT_EQ(vorn_refresh_info_contains_property(info, wire.get(), "mtu"), 1);
  EXPECT_EQ(vorn_refresh_info_contains_property(info, wire.get(), "speed"), 0);
  vorn_refresh_info_delete(info);
}

} // namespace
