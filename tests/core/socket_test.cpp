#include "common/log.hpp"
#include "core/handles.hpp"
#include "core/socket.h"
#include "process/command.h"
#include "support/status_file.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace {

using vorn::Descriptor;
using vorn::test::Log;

std::string unique_name(const char *kind) {
  return std::string("vorn-test-") + kind + std::to_string(getpid());
}

// Connects to a path, or to an abstract name that is padded to `length` bytes of the path area.
bool can_connect(const std::string &path, bool abstract, size_t length = sizeof(sockaddr_un::sun_path)) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path + (abstract ? 1 : 0), sizeof address.sun_path - 1);
  const Descriptor client(socket(AF_UNIX, SOCK_STREAM, 0));
  return connect(client.get(), reinterpret_cast<sockaddr *>(&address),
                 static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length)) == 0;
}

TEST(Socket, AbstractNamesAreBoundWithTheWholePathArea) {
  const std::string name = unique_name("abstract");
  const Descriptor server(vorn_socket_get_unix(name.c_str(), VORN_SOCKET_ABSTRACT));
  ASSERT_TRUE(server);
  EXPECT_TRUE(can_connect(name, true));
  EXPECT_FALSE(can_connect(name, true, name.size() + 1));
  EXPECT_TRUE(fcntl(server.get(), F_GETFL) & O_NONBLOCK);
  EXPECT_TRUE(fcntl(server.get(), F_GETFD) & FD_CLOEXEC);
  Log log;
  EXPECT_EQ(vorn_socket_get_unix(name.c_str(), VORN_SOCKET_ABSTRACT), -1);
  EXPECT_EQ(log.take(), "vorn: Unable to bind to domain " + name + ": Address already in use\n");
  EXPECT_TRUE(Descriptor(vorn_socket_get_unix(std::string(300, 'n').c_str(), VORN_SOCKET_ABSTRACT)));
}

TEST(Socket, APathIsTakenFromAnEarlierRun) {
  const std::string directory = testing::TempDir() + unique_name("dir"), path = directory + "/sock";
  ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
  ASSERT_EQ(symlink(path.c_str(), (directory + "/link").c_str()), 0);
  close(vorn_socket_get_unix(path.c_str(), 0)); // its file stays
  const Descriptor server(vorn_socket_get_unix((directory + "/link").c_str(), 0));
  EXPECT_TRUE(server); // where the link leads, the stale file was removed
  EXPECT_TRUE(can_connect(path, false));
  EXPECT_EQ(system(("rm -r '" + directory + "'").c_str()), 0);
}

TEST(Socket, TcpListensOnLoopbackOnlyAndReportsATakenPort) {
  Descriptor server;
  unsigned short port = 40000;
  {
    Log log; // of ports that someone else has
    while (!server && ++port < 60000) server = Descriptor(vorn_socket_get_tcp(port, 1));
  }
  ASSERT_TRUE(server);
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  getsockname(server.get(), reinterpret_cast<sockaddr *>(&address), &size);
  EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
  Log log;
  EXPECT_EQ(vorn_socket_get_tcp(port, 1), -1);
  EXPECT_EQ(log.take(),
            "vorn: Unable to bind to port " + std::to_string(port) + ": Address already in use\n");
}

TEST(Socket, WithoutDescriptorsChildrenAndWalksSayWhyTheyFail) {
  rlimit before = {};
  getrlimit(RLIMIT_NOFILE, &before);
  Log log;
  const Descriptor next(dup(STDERR_FILENO));
  const rlimit none = {static_cast<rlim_t>(next.get()), before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  vorn_command_execl("true", static_cast<char *>(nullptr));
  EXPECT_EQ(log.take(), "vorn: Unable to execute \"true\": Too many open files\n");
  char out[10] = "";
  const auto no_file = [](char *, int, const char *, const char *, const char **) { return 0; };
  EXPECT_EQ(vorn_util_dir_walk("/proc/*/stat", out, sizeof out, "", no_file, nullptr), 1);
  EXPECT_EQ(log.take(), "vorn: /proc/: Too many open files\n");
  setrlimit(RLIMIT_NOFILE, &before);
}

} // namespace
