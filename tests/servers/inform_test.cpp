#include "servers/inform.hpp"

#include "common/log.hpp"

#include <gtest/gtest.h>

namespace {

using std::string;

string seen;

TEST(Inform, HandlersReadTheParametersAndDecideTheAnswer) {
  const auto note = [] {
    for (const char *name : {"object", "a", "b", ""}) {
      const char *value = vorn_inform_get_value(name);
      seen += value ? string("[") + value + "]" : "-";
    }
    return vorn_inform_get_value("fail") ? 1 : 2;
  };
  EXPECT_EQ(vorn_inform_fn_add("wan", note), 0);
  EXPECT_EQ(vorn_inform_fn_add("wan", [] { return 1; }), 1); // the first one stays
  EXPECT_EQ(vorn_inform_fn_add(nullptr, note) + vorn_inform_fn_add("lan", nullptr), 2);
  const string bad = "vorn: Bad inform request.\n";
  const struct {
    string parameters, answer, seen, logged;
  } cases[] = {
      {"object=wan", "OK", "[wan]---", ""},
      {"a=1&object=wan&b=", "OK", "[wan][1][]-", ""},
      {"object=wan&a=1&a=2", "OK", "[wan][1]--", ""},           // a repeated key keeps its first value
      {"object=wan&a=x=y&b=%26", "OK", "[wan][x=y][%26]-", ""}, // split at the first "=", nothing is decoded
      {"object=wan&=e", "OK", "[wan]--[e]", ""},
      {"object=wan&fail=", "ERR returned by handler", "[wan]---", ""},
      {"object=wan&a=1&b", "OK", "[wan][1]--", bad},
      {"object=wan&", "OK", "[wan]---", bad},
      {"object=wan&x&a=1", "OK", "[wan]---", ""}, // the key is "x&a"
      {"object=wan2", "ERR no handler", "", ""},
      {"object=lan", "ERR no handler", "", ""},
      {"a=1", "ERR no object parameter", "", ""},
      {"", "ERR no object parameter", "", bad},
  };
  vorn::test::Log log;
  for (const auto &c : cases) {
    seen.clear();
    EXPECT_EQ(vorn::answer_inform_request(c.parameters), c.answer) << c.parameters;
    EXPECT_EQ(seen, c.seen) << c.parameters;
    EXPECT_EQ(log.take(), c.logged) << c.parameters;
    EXPECT_EQ(vorn_inform_get_value("object"), nullptr); // the request is over
  }
}

} // namespace
