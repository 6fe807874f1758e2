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
// pointers to values hold until the entry is removed. Any entry may be inserted and removed while iterators
// stand in the table: the table knows them and moves them on.
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

  // Walks the entries in order, those that come meanwhile included. What becomes of its table is no danger to
  // it: without a table it is at its end.
  class Iterator {
  public:
    Iterator() noexcept = default;
    Iterator(const Iterator &other) noexcept : next_(other.next_), one_(other.one_) { join(other.table_); }
    Iterator &operator=(const Iterator &other) noexcept {
      if (this == &other) return *this;
      leave();
      next_ = other.next_;
      one_ = other.one_;
      join(other.table_);
      return *this;
    }
    ~Iterator() { leave(); }

    bool has_next() const noexcept { return table_ && next_ != &table_->ends_; }
    // The entry to come, or null at the end.
    Entry *peek() const noexcept { return has_next() ? static_cast<Entry *>(next_) : nullptr; }
    // The next entry, or null at the end.
    Entry *next() noexcept {
      Entry *entry = peek();
      if (entry) pass(*entry);
      return entry;
    }

  private:
    friend class KeyedTable;
    Iterator(const KeyedTable &table, Links *next, bool one) noexcept : next_(next), one_(one) {
      join(&table);
    }
    void pass(const Links &entry) noexcept {
      next_ = one_ ? const_cast<Links *>(&table_->ends_) : entry.next;
    }
    void join(const KeyedTable *table) noexcept {
      table_ = table;
      if (!table_) return;
      following_ = table_->walkers_;
      if (following_) following_->link_ = &following_;
      table_->walkers_ = this;
      link_ = &table_->walkers_;
    }
    void leave() noexcept {
      if (!table_) return;
      *link_ = following_;
      if (following_) following_->link_ = link_;
      table_ = nullptr;
    }
    Links *next_ = nullptr;
    bool one_ = false; // ends after one entry
    const KeyedTable *table_ = nullptr;
    Iterator *following_ = nullptr; // in the table's list of them
    Iterator **link_ = nullptr;     // what points to this one there
  };

  // Allocates nothing. `buckets` is a hint of the size, rounded up to a power of two.
  explicit KeyedTable(size_t buckets = 8) noexcept : mask_(std::bit_ceil(buckets ? buckets : 1) - 1) {}

  // The same entries in the same order.
  KeyedTable(const KeyedTable &other) : KeyedTable(other.mask_ + 1) {
    for (const Entry &entry : other) insert_like(entry, entry.value);
  }
  KeyedTable &operator=(const KeyedTable &) = delete;
  ~KeyedTable() {
    clear();
    while (walkers_) walkers_->leave();
    if (buckets_ != &only_) delete[] buckets_;
  }

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

  // Makes sure that the table can take an entry over without memory. Throws std::bad_alloc.
  void prepare_to_take() {
    if (!buckets_) buckets_ = mask_ > 0 ? new Entry *[mask_ + 1]() : &only_;
  }

  // Copies an entry of another table, whose key must not be present here, with another value.
  template <class Other, class... Arguments>
  Entry *insert_like(const Other &model, Arguments &&...arguments) {
    return append(model.hash(), model.key(), std::forward<Arguments>(arguments)...);
  }

  void remove(Entry *entry) noexcept {
    unchain(entry);
    unlink(entry);
    --size_;
    destroy(entry);
  }

  // Gives an entry another key of the same length, which must not be present, and leaves it in its place.
  void rename(Entry *entry, std::string_view key) noexcept {
    unchain(entry);
    memcpy(static_cast<void *>(entry + 1), key.data(), key.size());
    entry->hash_ = hash_bytes(key);
    chain(entry);
  }

  // Puts an entry at the end of the order, as if it had just been inserted.
  void move_to_end(Entry *entry) noexcept {
    unlink(entry);
    link_at_end(entry);
  }

  // Takes an entry out of another table, to the end of this one, which must have held an entry before, or be
  // prepared, and must not have its key.
  void take(KeyedTable &from, Entry *entry) noexcept {
    from.unchain(entry);
    from.unlink(entry);
    --from.size_;
    adopt(entry);
  }

  void clear() noexcept {
    for (Links *at = ends_.next; at != &ends_;) destroy(static_cast<Entry *>(std::exchange(at, at->next)));
    ends_.previous = ends_.next = &ends_;
    for (Iterator *walker = walkers_; walker; walker = walker->following_) walker->next_ = &ends_;
    size_ = 0;
    if (buckets_) std::fill_n(buckets_, mask_ + 1, nullptr);
  }

  Iterator iterate() const noexcept { return Iterator(*this, ends_.next, false); }
  // A walk over one entry.
  Iterator iterate_one(Entry *entry) const noexcept { return Iterator(*this, entry, true); }

  // The entry before this one, null for the first one, and the last one of a table that is not empty.
  Entry *before(const Entry *entry) const noexcept {
    return entry->previous == &ends_ ? nullptr : static_cast<Entry *>(entry->previous);
  }
  Entry *last() const noexcept { return static_cast<Entry *>(ends_.previous); }

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
    std::unique_ptr<Entry *[]> first_buckets(buckets_ || mask_ == 0 ? nullptr : new Entry *[mask_ + 1]());
    Entry *entry = make_entry(hash, key, std::forward<Arguments>(arguments)...);
    if (!buckets_) buckets_ = first_buckets ? first_buckets.release() : &only_;
    adopt(entry);
    return entry;
  }

  void adopt(Entry *entry) noexcept {
    if (size_ >= 2 * (mask_ + 1)) grow();
    chain(entry);
    link_at_end(entry);
    ++size_;
  }

  // Doubles the buckets. Without memory for that the table stays as it is, only with longer chains.
  void grow() noexcept {
    const size_t count = 2 * (mask_ + 1);
    auto **const buckets = new (std::nothrow) Entry *[count]();
    if (!buckets) return;
    mask_ = count - 1;
    for (Entry &entry : *this) entry.chain_ = std::exchange(buckets[entry.hash_ & mask_], &entry);
    if (buckets_ != &only_) delete[] buckets_;
    buckets_ = buckets;
  }

  void link_at_end(Entry *entry) noexcept {
    entry->previous = ends_.previous;
    entry->next = &ends_;
    ends_.previous->next = entry;
    ends_.previous = entry;
  }

  void unlink(Entry *entry) noexcept {
    for (Iterator *walker = walkers_; walker; walker = walker->following_)
      if (walker->next_ == entry) walker->pass(*entry);
    entry->previous->next = entry->next;
    entry->next->previous = entry->previous;
  }

  void chain(Entry *entry) noexcept {
    Entry **bucket = &buckets_[entry->hash_ & mask_];
    entry->chain_ = *bucket;
    *bucket = entry;
  }

  void unchain(Entry *entry) noexcept {
    Entry **link = &buckets_[entry->hash_ & mask_];
    while (*link != entry) link = &(*link)->chain_;
    *link = entry->chain_;
  }

  Links ends_{&ends_, &ends_}; // the order's first and last entry
  size_t size_ = 0;
  size_t mask_;                         // the number of buckets less one
  Entry **buckets_ = nullptr;           // none until something comes in
  Entry *only_ = nullptr;               // the bucket of a table that has one
  mutable Iterator *walkers_ = nullptr; // the iterators that stand in it
};

// The value of a table that is a set of names.
struct Present {};
using NameSet = KeyedTable<Present>;

} // namespace vorn
