// Requests that would cost without bound.
#include "commit/providers.h"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/running.hpp"
#include "core/debug.h"
#include "core/handles.hpp"
#include "core/limits.hpp"
#include "query/query.h"

#include <ctime>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

time_t clock_ahead = 0;
time_t seconds_a_look = 0; // the clock goes on by so much whenever it is read

} // namespace

// Stands for clock_gettime in the agent's code (the linker's --wrap): the clock stands still but for what a
// case asks for, since a build with sanitizers on a busy machine is slow.
extern "C" [[gnu::visibility("default")]] int __wrap_clock_gettime(clockid_t, timespec *time) {
  *time = {1000 + (clock_ahead += seconds_a_look), 0};
  return 0;
}

namespace {

using namespace vorn::test;
using std::string;

string repeated(const string &text, size_t count) {
  string whole;
  while (count-- > 0) whole += text;
  return whole;
}

struct Limits : testing::Test {
  Limits() {
    add_all_kinds();
    vorn_provider *provider = vorn_provider_new("p");
    vorn_provider_set_commit_fn(
        provider, [](vorn_commit_info *) { return ++commits; }, nullptr);
    vorn_provider_set_refresh_fn(provider, slow_refresh, nullptr);
    vorn_providers_add(provider);
    vorn_providers_done_adding();
    vorn::set_running(vorn_instances_new());
    fill(3);
  }
  ~Limits() override { vorn_instances_delete_all(vorn_config_get_running()); }

  static int slow_refresh(vorn_refresh_info *) {
    clock_ahead += refresh_seconds;
    return 0;
  }
  static void fill(int count, const string &mode = "n") {
    for (int i = 0; i < count; ++i)
      add(vorn_config_get_running(), "radio", ("r" + std::to_string(i)).c_str(), {{"mode", mode.c_str()}});
  }
  static string state() { return printed(vorn_instances_print, vorn_config_get_running()); }
  static string eval(const string &request) {
    const vorn::CString reply(vorn_query_eval(request.c_str()));
    return reply ? reply.get() : "none";
  }
  static string evaluate(const string &operations) { return eval("<lsql>" + operations + "</lsql>"); }
  static string ending(const string &error) {
    return "<error>" + error + "</error><rc>1</rc><counter>0</counter></lsql_result>\n";
  }
  // The operations end with the error, and have neither changed nor committed anything.
  void expect_ended(const string &operations, const string &error) {
    const string before = state();
    const string reply = evaluate(operations);
    EXPECT_TRUE(reply.ends_with(ending(error)))
        << reply.substr(reply.size() - std::min<size_t>(reply.size(), 200));
    EXPECT_EQ(state(), before);
    EXPECT_EQ(commits, 0);
    EXPECT_NE(log.take().find(error), string::npos);
  }

