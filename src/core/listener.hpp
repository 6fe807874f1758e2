// A listening socket in the loop.
//
//   state     | in the loop | then
//   listening | yes         | somebody comes: taken when there is a place, else waiting
//   waiting   | no          | a place has become free, or its time is over: listening
//
// While it waits the kernel queues who comes.
#pragma once

#include "core/handles.hpp"

namespace vorn {

class Listener {
public:
  // Whose clients come.
  struct Owner {
    const char *who; // in reports of connections that cannot be accepted

    // Makes sure that there is a place for one more. Returns 0, or the milliseconds after which there may be
    // one.
    unsigned (*make_room)(void *data);

    // Takes a connection; it may throw std::bad_alloc, which closes it.
    void (*take)(Descriptor socket, void *data);

    void *data;
  };

  // Registers the socket; the object stays where it is from then on. Returns false when that fails.
  bool open(Descriptor socket, const Owner &owner) noexcept;

  // A place has become free.
  void resume() noexcept;

private:
  static void somebody_comes(int, void *listener, void *);
  static void time_is_over(void *listener, void *);

  bool take_one();
  void wait(unsigned milliseconds);

  Descriptor socket_{};
  Owner owner_{};
  bool waiting_ = false;
};

} // namespace vorn
