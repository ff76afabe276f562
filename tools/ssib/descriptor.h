// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <utility>

namespace tool {

/** An open file that is closed with its scope; negative: none. */
class Descriptor {
 public:
  explicit Descriptor(int opened = -1) : number_(opened) {}
  Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }

  int get() const { return number_; }

 private:
  int number_;
};

}  // namespace tool
