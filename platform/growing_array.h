/* SPDX-License-Identifier: MIT */
// A growing array of plain values on the process heap, for code that C calls and that must not throw: what cannot grow
// says so and keeps what it has.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

namespace vyx::platform {

template <class T>
class GrowingArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  GrowingArray() = default;
  GrowingArray(const GrowingArray &) = delete;
  GrowingArray &operator=(const GrowingArray &) = delete;
  ~GrowingArray() { std::free(data_); }

  // False without memory; the array is then as it was. Room grows geometrically, so appending costs
  // time linear in the whole.
  bool reserve(std::size_t extra) { return extra <= capacity_ - size_ || grow(extra); }

  bool append(const T *values, std::size_t count) {
    if (count == 0) return true;
    if (!reserve(count)) return false;
    std::memcpy(data_ + size_, values, count * kItemSize);
    size_ += count;
    return true;
  }
  bool push(T value) { return append(&value, 1); }
  T pop() { return data_[--size_]; }
  void truncate(std::size_t size) { size_ = size; }

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }
  T *data() { return data_; }
  const T &back() const { return data_[size_ - 1]; }

  // Hands the block to the caller, who frees it; null when nothing was ever appended.
  T *release() {
    size_ = capacity_ = 0;
    return std::exchange(data_, nullptr);
  }

 private:
  bool grow(std::size_t extra) {
    constexpr std::size_t kLimit = PTRDIFF_MAX / kItemSize, kFirst = 64;
    if (extra > kLimit - size_) return false;
    const std::size_t wanted = std::max({kFirst, size_ + extra, std::min(kLimit, capacity_ * 2)});
    void *data = std::realloc(data_, wanted * kItemSize);
    if (data == nullptr) return false;
    data_ = static_cast<T *>(data);
    capacity_ = wanted;
    return true;
  }

  static constexpr std::size_t kItemSize = sizeof(T);  // NOLINT(bugprone-sizeof-expression): T may be a pointer

  T *data_ = nullptr;
  std::size_t size_ = 0, capacity_ = 0;
};

}  // namespace vyx::platform
