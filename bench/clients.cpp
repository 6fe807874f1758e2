#include "clients.hpp"

#include <cstdint>
#include <stdexcept>

namespace bench {

namespace {

class LocalClient final : public Client {
public:
  explicit LocalClient(std::string name) : name_(std::move(name)) {}
  const std::string &exchange(const std::string &request) override {
    const auto length = static_cast<uint32_t>(request.size());
    message_.assign(reinterpret_cast<const char *>(&length), sizeof length);
    message_ += request;
    const Socket socket = connect_local(name_);
    if (!socket) throw std::runtime_error("nobody listens at the local socket");
    send_all(socket, message_);
    reply_.clear();
    while (const size_t count = receive(socket, buffer_.data(), buffer_.size()))
      reply_.append(buffer_.data(), count);
    if (reply_.empty()) throw std::runtime_error("no reply at the local socket");
    return reply_;
  }

private:
  std::string name_;
  std::string message_{};
};

class TcpClient final : public Client {
public:
  explicit TcpClient(unsigned short port) : socket_(connect_tcp(port)) {
    if (!socket_) throw std::runtime_error("nobody listens at the TCP port");
  }
  const std::string &exchange(const std::string &request) override {
    message_ = request;
    message_ += terminator;
    send_all(socket_, message_);
    reply_.clear();
    do {
      const size_t count = receive(socket_, buffer_.data(), buffer_.size());
      if (count == 0) throw std::runtime_error("the TCP connection has ended");
      reply_.append(buffer_.data(), count);
    } while (reply_.back() != terminator);
    reply_.pop_back();
    return reply_;
  }

private:
  Socket socket_;
  std::string message_{};
};

} // namespace

std::unique_ptr<Client> local_client(std::string name) {
  return std::make_unique<LocalClient>(std::move(name));
}

std::unique_ptr<Client> tcp_client(unsigned short port) { return std::make_unique<TcpClient>(port); }

} // namespace bench
