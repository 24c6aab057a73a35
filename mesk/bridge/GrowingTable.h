// What is collected before its number is known.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace mesk {

/// Entries in the order in which they came. The first makes room for one, and each that finds no room for one more.
template <class Entry>
class GrowingTable {
 public:
  GrowingTable() = default;
  GrowingTable(const GrowingTable&) = delete;
  GrowingTable& operator=(const GrowingTable&) = delete;

  /// False, and the table stays as it was, when there is no memory for it.
  bool append(Entry entry) {
    if (count_ == capacity_ && !grow()) return false;
    entries_[count_++] = std::move(entry);
    return true;
  }

  int count() const { return static_cast<int>(count_); }
  const Entry* begin() const { return entries_.get(); }
  const Entry* end() const { return entries_.get() + count_; }

 private:
  bool grow() {
    std::unique_ptr<Entry[]> larger(new (std::nothrow) Entry[capacity_ + 1]);
    if (larger == nullptr) return false;
    std::move(entries_.get(), entries_.get() + count_, larger.get());
    entries_ = std::move(larger);
    ++capacity_;
    return true;
  }

  std::size_t capacity_ = 0;
  std::size_t count_ = 0;
  std::unique_ptr<Entry[]> entries_;
};

}  // namespace mesk
