// How the agent itself hears of every change of instances and collections. Plugins have listeners for that.
#pragma once

#include "model/types.h"

namespace vorn {

// Hears of all changes everywhere, as long as it lives. What it allocates it allocates in the "will"
// functions, which come before the change: they throw std::bad_alloc, and then there is no change. The others
// come after it.
class Watcher {
public:
  Watcher() noexcept;
  virtual ~Watcher();
  Watcher(const Watcher &) = delete;
  Watcher &operator=(const Watcher &) = delete;

  // A value of an instance.
  virtual void will_set(vorn_instance &, const vorn_property &) = 0;
  virtual void was_set(vorn_instance &, const vorn_property &) noexcept = 0;

  // A collection that gets an instance, and holds it already.
  virtual void will_join(vorn_instances &, vorn_instance &) = 0;

  // A collection that an instance leaves, and the one that stood before it in its class. The second call also
  // comes without the first one: for an instance whose joining was refused.
  virtual void will_leave(vorn_instances &, vorn_instance &) = 0;
  virtual void has_left(vorn_instances &, vorn_instance &, vorn_instance *predecessor) noexcept = 0;

  // A collection that loses all instances of a class and the class's place in its order. They are still there
  // in the second call.
  virtual void will_drop(vorn_instances &, const vorn_class &) = 0;
  virtual void drops(vorn_instances &, const vorn_class &) noexcept = 0;

  // A collection that gets a place for a class.
  virtual void will_place(vorn_instances &) = 0;

  // A transaction's collection that shows another instance for one of its base; or the base, when that is
  // applied: there, the other one stands in the place of the first, which is about to be freed.
  virtual void was_replaced(vorn_instances &, vorn_instance &instance, vorn_instance &by) noexcept = 0;

  // Call a function for every watcher: the oldest first before a change, the newest first after it.
  template <class Tell> static void before_change(Tell tell) {
    for (Watcher *at = first_; at; at = at->next_) tell(*at);
  }
  template <class Tell> static void after_change(Tell tell) noexcept {
    for (Watcher *at = last_; at; at = at->previous_) tell(*at);
  }

private:
  static Watcher *first_;
  static Watcher *last_;
  Watcher *previous_;
  Watcher *next_ = nullptr;
};

} // namespace vorn
