// lsql: sends LSQL requests to the agent on this host and watches its notifications.
#include "client.hpp"
#include "failure.hpp"

#include <cstdio>
#include <exception>
#include <iostream>

int main(int argc, char *argv[]) {
  try {
    const lsql::Surroundings agent{lsql::local_endpoint("vorn_sock_lsql"),
                                   lsql::tcp_endpoint(8002),
                                   lsql::tcp_endpoint(8001),
                                   lsql::local_endpoint("vorn_sock_inform"),
                                   std::cin,
                                   std::cout,
                                   std::cerr};
    return lsql::run_client(argc, argv, agent);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "lsql: %s\n", error.what());
  } catch (...) {
    std::fputs("lsql: failed\n", stderr);
  }
  return lsql::EXIT_REFUSED;
}
