// SPDX-License-Identifier: MIT
// What the fuzz targets share: the library on a platform in memory, and lists made from a fuzzer's bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "support/heap.h"
#include "support/platform.h"

namespace fuzz {

// Ends the process when something that must hold does not; the fuzzer keeps the input.
void require(bool holds, const char *what);

// The library, started on a new platform for one input. At the end no stream may be open and no block left.
class Run {
 public:
  Run();
  ~Run();
  Run(const Run &) = delete;
  Run &operator=(const Run &) = delete;

 private:
  std::size_t live_;
};

// Checks what holds of a handle between any two calls.
void checkHandle(const SSIB2_PRIVATE_DATA &handle);

// Closes a handle, and releases what is left in one that was never open.
void closeHandle(SSIB2_PRIVATE_DATA &handle);

// The bytes of an input, consumed from the front; zeros behind their end.
class Bytes {
 public:
  Bytes(const std::uint8_t *data, std::size_t size) : next_(data), end_(data + size) {}
  bool empty() const { return next_ == end_; }
  std::uint8_t byte() { return empty() ? 0 : *next_++; }
  std::string text();  // up to a zero byte
  std::string text(std::size_t length);
  std::string rest() { return text(static_cast<std::size_t>(end_ - next_)); }

 private:
  const std::uint8_t *next_;
  const std::uint8_t *end_;
};

// Entries made from bytes; they own their texts.
class Jobs {
 public:
  SSIB_ENTRY &make(Bytes &bytes);

 private:
  std::deque<std::string> texts_;
  std::deque<SSIB_ENTRY> entries_;
};

// The texts of an entry in record order, null and empty alike.
std::vector<std::string> textsOf(const SSIB_ENTRY &entry);

std::size_t lengthOf(const SSIB2_PRIVATE_DATA &handle);

}  // namespace fuzz
