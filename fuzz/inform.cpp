// The parameters of an inform request, held against a slower reading of them.
#include "servers/inform.hpp"
#include "world.hpp"

using namespace vorn::fuzz;

namespace {

const std::string *parameters;

// The value of the first pair of that key; pairs end where there is no "=" left.
bool find(const char *key, std::string &value) {
  for (size_t start = 0;;) {
    const size_t equals = parameters->find('=', start);
    if (equals == std::string::npos) return false;
    const size_t end = std::min(parameters->find('&', equals + 1), parameters->size());
    if (parameters->substr(start, equals - start) == key) {
      value = parameters->substr(equals + 1, end - equals - 1);
      return true;
    }
    if (end == parameters->size()) return false;
    start = end + 1;
  }
}

int compare() {
  for (const char *key : {"object", "state", "a", ""}) {
    std::string expected;
    const char *value = vorn_inform_get_value(key);
    require(find(key, expected) == (value != nullptr), "a handler finds the parameters that there are");
    require(!value || expected == value, "a handler finds the first value");
  }
  return vorn_inform_get_value("fail") ? 1 : 0;
}

const bool added = vorn_inform_fn_add("wan", compare) == 0 && vorn_inform_fn_add("", compare) == 0;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  start();
  Input input(data, size);
  const std::string text = input.until('\0');
  parameters = &text;
  const std::string answer = vorn::answer_inform_request(text);
  std::string object, fail;
  const char *expected = find("fail", fail) ? "ERR returned by handler" : "OK";
  if (!find("object", object))
    expected = "ERR no object parameter";
  else if (object != "wan" && object != "")
    expected = "ERR no handler";
  require(added && answer == expected, "the answer is that of the object's handler");
  require(!vorn_inform_get_value("object"), "the parameters end with the request");
  return 0;
}
