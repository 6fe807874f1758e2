#include "requests.hpp"

#include "station_file.hpp"
#include <cstring>
#include <stdexcept>

namespace bench {

namespace {

constexpr std::string_view opening = "<lsql>", closing = "</lsql>";

std::string request(const std::string &operation, const std::string &attributes,
                    const std::string &content = "") {
  return std::string(opening) + "<" + operation + "><" STATION_CLASS " " + attributes + ">" + content +
         "</" STATION_CLASS "></" + operation + ">" + std::string(closing);
}

std::string name_attribute(const std::string &name) { return "name=\"" + name + "\""; }

std::string element(const std::string &name, const std::string &text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

} // namespace

std::string select_one(const std::string &name) {
  return request("select", name_attribute(name) + " properties=\"all\"");
}

std::string select_all() { return request("select", "properties=\"all\""); }

std::string update_one(const std::string &name, size_t number) {
  return request("update", name_attribute(name), element("rateLimit", std::to_string(number) + " kbit/s"));
}

std::string insert_one(const std::string &name) {
  std::string properties;
  const Station station = make_station(0); // its values need no escaping
  for (size_t i = 0; i < STATION_PROPERTIES; ++i)
    properties += element(station_properties[i], station.values[i]);
  return request("insert", name_attribute(name), properties);
}

std::string delete_one(const std::string &name) { return request("delete", name_attribute(name)); }

std::string in_transaction(std::string request) {
  request.insert(opening.size(), "<write-transaction>");
  request.insert(request.size() - closing.size(), "</write-transaction>");
  return request;
}

void require_success(const char *reply, size_t instances) {
  const std::string end = "<rc>0</rc><counter>" + std::to_string(instances) + "</counter></lsql_result>";
  if (!reply || !strstr(reply, end.c_str()))
    throw std::runtime_error("unexpected reply: " + std::string(reply ? reply : "none").substr(0, 200));
}

} // namespace bench
