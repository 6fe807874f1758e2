// The hash table of every registry and store.
#pragma once

#include "core/hash.hpp"
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace vorn {

// A name as a key: its characters and the terminating NUL.
inline std::string_view name_key(const char *name) noexcept { return {name, strlen(name) + 1}; }

// An object's identity as a key: the bytes of its address, whose variable must outlive the key.
template <class T> std::string_view address_key(T *const &address) noexcept {
  return {reinterpret_cast<const char *>(&address), sizeof address};
}

// Maps byte strings to values and keeps them in the order of their insertion, which every listing in the
// system follows. Keys are copied; a key that is present is refused, not replaced. An entry never moves, so
// pointers to values hold until the entry is removed, and removing the entry that an iteration has just
// passed is safe.
template <class Value> class KeyedTable {
  struct Links {
    Links *previous;
    Links *next;
  };

public:
  // One mapping; its key's bytes follow it in the same block of memory.
  struct Entry : Links {
    Value value;

    std::string_view key() const noexcept { return {reinterpret_cast<const char *>(this + 1), length_}; }
    // The key as a name; for tables that are keyed by names.
    const char *name() const noexcept { return key().data(); }
    uint32_t hash() const noexcept { return hash_; }

  private:
    friend class KeyedTable;
    template <class... Arguments>
    Entry(uint32_t hash, uint32_t length, Arguments &&...arguments)
        : Links{}, value{std::forward<Arguments>(arguments)...}, hash_(hash), length_(length) {}
    Entry *chain_ = nullptr; // the next entry of the same bucket
    uint32_t hash_;
    uint32_t length_;
  };

  // Walks the entries in order. It holds the entry to come, so what it has returned may be removed.
  class Iterator {
  public:
    Iterator() noexcept = default;
    bool has_next() const noexcept { return next_ != end_; }
    // The next entry, or null at the end.
    Entry *next() noexcept {
      return has_next() ? static_cast<Entry *>(std::exchange(next_, next_->next)) : nullptr;
    }

  private:
    friend class KeyedTable;
    explicit Iterator(const Links &end) noexcept : next_(end.next), end_(&end) {}
    Links *next_ = nullptr;
    const Links *end_ = nullptr;
  };

  // Allocates nothing. `buckets` is a hint of the size, rounded up to a power of two.
  explicit KeyedTable(size_t buckets = 8) noexcept : mask_(std::bit_ceil(buckets ? buckets : 1) - 1) {}

  // The same entries in the same order.
  KeyedTable(const KeyedTable &other) : KeyedTable(other.mask_ + 1) {
    for (const Entry &entry : other) insert_like(entry, entry.value);
  }
  KeyedTable &operator=(const KeyedTable &) = delete;
  ~KeyedTable() { clear(); }

  size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }

  Entry *find(std::string_view key) const noexcept { return find(hash_bytes(key), key); }
  Entry *find(const char *name) const noexcept { return find(name_key(name)); }

  // Returns the new entry at the end of the order, or null when the key is present. Throws std::bad_alloc,
  // and what the value's constructor throws, with the table unchanged.
  template <class... Arguments> Entry *insert(std::string_view key, Arguments &&...arguments) {
    const uint32_t hash = hash_bytes(key);
    if (find(hash, key)) return nullptr;
    return append(hash, key, std::forward<Arguments>(arguments)...);
  }
  template <class... Arguments> Entry *insert(const char *name, Arguments &&...arguments) {
    return insert(name_key(name), std::forward<Arguments>(arguments)...);
  }

  // Returns the entry of the key, made with these arguments when there is none.
  template <class Key, class... Arguments> Entry *find_or_insert(Key key, Arguments &&...arguments) {
    Entry *entry = find(key);
    return entry ? entry : insert(key, std::forward<Arguments>(arguments)...);
  }

  // Copies an entry of another table, whose key must not be present here, with another value.
  template <class Other, class... Arguments>
  Entry *insert_like(const Other &model, Arguments &&...arguments) {
    return append(model.hash(), model.key(), std::forward<Arguments>(arguments)...);
  }

  void remove(Entry *entry) noexcept {
    Entry **link = &buckets_[entry->hash_ & mask_];
    while (*link != entry) link = &(*link)->chain_;
    *link = entry->chain_;
    unlink(entry);
    --size_;
    destroy(entry);
  }

  // Puts an entry at the end of the order, as if it had just been inserted.
  void move_to_end(Entry *entry) noexcept {
    unlink(entry);
    link_at_end(entry);
  }

  void clear() noexcept {
    for (Iterator it = iterate(); Entry *entry = it.next();) destroy(entry);
    ends_.previous = ends_.next = &ends_;
    size_ = 0;
    if (buckets_) std::fill_n(buckets_.get(), mask_ + 1, nullptr);
  }

  Iterator iterate() const noexcept { return Iterator(ends_); }

  // For range-based loops, which must not remove what they stand on.
  class Position {
  public:
    explicit Position(Links *at) noexcept : at_(at) {}
    Entry &operator*() const noexcept { return *static_cast<Entry *>(at_); }
    Position &operator++() noexcept {
      at_ = at_->next;
      return *this;
    }
    bool operator!=(const Position &other) const noexcept { return at_ != other.at_; }

  private:
    Links *at_;
  };
  Position begin() const noexcept { return Position(ends_.next); }
  Position end() const noexcept { return Position(const_cast<Links *>(&ends_)); }

private:
  Entry *find(uint32_t hash, std::string_view key) const noexcept {
    if (!buckets_) return nullptr;
    for (Entry *entry = buckets_[hash & mask_]; entry; entry = entry->chain_)
      if (entry->hash_ == hash && entry->key() == key) return entry;
    return nullptr;
  }

  template <class... Arguments>
  static Entry *make_entry(uint32_t hash, std::string_view key, Arguments &&...arguments) {
    static_assert(alignof(Entry) <= alignof(std::max_align_t));
    void *block = ::operator new(sizeof(Entry) + key.size());
    try {
      auto *entry =
          new (block) Entry(hash, static_cast<uint32_t>(key.size()), std::forward<Arguments>(arguments)...);
      memcpy(static_cast<void *>(entry + 1), key.data(), key.size());
      return entry;
    } catch (...) {
      ::operator delete(block);
      throw;
    }
  }

  static void destroy(Entry *entry) noexcept {
    entry->~Entry();
    ::operator delete(entry);
  }

  template <class... Arguments> Entry *append(uint32_t hash, std::string_view key, Arguments &&...arguments) {
    // First what may throw: a refused entry leaves not even buckets.
    std::unique_ptr<Entry *[]> first_buckets(buckets_ ? nullptr : new Entry *[mask_ + 1]());
    Entry *entry = make_entry(hash, key, std::forward<Arguments>(arguments)...);
    if (first_buckets) buckets_ = std::move(first_buckets);
    if (size_ >= 2 * (mask_ + 1)) grow();
    Entry **bucket = &buckets_[hash & mask_];
    entry->chain_ = *bucket;
    *bucket = entry;
    link_at_end(entry);
    ++size_;
    return entry;
  }

  // Doubles the buckets. Without memory for that the table stays as it is, only with longer chains.
  void grow() noexcept {
    const size_t count = 2 * (mask_ + 1);
    std::unique_ptr<Entry *[]> buckets(new (std::nothrow) Entry *[count]());
    if (!buckets) return;
    mask_ = count - 1;
    for (Entry &entry : *this) entry.chain_ = std::exchange(buckets[entry.hash_ & mask_], &entry);
    buckets_ = std::move(buckets);
  }

  void link_at_end(Entry *entry) noexcept {
    entry->previous = ends_.previous;
    entry->next = &ends_;
    ends_.previous->next = entry;
    ends_.previous = entry;
  }

  static void unlink(Entry *entry) noexcept {
    entry->previous->next = entry->next;
    entry->next->previous = entry->previous;
  }

  Links ends_{&ends_, &ends_}; // the order's first and last entry
  size_t size_ = 0;
  size_t mask_;                        // the number of buckets less one
  std::unique_ptr<Entry *[]> buckets_; // none until something comes in
};

// The value of a table that is a set of names.
struct Present {};
using NameSet = KeyedTable<Present>;

} // namespace vorn
