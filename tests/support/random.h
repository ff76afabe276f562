// SPDX-License-Identifier: MIT
// Numbers made from a seed alone, cheaply enough for a new generator in each round of a test.
#pragma once

#include <cstdint>
#include <iterator>

namespace test {

class Random {
 public:
  explicit Random(std::uint32_t seed) : state_(seed * 0x9E3779B9U + 1) {}
  std::uint32_t below(std::uint32_t limit) {
    state_ ^= state_ << 13U;
    state_ ^= state_ >> 17U;
    state_ ^= state_ << 5U;
    return state_ % limit;
  }
  bool oneIn(std::uint32_t count) { return below(count) == 0; }
  template <typename Table>
  const auto &of(const Table &table) {
    return table[below(static_cast<std::uint32_t>(std::size(table)))];
  }

 private:
  std::uint32_t state_;
};

}  // namespace test
