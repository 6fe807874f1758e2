#include "config/default_header.hpp"

#include "common/log.hpp"
#include "core/handles.hpp"

#include <gtest/gtest.h>

namespace {

using std::string;

TEST(DefaultHeader, EveryFaultHasItsCodeAndMessage) {
  const string md5(32, 'a'), good = "Version: 1\nLength: 5\nMD5sum: " + md5 + "\n";
  const struct {
    string text;
    int code;
    string message;
  } cases[] = {
      {good + "\nbody", 0, ""},
      {"MD5sum: " + md5 + "\nLength: 9\nLength: 5\nVersion: 1\n\nbody", 0,
       ""}, // a repeated one counts as its last
      {"", 1, "Headers ended prematurely in default."},
      {good, 1, "Headers ended prematurely in default."},
      {"Version: 1", 1, "Headers ended prematurely in default."},
      {"Version:1\n\n", 2, "Couldn't read header line in default."},
      {good + " \n\n", 2, "Couldn't read header line in default."},
      {"Length: " + string(5000, '1') + "\n\n", 2, "Couldn't read header line in default."},
      {"Version: 2\n\n", 3, "Bad default Version: 2."},
      {"Version: \n\n", 3, "Bad default Version: ."},
      {"Length: 12x\n\n", 4, "Bad default Length: 12x."},
      {"Length: \n\n", 4, "Bad default Length: ."},
      {"MD5sum: " + md5 + "a\n\n", 5, "Bad default Md5sum: " + md5 + "a."},
      {"version: 1\n\n", 6, "Bad default header name: version."},
      {"\n", 7, "Headers are missing."},
      {"Length: 5\n\n", 8, "Headers are missing."},
      {"Version: 1\n\n", 9, "Headers are missing."},
      {"Version: 1\nLength: 5\n\n", 10, "Headers are missing."},
      {"MD5sum: " + md5 + "\n\n", 11, "Headers are missing."},
      {"MD5sum: " + md5 + "\nVersion: 1\n\n", 13, "Headers are missing."},
  };
  vorn::test::Log log;
  for (const auto &c : cases) {
    string text = c.text;
    const vorn::File file(text.empty() ? fopen("/dev/null", "r") : fmemopen(text.data(), text.size(), "r"));
    vorn::DefaultHeader header;
    EXPECT_EQ(vorn::read_default_header(file.get(), header), c.code) << c.text;
    EXPECT_EQ(log.take(), c.message.empty() ? "" : "vorn: " + c.message + "\n") << c.text;
    if (c.code != 0) continue;
    char body[5] = "";
    EXPECT_EQ(fread(body, 1, 4, file.get()), 4u);
    EXPECT_EQ(body + header.md5 + std::to_string(header.length), "body" + md5 + "5");
  }
}

} // namespace
