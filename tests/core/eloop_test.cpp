#include "core/eloop.h"
#include "core/handles.hpp"
#include "core/outbox.hpp"

#include <csignal>
#include <fcntl.h>
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
  explicit Pipe(bool filled = true) {
    int fds[2];
    if (pipe(fds) != 0) abort();
    in = Descriptor(fds[0]);
    out = Descriptor(fds[1]);
    if (filled && write(out.get(), "x", 1) != 1) abort();
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

TEST_F(Eloop, EndsAtOnceWithNothingToWaitFor) {
  eloop_run();
  EXPECT_EQ(eloop_terminated(), 0);
  EXPECT_EQ(eloop_get_user_data(), text("loop"));
}

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
  eloop_register_timeout(9, 0, note, nullptr, nullptr);
  eloop_register_timeout(9, 0, note, nullptr, text("x"));
  EXPECT_EQ(eloop_cancel_timeout(note, any, any), 2);
}

TEST_F(Eloop, RemovingAReaderEndsThePassButNotTheOthersTurn) {
  const Pipe a, b, c;
  static int removed;
  removed = b.in.get();
  eloop_register_read_sock(
      a.in.get(),
      [](int sock, void *, void *) {
        events += "a";
        EXPECT_EQ(eloop_unregister_read_sock(sock), 0); // itself
        EXPECT_EQ(eloop_unregister_read_sock(removed), 0);
        EXPECT_EQ(eloop_unregister_read_sock(removed), -1);
        eloop_register_timeout(0, 0, note, text("t"), nullptr);
        eloop_register_timeout(0, 10000, stop, nullptr, nullptr);
      },
      nullptr, nullptr);
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
  std::string text(5000000, '.'), received;
  for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>('a' + i % 23);
  EXPECT_EQ(vorn::outbox_send(sender.get(), "first", 0, done, nullptr), vorn::Delivery::complete);
  EXPECT_EQ(vorn::outbox_send(sender.get(), text, 0, done, nullptr), vorn::Delivery::pending);
  EXPECT_EQ(vorn::outbox_send(sender.get(), "more", 4, done, nullptr),
            vorn::Delivery::failed); // no room for it
  EXPECT_EQ(vorn::outbox_send(sender.get(), "last", text.size(), done, nullptr), vorn::Delivery::pending);
  eloop_register_read_sock(reader.get(), drain, &received, nullptr);
  eloop_run();
  EXPECT_EQ(events, "sent");
  drain(reader.get(), &received, nullptr);
  while (received.size() < text.size() + 9) drain(reader.get(), &received, nullptr);
  EXPECT_TRUE(received == "first" + text + "last");
  eloop_unregister_read_sock(reader.get());
  EXPECT_EQ(eloop_unregister_read_sock(sender.get() + 2), -1); // nothing of the outbox is left in the loop
}

TEST_F(Outbox, TellsWhenTheReaderIsGone) {
  EXPECT_EQ(vorn::outbox_send(sender.get(), std::string(5000000, 'x'), 0, done, nullptr),
            vorn::Delivery::pending);
  reader.reset();
  eloop_run();
  EXPECT_EQ(events, "gone");
  EXPECT_EQ(vorn::outbox_send(sender.get(), "x", 0, done, nullptr), vorn::Delivery::failed);
}

} // namespace
