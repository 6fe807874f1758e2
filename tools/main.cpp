// lsql: sends LSQL requests to the agent on this host and watches its notifications.
#include "client.hpp"
#include "exchange.hpp"
#include "failure.hpp"
#include <cstdio>
#include <exception>
#include <iostream>

int main(int argc, char *argv[]) {
  try {
    using namespace vorn::client;
    const lsql::Context context{local_endpoint(lsql_socket),
                                tcp_endpoint(lsql_port),
                                tcp_endpoint(notify_port),
                                local_endpoint(inform_socket),
                                std::cin,
                                std::cout,
                                std::cerr};
    return lsql::run_client(argc, argv, context);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "lsql: %s\n", error.what());
  } catch (...) {
    std::fputs("lsql: failed\n", stderr);
  }
  return lsql::EXIT_REFUSED;
}
