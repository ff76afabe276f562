// SPDX-License-Identifier: MIT
// Reading plain text line by line, through one read-ahead for the whole process.
#include <cstdio>
#include <cstring>

#include "VyxSSIBBackend.h"

namespace ssib {
namespace {

constexpr int kEndOfInput = 0xFFFF;

unsigned char readAhead[512];
std::size_t valid;                    // bytes of the last refill
const unsigned char *next = nullptr;  // null when all are used up

constexpr bool isDropped(int byte) {
  return byte == '\r' || byte >= 0x80;
}

constexpr char stored(int byte) {
  const bool isBlank = byte == '\t' || byte == '\v' || byte == '\f';
  return static_cast<char>(isBlank ? ' ' : byte);
}

}  // namespace
}  // namespace ssib

extern "C" {

int vyx_fgetc(FILE *stream) {
  if (stream == nullptr) return ssib::kEndOfInput;
  if (ssib::next == nullptr) {
    ssib::valid = std::fread(ssib::readAhead, 1, sizeof(ssib::readAhead), stream);
    if (ssib::valid == 0) return ssib::kEndOfInput;
    ssib::next = ssib::readAhead;
  }
  const int byte = *ssib::next++;
  if (ssib::next == ssib::readAhead + ssib::valid) ssib::next = nullptr;
  return byte;
}

char *fgetline(char *buf, size_t size, FILE *stream) {
  if (buf == nullptr || stream == nullptr || size == 0) return nullptr;
  std::memset(buf, 0, size);
  std::size_t count = 0;
  while (count < size - 1) {
    const int byte = vyx_fgetc(stream);
    if (byte == ssib::kEndOfInput) return count == 0 ? nullptr : buf;
    if (byte == '\n') return buf;
    if (!ssib::isDropped(byte)) buf[count++] = ssib::stored(byte);
  }
  return buf;
}

}  // extern "C"