  static int commits;
  static time_t refresh_seconds;
  Log log;
};
int Limits::commits = 0;
time_t Limits::refresh_seconds = 0;

TEST_F(Limits, WhatKeepsTheParserBusyIsRefusedBeforeIt) {
  string tag = "<lsql";
  for (int i = 0; i < 40000; ++i) tag += " a" + std::to_string(i) + "=''";
  const std::pair<string, string> cases[] = {
      {"<!DOCTYPE lsql><lsql><delete><radio/></delete></lsql>", "it has a document type declaration"},
      {tag + "/>", "a tag has too many attributes"},
      {"<?xml version='1.0' encoding='EBCDIC-US'?><lsql/>",
       "its encoding is not UTF-8, US-ASCII or ISO-8859-1"},
  };
  const string before = state();
  for (const auto &[request, reason] : cases) {
    EXPECT_EQ(eval(request), "none");
    const string logged = log.take();
    EXPECT_EQ(logged.find("vorn: LSQL request refused: " + reason + ".\nvorn: Invalid LSQL request: <"), 0u)
        << logged;
    EXPECT_LT(logged.size(), 800u);
  }
  EXPECT_EQ(state(), before);
  EXPECT_NE(
      eval("<?xml version='1.0' encoding='ISO-8859-1'?><lsql><insert><radio name='\xe9'/></insert></lsql>")
          .find("<counter>1</counter>"),
      string::npos);
  EXPECT_NE(vorn_instances_get(vorn_config_get_running(), "radio", "\xc3\xa9"), nullptr);
}

TEST_F(Limits, TheLogOfARefusedRequestIsShortAndItsOwn) {
  const string request = "<lsql>\nvorn: a line of its own\x1b[2J" + repeated("</b>", 100000);
  EXPECT_EQ(eval(request), "none");
  EXPECT_EQ(evaluate(repeated("<a></b>", 20000)), "none"); // each of them a fault
  EXPECT_EQ(evaluate("<update><radio><mode>bad</mode></radio></update>").find("bad") == string::npos, false);
  const string long_text(40000, 'x');
  EXPECT_NE(evaluate("<insert><" + long_text + "/></insert>").find("<rc>1</rc>"), string::npos);
  EXPECT_NE(evaluate("<insert><port><type>" + long_text + "</type></port></insert>").find("<rc>1</rc>"),
            string::npos);
  const string logged = log.take();
  EXPECT_NE(logged.find("vorn: Invalid LSQL request: <lsql>\\nvorn: a line of its own\\x1b[2J</b></b>"),
            string::npos);
  EXPECT_NE(logged.find("... (400034 bytes)\n"), string::npos) << logged;
  EXPECT_LT(logged.size(), 5000u);
  vorn_debug_set(1);
  log.take();
  evaluate("<update><radio name=\"r1\"><mode>a\nvorn: b&#13;</mode></radio></update>");
  EXPECT_EQ(log.take(),
            "vorn: LSQL query:\n<?xml version=\"1.0\"?>\n<lsql><update><radio name=\"r1\"><mode>a\\nvorn: "
            "b&#xD;</mode></radio></update></lsql>\nvorn: LSQL result:\n<?xml version=\"1.0\"?>\n"
            "<lsql_result><rc>0</rc><counter>1</counter></lsql_result>\n");
  vorn_debug_set(0);
}

TEST_F(Limits, UnknownPartsOfAWhereAreLoggedOnceAndNotAllOfMany) {
  fill(200);
  evaluate("<select><radio/></select><where><or>" + repeated("<xor/>", 1000) + "</or></where>");
  const string logged = log.take();
  EXPECT_EQ(std::count(logged.begin(), logged.end(), '\n'), static_cast<long>(vorn::max_logged_unknown));
}

TEST_F(Limits, SizeOfARequest) {
  expect_ended(repeated(" ", vorn::max_request_size), "Request is too long.");
  expect_ended("<insert>" + repeated("<server/>", vorn::max_request_nodes) + "</insert>",
               "Request has too many elements.");
  EXPECT_TRUE(evaluate("<insert>" + repeated("<server/>", 20000) + "</insert>")
                  .ends_with("<counter>20000</counter></lsql_result>\n"));
}

TEST_F(Limits, WhatARequestExpandsTo) {
  const string value(vorn::max_result_size / 330, 'v'), all = "<select><radio properties=\"all\"/></select>";
  fill(100, value);
  const size_t fitting = vorn::max_result_size / value.size() / 100;
  const string change = "<update><radio name=\"r1\"><power>2</power></radio></update>";
  const string reply = evaluate(change + repeated(all, fitting + 2));
  EXPECT_LE(reply.size(), vorn::max_result_size + 1000);
  EXPECT_GT(reply.size(), vorn::max_result_size / 2);
  EXPECT_TRUE(reply.ends_with("</dataset><rc>0</rc><counter>100</counter>" +
                              ending("Result is too long."))); // the last is whole
  EXPECT_EQ(commits, 0);
  log.take();
  const string long_value(vorn::max_result_size / 90, 'w');
  expect_ended("<update><radio><mode>" + long_value + "</mode></radio></update>", "Request stores too much.");
  expect_ended("<write-transaction><update><radio><mode>" + long_value +
                   "</mode></radio></update></write-transaction>",
               "Request stores too much.");
}

TEST_F(Limits, WhatAnEvaluationCosts) {
  fill(1000);
  const string parts = repeated("<not><value>x</value></not>", vorn::max_evaluation_steps / 2000 + 10);
  expect_ended("<delete><radio/></delete><where><or>" + parts + "</or></where>", "Request is too expensive.");
}

TEST_F(Limits, HowLongAnEvaluationTakesPluginsNotCounted) {
  seconds_a_look = 6;
  expect_ended("<delete><radio/></delete>", "Request takes too long."); // by the look before the deletions
  seconds_a_look = 0;
  fill(600);
  const string update = "<update><radio><mode>slow</mode></radio></update>";
  // Each look at the clock is a second. 600 instances take two looks every 256 steps and two for each value
  // that a plugin's function checks: only the first count.
  seconds_a_look = 6;
  expect_ended(update + update, "Request takes too long.");
  expect_ended("<write-transaction><insert>" + repeated("<server/>", 600) + "</insert></write-transaction>",
               "Request takes too long.");
  expect_ended("<delete><radio/></delete>", "Request takes too long.");
  seconds_a_look = 0;
  refresh_seconds = 3600;
  vorn_property_set_is_valid_fn(vorn_class_get_property(vorn_classes_get("radio"), "mode"),
                                [](const char *) { return clock_ahead += 60, 1; });
  EXPECT_TRUE(evaluate(update).ends_with("<rc>0</rc><counter>600</counter></lsql_result>\n"));
  EXPECT_EQ(commits, 1);
}

#ifndef __SANITIZE_ADDRESS__
// Evaluates a request of a million bytes with so much memory more than the process has now; returns whether
// there was a reply.
bool fits(const string &request, size_t more) {
  const pid_t child = fork();
  if (child == 0) {
    long pages = 0;
    const vorn::File status(fopen("/proc/self/statm", "r"));
    if (fscanf(status.get(), "%ld", &pages) != 1) _exit(2);
    const rlim_t limit = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + more;
    const rlimit most = {limit, limit};
    setrlimit(RLIMIT_AS, &most);
    const vorn::CString reply(vorn_query_eval(request.c_str()));
    _exit(reply && !strstr(reply.get(), "No memory") ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status == 0;
}

TEST_F(Limits, AMillionBytesCostAtMost150Megabytes) {
  fill(300, string(200000, 'v'));
  const auto million = [](const string &head, const string &part, const string &tail) {
    return "<lsql>" + head + repeated(part, 1000000 / part.size()) + tail + "</lsql>";
  };
  const string all = "<select><radio properties=\"all\"/></select>"; // close to the longest result
  const string attributes =
      " a='' b='' c='' d='' e='' f='' g='' h='' i='' j='' k='' l='' m='' n='' o='' p=''";
  const string requests[] = {
      million(all + "<select><server>", "<a/>x", "</server></select>" + all),
      million(all + "<select><server>", "<a" + attributes + "/>", "</server></select>" + all),
      million("<insert>", "<server/>", "</insert>" + all),
      million("<write-transaction><insert>", "<server/>", "</insert>" + all + "</write-transaction>"),
      million("<update><radio><mode>", "v", "</mode></radio></update>"),
      million("<update><radio>", "<power>n</power>", "</radio></update>"),
  };
  for (const string &request : requests) EXPECT_TRUE(fits(request, 150'000'000)) << request.substr(0, 60);
  EXPECT_FALSE(fits(requests[0], 40'000'000)); // the measure is one
}
#endif

} // namespace
