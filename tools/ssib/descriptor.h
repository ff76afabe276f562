// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <utility>

namespace tool {

// An open file that is closed with its scope; negative: none.
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

// Whether all of it could be written, errno says why not.
inline bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return false;
    bytes.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace tool
