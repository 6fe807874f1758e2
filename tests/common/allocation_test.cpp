// Each allocation of the main operations fails once: what was there stays as it was, and nothing leaks.
#include "commit/changes.hpp"
#include "commit/committer.hpp"
#include "commit/provider.hpp"
#include "commit/providers.h"
#include "commit/refresher.hpp"
#include "common/allocation.hpp"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/running.hpp"
#include "core/eloop.h"
#include "core/handles.hpp"
#include "core/outbox.hpp"
#include "notify/notify.h"
#include "process/command.h"
#include "process/service.h"
#include "query/query.h"
#include "servers/inform.hpp"
#include "support/input.h"
#include "support/password.h"
#include "support/text_table.h"

#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/wait.h>

namespace {

using namespace vorn::test;

std::string text_of(const vorn_instances *instances) { return printed(vorn_instances_print, instances); }

struct Allocation : testing::Test {
  Allocation() { add_all_kinds(); }
  ~Allocation() override { vorn_instances_delete_all(all); }

  // Repeats an operation that must leave the collection as it was until it succeeds, and undoes it then.
  template <class Attempt, class Undo> void expect_all_or_nothing(Attempt attempt, Undo undo) {
    undo(attempt()); // what is made once, such as stores, is there from now on
    const std::string before = text_of(all);
    const long blocks = live_blocks;
    const int failures = fail_each_allocation(
        [&] {
          const auto result = attempt();
          const bool done = static_cast<bool>(result);
          const long left = std::exchange(allocations_left, -1);
          if (done) undo(result);
          allocations_left = left;
          return done;
        },
        [&] {
          EXPECT_EQ(text_of(all), before);
          EXPECT_EQ(live_blocks, blocks);
        });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(live_blocks, blocks);
    EXPECT_EQ(text_of(all), before);
  }
  Log log;
  vorn_instances *all = vorn_instances_new();
};

TEST_F(Allocation, OfClassesPropertiesAndProviders) {
  vorn_class *abstract = add_abstract_class("base", {});
  expect_all_or_nothing([] { return vorn_property_new("a property with a long name"); },
                        vorn_property_delete);
  const auto delete_class = [](vorn_class *cls) { delete cls; };
  expect_all_or_nothing([] { return vorn_class_new("a class with a long name"); }, delete_class);
  expect_all_or_nothing([&] { return vorn_class_clone(abstract, "clone"); }, delete_class);
  expect_all_or_nothing([] { return vorn_provider_new("a provider with a long name"); },
                        [](vorn_provider *provider) { delete provider; });
  expect_all_or_nothing(
      [] {
        std::unique_ptr<vorn_class> cls(vorn_class_new("c"));
        vorn_property *property = cls ? vorn_property_new("p") : nullptr;
        if (!property) return false;
        vorn_property_set_is_valid_fn(property, not_bad);
        const bool done =
            vorn_class_set_abstract(cls.get(), 1) == 0 && vorn_class_add_property(cls.get(), property) == 0;
        if (!done) vorn_property_delete(property); // it is still the caller's
        return done;
      },
      [](bool) {});
}

TEST_F(Allocation, OfInsertions) {
  for (const char *cls : {"server", "radio", "rule", "wire"}) {
    const char *const named = strcmp(cls, "server") == 0 ? nullptr : "new";
    add(all, cls, named ? "kept" : nullptr); // the store is there from now on
    expect_all_or_nothing([&] { return add(all, cls, named); },
                          [&](vorn_instance *instance) {
                            vorn_instances_remove(all, instance);
                            vorn_instance_delete(instance);
                          });
  }
}

TEST_F(Allocation, OfWhatPluginsRegisterAndRun) {
  const std::unique_ptr<vorn_committer> committer(vorn_committer_new());
  const std::unique_ptr<vorn_refresher> refresher(vorn_refresher_new("radio"));
  const auto change = [](vorn_instance *, const char *, const char *, const char *) { return 0; };
  const auto refresh = [](vorn_instance *, const char *, vorn_refresh_info *) { return ""; };
  const std::function<int()> attempts[] = {
      [&] {
        return vorn_committer_set_property_change_fn(committer.get(), "a long class name", "p", change);
      },
      [&] { return vorn_refresher_set_property_fn(refresher.get(), "a long property name", refresh); },
      [] { return vorn_inform_fn_add("an object with a long name", [] { return 0; }); },
      [] { return vorn_service_set_exited_fn("a service with a long name", nullptr, nullptr); },
      [] { return vorn_command_execl("true", "with", "arguments", nullptr); },
      [] {
        vorn_input_set *set = vorn_input_get_set_from_range(1, 9, nullptr);
        vorn_input_free_set(set);
        return set ? 0 : 1;
      },
      [] {
        char stored[257], plain[65];
        return pw_encrypt("a secret", stored) && pw_decrypt(stored, plain) ? 0 : 1;
      },
  };
  // What a class is registered in stays when the class does not.
  vorn_committer_set_instance_create_fn(committer.get(), "another class", [](vorn_instance *) { return 0; });
  for (const auto &attempt : attempts) {
    const long blocks = live_blocks;
    EXPECT_GT(fail_each_allocation([&] { return attempt() == 0; }, [&] { EXPECT_EQ(live_blocks, blocks); }),
              0);
  }
  fail_each_allocation(
      [] {
        try {
          return *vorn::answer_inform_request("object=an object with a long name&key=value") == 'O';
        } catch (const std::bad_alloc &) {
          return false;
        }
      },
      [] { EXPECT_EQ(vorn_inform_get_value("object"), nullptr); });
  // A commit needs memory for nothing but to call a group once instead of too often.
  static int groups;
  const auto count = [](vorn_instances *, const char *, const char *, vorn_commit_info *) {
    return ++groups;
  };
  vorn_committer_set_group_change_fn(committer.get(), "rule", count);
  vorn_changes *changes = vorn_changes_new(all);
  for (const char *name : {"a", "a", "b"}) add(all, "rule", name);
  vorn_commit_info *info = vorn_commit_info_new(nullptr, all, changes, nullptr, committer.get());
  fail_each_allocation([&] { return groups = 0, vorn_committer_fn(info), groups == 2; },
                       [] { EXPECT_EQ(groups, 3); });
  vorn_commit_info_delete(info);
  vorn_changes_delete(changes);
}

// Actions, records, and what a transaction replaces.
TEST_F(Allocation, OfCommitsIsAllFreed) {
  vorn_provider *provider = vorn_provider_new("p");
  vorn_provider_set_commit_fn(
      provider,
      [](vorn_commit_info *info) {
        return vorn_actions_add(vorn_commit_info_get_actions(info), "p", "restart", nullptr, nullptr);
      },
      nullptr);
  vorn_providers_add(provider);
  vorn_providers_done_adding();
  vorn::set_running(std::exchange(all, vorn_instances_new()));
  const std::string update = "<update><server><state>1</state></server></update>";
  long blocks = 0;
  for (int i = 0; i < 3; ++i) {
    for (const std::string &operations :
         {"<insert><server/></insert>" + update, "<write-transaction>" + update + "</write-transaction>",
          std::string("<delete><server/></delete>")})
      free(vorn_query_eval(("<lsql>" + operations + "</lsql>").c_str()));
    EXPECT_EQ(vorn_query_action("p", "restart", nullptr, nullptr), 0);
    EXPECT_EQ(std::exchange(blocks, live_blocks), i == 0 ? 0 : live_blocks);
  }
  vorn_instances_delete_all(vorn_config_get_running());
}

// Never half a line, such as one without the name that it is to be selected by.
// Neither the text of a reason nor the walk of a check that fails for want of memory is told as a reason.
TEST_F(Allocation, OfRefusedInstances) {
  if (!can_fail_mallocs()) GTEST_SKIP();
  mallocs_stay_out = false;
  vorn::set_running(all);
  vorn_class_set_instance_validate_fn(
      vorn_classes_get("server"), [](vorn_instances *instances, vorn_instance *) {
        return 1 - vorn_instances_delete_iterator(vorn_instances_new_class_iterator(instances, "radio"));
      });
  vorn_class_set_instance_validate_fn(vorn_classes_get("radio"),
                                      [](vorn_instances *, vorn_instance *) { return 0; });
  for (const char *request :
       {"<lsql><write-transaction><insert><radio name='r'/></insert></write-transaction></lsql>",
        "<lsql><write-transaction><insert><server/></insert></write-transaction></lsql>"}) {
    const vorn::CString whole(vorn_query_eval_passive(request));
    fail_each_malloc([&] { return vorn::CString(vorn_query_eval_passive(request)); },
                     [&](const vorn::CString &reply, bool) {
                       const std::string text = reply ? reply.get() : "No memory";
                       EXPECT_TRUE(text == whole.get() || text.find("No memory") != std::string::npos)
                           << text;
                     });
  }
  vorn::set_running(nullptr);
}

TEST_F(Allocation, OfLinesOfTextTables) {
  for (const char *name : {"a radio with a long name", "other"}) add(all, "radio", name, {{"power", "1"}});
  vorn::set_running(all);
  const char *columns[] = {"*name", "*mode", "power", nullptr};
  const auto set = [&](const char *mode, const char *power) {
    vorn_instance *radio = vorn_instances_get(all, "radio", "a radio with a long name");
    vorn_instance_set_value(radio, "mode", mode);
    vorn_instance_set_value(radio, "power", power);
    return text_of(all);
  };
  const std::string after = set("a mode with a long name", "a value that is not short");
  const std::string before = set("a mode with a long name", "1");
  const int failures = fail_each_allocation(
      [&] {
        char line[] =
            "\"a radio with a long name\" \"a mode with a long name\" \"a value that is not short\"";
        vorn_util_put2object(line, columns, "radio");
        const long left = std::exchange(allocations_left, -1);
        const std::string now = text_of(all);
        set("a mode with a long name", "1");
        EXPECT_TRUE(now == before || now == after) << now;
        allocations_left = left;
        return now == after;
      },
      [] {});
  EXPECT_GT(failures, 5);
  EXPECT_NE(log.take().find("vorn: No memory for a line of values for class \"radio\".\n"),
            std::string::npos);
  vorn::set_running(nullptr);
}

// Of the whole process this time: what libraries and libc allocate fails too.
TEST_F(Allocation, OfInformsNotificationsAndStartsOfServices) {
  if (!can_fail_mallocs()) GTEST_SKIP();
  ASSERT_EQ(vorn_inform_fn_add("wan", [] { return vorn_inform_get_value("state") ? 0 : 1; }), 0);
  EXPECT_EQ(vorn_inform_fn_add("wan", [] { return 1; }), 1); // the first one stays
  const auto inform = [] {
    try {
      return std::string_view(vorn::answer_inform_request("object=wan&state=a state of some length"));
    } catch (const std::bad_alloc &) {
      return std::string_view();
    }
  };
  EXPECT_GT(fail_each_malloc(inform,
                             [](std::string_view answer, bool failed) {
                               EXPECT_TRUE(answer == "OK" || (failed && answer.empty())) << answer;
                               EXPECT_EQ(vorn_inform_get_value("state"), nullptr);
                             }),
            0);
  const std::string origin(100, '&');
  const auto notify = [&] {
    return vorn_notify_conf_change(origin.c_str()) +
           vorn_notify_object_change(origin.c_str(), "radio", "r", "power", "1");
  };
  EXPECT_GT(fail_each_malloc(notify, [](int result, bool) { EXPECT_EQ(result, 0); }), 0);
  const auto start = [] { return vorn_service_execl("a service with a long name", "true", nullptr); };
  fail_each_malloc(start, [](int result, bool failed) {
    EXPECT_TRUE(result == 0 || failed);
    const pid_t child = vorn_service_get_pid("a service with a long name");
    EXPECT_TRUE(result != 0 || waitpid(child, nullptr, 0) == child);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1); // no process that nobody knows of
  });
}

TEST_F(Allocation, OfTheLoopAndTheOutbox) {
  eloop_init(nullptr);
  const auto handler = [](int, void *, void *) {};
  expect_all_or_nothing([&] { return eloop_register_read_sock(0, handler, nullptr, nullptr) == 0; },
                        [](bool) {
                          eloop_destroy();
                          eloop_init(nullptr);
                        });
  int fds[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
  const vorn::Descriptor sender(fds[0]), reader(fds[1]);
  fcntl(sender.get(), F_SETFL, O_NONBLOCK);
  const std::string text(1000000, 'x');
  const auto done = [](int, bool, void *) {};
  expect_all_or_nothing(
      [&] { return vorn::outbox_send(sender.get(), text, 0, done, nullptr) == vorn::Delivery::pending; },
      [&](bool) { vorn::outbox_forget(sender.get()); });
  eloop_destroy();
}

} // namespace
