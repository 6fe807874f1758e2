#include "core/eloop.h"
#include "core/handles.hpp"
#include "core/outbox.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <sys/select.h>
#include <sys/socket.h>

namespace {

using vorn::Descriptor;

std::string events;
void *const any = reinterpret_cast<void *>(-1L);

void note(void *name, void *) { events += static_cast<const char *>(name); }
void stop(void *, void *) { eloop_terminate(); }
void note_sock(int sock, void *name, void *) {
  char byte;
  if (read(sock, &byte, 1) == 1) events += static_cast<const char *>(name);
}

void *text(const char *name) { return const_cast<char *>(name); }

// A pipe with one byte in it.
struct Pipe {
  Pipe() {
    int fds[2];
    if (pipe(fds) != 0) abort();
    in = Descriptor(fds[0]);
    out = Descriptor(fds[1]);
    if (write(out.get(), "x", 1) != 1) abort();
  }
  Descriptor in, out;
};

struct Eloop : testing::Test {
  Eloop() {
    events.clear();
    eloop_init(text("loop"));
  }
  ~Eloop() override { eloop_destroy(); }
};

TEST_F(Eloop, FiresTimeoutsByExpiryAndEqualOnesByRegistration) {
  eloop_register_timeout(0, 50000, note, text("d"), nullptr);
  eloop_register_timeout(0, 0, note, text("a"), nullptr);
  eloop_register_timeout(0, 0, note, text("b"), nullptr);
  eloop_register_timeout(0, 20000, note, text("c"), nullptr);
  eloop_run();
  EXPECT_EQ(events, "abcd");
}

TEST_F(Eloop, FiresOneTimeoutAPassBeforeTheReaders) {
  const Pipe pipe;
  eloop_register_timeout(0, 0, note, text("1"), nullptr);
  eloop_register_timeout(0, 0, note, text("2"), nullptr);
  eloop_register_timeout(0, 10000, stop, nullptr, nullptr);
  eloop_register_read_sock(pipe.in.get(), note_sock, text("r"), nullptr);
  eloop_run();
  EXPECT_EQ(events, "1r2");
}

TEST_F(Eloop, CancelsByHandlerAndDataWithWildcards) {
  for (const char *name : {"a", "b", "c"}) eloop_register_timeout(0, 0, note, text(name), text(name));
  eloop_register_timeout(0, 0, stop, nullptr, nullptr);
  EXPECT_EQ(eloop_cancel_timeout(note, text("a"), text("b")), 0);
  EXPECT_EQ(eloop_cancel_timeout(note, any, text("b")), 1);
  EXPECT_EQ(eloop_cancel_timeout(note, text("c"), any), 1);
  eloop_run();
  EXPECT_EQ(events, "a");
  for (const char *name : {"a", "b"}) eloop_register_timeout(9, 0, note, nullptr, text(name));
  EXPECT_EQ(eloop_cancel_timeout(note, any, any), 2);
}

TEST_F(Eloop, RemovingAReaderEndsThePassButNotTheOthersTurn) {
  const Pipe a, b, c;
  static int removed;
  removed = b.in.get();
  const auto remove_two = [](int sock, void *, void *) {
    events += "a";
    for (const int gone : {sock, removed}) EXPECT_EQ(eloop_unregister_read_sock(gone), 0);
    EXPECT_EQ(eloop_unregister_read_sock(removed), -1);
    eloop_register_timeout(0, 0, note, text("t"), nullptr);
    eloop_register_timeout(0, 10000, stop, nullptr, nullptr);
  };
  eloop_register_read_sock(a.in.get(), remove_two, nullptr, nullptr);
  eloop_register_read_sock(b.in.get(), note_sock, text("b"), nullptr);
  eloop_register_read_sock(c.in.get(), note_sock, text("c"), nullptr);
  eloop_run();
  EXPECT_EQ(events, "atc"); // the timeout of the next pass comes before c's turn in it
}

TEST_F(Eloop, RefusesDescriptorsThatSelectCannotHold) {
  EXPECT_EQ(eloop_register_read_sock(-1, note_sock, nullptr, nullptr), -1);
  EXPECT_EQ(eloop_register_read_sock(FD_SETSIZE, note_sock, nullptr, nullptr), -1);
  EXPECT_EQ(eloop_register_read_sock(FD_SETSIZE - 1, note_sock, nullptr, nullptr), 0);
}

// Whoever closes a ready descriptor and opens another one of its number, in an earlier reader or in a
// timeout, finds nothing on it: neither in this pass nor in the next.
TEST_F(Eloop, AReadyDescriptorsNumberSaysNothingOfTheNextFileUnderIt) {
  static const auto replace = [](void *stays, void *second_data) {
    Pipe &second = *static_cast<Pipe *>(second_data);
    if (!stays) eloop_unregister_read_sock(second.in.get());
    const int number = second.in.get();
    second = Pipe(); // the ready ones are closed
    char byte;
    EXPECT_EQ(read(second.in.get(), &byte, 1), 1);
    EXPECT_EQ(dup2(second.in.get(), number), number);
    second.in.reset(number);
    EXPECT_EQ(eloop_register_read_sock(
                  number, [](int, void *, void *) { events += "new"; }, nullptr, nullptr),
              0);
    eloop_register_timeout(0, 20000, stop, nullptr, nullptr);
  };
  static const auto replace_once = [](int sock, void *stays, void *second) {
    char byte;
    if (read(sock, &byte, 1) == 1) replace(stays, second);
  };
  const auto stale = [](int, void *, void *) { events += "stale"; };
  for (const bool from_timeout : {false, true})
    for (const bool stays : {false, true}) {
      eloop_init(nullptr);
      Pipe first, second;
      void *const flag = stays ? any : nullptr;
      if (from_timeout)
        eloop_register_timeout(0, 0, replace, flag, &second);
      else
        eloop_register_read_sock(first.in.get(), replace_once, flag, &second);
      eloop_register_read_sock(second.in.get(), stale, nullptr, nullptr);
      eloop_run();
      EXPECT_EQ(events, "") << from_timeout << stays;
    }
}

TEST_F(Eloop, RefusesNullHandlers) {
  const Pipe pipe;
  EXPECT_EQ(eloop_register_read_sock(pipe.in.get(), nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(eloop_register_timeout(0, 0, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(eloop_register_signal(SIGUSR1, nullptr, nullptr), -1);
  eloop_run(); // there is nothing to wait for
}

TEST_F(Eloop, DefersSignalsAndCallsOnceForManyInOrderOfRegistration) {
  const auto handler = [](int sig, void *loop_data, void *name) {
    EXPECT_STREQ(static_cast<const char *>(loop_data), "loop");
    events += (sig == SIGUSR1 ? "1" : "2") + std::string(static_cast<const char *>(name));
  };
  eloop_register_signal(SIGUSR2, handler, text("b"));
  eloop_register_signal(SIGUSR1, handler, text("a"));
  for (const int sig : {SIGUSR1, SIGUSR2, SIGUSR1}) raise(sig);
  EXPECT_EQ(events, "");
  eloop_register_timeout(0, 0, note, text("t"), nullptr);
  eloop_run();
  EXPECT_EQ(events, "2b1at");
}

TEST_F(Eloop, IsWokenByASignalWhileItWaits) {
  eloop_register_signal(
      SIGALRM, [](int, void *, void *) { eloop_terminate(); }, nullptr);
  eloop_register_timeout(60, 0, note, text("late"), nullptr);
  ualarm(20000, 0);
  eloop_run();
  EXPECT_EQ(events, "");
}

// A pair of connected sockets; the first one's reader is the test.
struct Outbox : Eloop {
  Outbox() {
    int fds[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds) != 0) abort();
    sender = Descriptor(fds[0]);
    reader = Descriptor(fds[1]);
  }
  static void done(int, bool sent, void *) {
    events += sent ? "sent" : "gone";
    eloop_terminate();
  }
  static void drain(int sock, void *received, void *) {
    char buffer[65536];
    const ssize_t count = read(sock, buffer, sizeof buffer);
    if (count > 0) static_cast<std::string *>(received)->append(buffer, static_cast<size_t>(count));
  }
  Descriptor sender, reader;
};

TEST_F(Outbox, KeepsWhatDoesNotGoAtOnceAndSendsItInOrder) {
  using vorn::Delivery;
  std::string text(5000000, '.'), received;
  for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>('a' + i % 23);
  const auto send = [&](const std::string &data, size_t limit) {
    return vorn::outbox_send(sender.get(), data, limit, done, nullptr);
  };
  EXPECT_EQ(send("first", 0), Delivery::complete);
  EXPECT_EQ(send(text, 0), Delivery::pending);
  EXPECT_EQ(send("more", 4), Delivery::failed); // no room for it
  EXPECT_EQ(send("last", text.size()), Delivery::pending);
  eloop_register_read_sock(reader.get(), drain, &received, nullptr);
  eloop_run();
  EXPECT_EQ(events, "sent");
  while (received.size() < text.size() + 9) drain(reader.get(), &received, nullptr);
  EXPECT_TRUE(received == "first" + text + "last");
  reader.reset();
  EXPECT_EQ(send("x", 0), Delivery::failed);
}

TEST_F(Outbox, TellsWhenTheReaderIsGone) {
  const std::string text(5000000, 'x');
  vorn::outbox_send(sender.get(), text, 0, done, nullptr);
  reader.reset();
  eloop_run();
  EXPECT_EQ(events, "gone");
}

} // namespace
