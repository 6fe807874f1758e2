// What a configuration is, and what requests do to it, in the plainest terms: what docs/lsql.md says, with
// nothing of the agent's code in it.
#pragma once

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace vorn::soak {

struct Property {
  std::string name;
  bool writable = true, required = false;
};

enum class Names { none, unique, group };

struct Class {
  std::string name;
  Names names = Names::none;
  bool singleton = false, abstract = false;
  std::string superclass{};
  size_t most = 0; // its check of whole instances refuses more; 0 for any number
  std::vector<Property> properties{};
};

// In the order of their declaration. The identifier of an abstract class, "type", is not among its
// properties.
extern const std::vector<Class> classes;
const Class *find_class(const std::string &name);
bool value_is_good(const std::string &value);

struct Instance {
  std::optional<std::string> name;
  std::map<std::string, std::string> values;
  bool operator==(const Instance &) const = default;
};

// The instances of each class in their order.
struct Model {
  std::map<std::string, std::vector<Instance>> instances;
  bool operator==(const Model &) const = default;
};

struct Expression {
  std::string kind, text;
  std::vector<Expression> children;
};

struct Element {
  std::string cls;
  std::optional<std::string> name, properties;
  std::vector<std::pair<std::string, std::string>> values;
};

struct Operation {
  std::string kind;
  std::vector<Element> elements;
  std::optional<Expression> where;
};

struct Request {
  bool transaction = false, passive = false;
  std::vector<Operation> operations;
};

std::string to_xml(const Request &request);

struct Prediction {
  std::vector<std::string> noted,
      done;                  // what the reply holds of each operation after the first and second pass
  std::vector<Model> states; // the target before the operations, and after each that was carried out
  std::string reply;
  Model after;
  bool commits = false;
};

Prediction predict(const Model &before, const Request &request);

// A whole reply of what stands in it for each of some operations, and of more.
std::string reply_of(const std::vector<std::string> &operations, size_t count, const std::string &more = "");

// A request of any kind, most of them such as do something.
Request make_request(std::mt19937_64 &chance);

} // namespace vorn::soak
