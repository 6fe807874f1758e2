#include "model/watcher.hpp"

namespace vorn {

Watcher *Watcher::first_ = nullptr;
Watcher *Watcher::last_ = nullptr;

Watcher::Watcher() noexcept : previous_(last_) {
  (last_ ? last_->next_ : first_) = this;
  last_ = this;
}

Watcher::~Watcher() {
  (previous_ ? previous_->next_ : first_) = next_;
  (next_ ? next_->previous_ : last_) = previous_;
}

} // namespace vorn
