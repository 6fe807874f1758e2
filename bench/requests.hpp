// The requests that are measured.
#ifndef VORN_BENCH_REQUESTS_HPP
#define VORN_BENCH_REQUESTS_HPP

#include <cstddef>
#include <string>

namespace bench {

std::string select_one(const std::string &name);
std::string select_all();
// Changes one property; `number` makes the value differ from one request to the next.
std::string update_one(const std::string &name, size_t number);
std::string insert_one(const std::string &name);
std::string delete_one(const std::string &name);
// The same operation inside a write-transaction.
std::string in_transaction(std::string request);

// Throws unless the reply is one operation's without errors that matched this many instances.
void require_success(const char *reply, size_t instances);

} // namespace bench

#endif
