#include "support/interface_address.h"

#include "core/debug.h"
#include "core/handles.hpp"
#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

constexpr unsigned least_mac_size = 24;

// Reports `errno`. Returns false, the answer that goes with it.
bool report(const char *operation, const char *step, const char *name) {
  const int error = errno;
  char text[64];
  snprintf(text, sizeof text, "%s(): %s(%s)", operation, step, name);
  errno = error;
  vorn_debug_perror(text);
  return false;
}

// Asks the kernel about an interface. Returns whether it has answered; reports, in the operation's name, what
// is not just the lack of an address.
bool ask(const char *operation, const char *name, int request, ifreq &answer) {
  if (!name || strlen(name) >= IFNAMSIZ) return false; // cut, the name could be another interface's
  const vorn::Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!socket) return report(operation, "socket", "");
  answer = {};
  answer.ifr_addr.sa_family = AF_INET;
  strcpy(answer.ifr_name, name);
  if (ioctl(socket.get(), static_cast<unsigned long>(request), &answer) == 0) return true;
  return errno != EADDRNOTAVAIL && errno != ENODEV && report(operation, "ioctl", name);
}

} // namespace

int vorn_util_ipaddress_get(const char *ifname, int request, char *buf, unsigned size) noexcept {
  ifreq answer;
  if (!buf || !ask("get_ip", ifname, request, answer)) return -1;
  sockaddr_in address;
  static_assert(sizeof address <= sizeof answer.ifr_addr);
  memcpy(&address, &answer.ifr_addr, sizeof address);
  const char *text = inet_ntoa(address.sin_addr);
  const size_t length = strlen(text);
  if (size < length) return -1;
  memcpy(buf, text, length); // without the terminator, deliberately
  return 1;
}

int vorn_util_macaddress_get(const char *ifname, char *buf, unsigned size) noexcept {
  ifreq answer;
  if (!buf || size < least_mac_size || !ask("get_mac", ifname, SIOCGIFHWADDR, answer)) return -1;
  unsigned char mac[6];
  memcpy(mac, answer.ifr_hwaddr.sa_data, sizeof mac);
  snprintf(buf, size, "%.2X:%.2X:%.2X:%.2X:%.2X:%.2X", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return 1;
}
