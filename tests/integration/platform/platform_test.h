/* SPDX-License-Identifier: MIT */
// What the stand-in platform's tests share: a root directory of their own, look-ups, files.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "XmlService.h"

namespace vyx::tests {

namespace fs = std::filesystem;

constexpr EFI_GUID kXmlGuid = {0x0ED2B96E, 0x12E5, 0x4DA8, {0xA6, 0x87, 0x89, 0xF0, 0x2B, 0xE9, 0x1C, 0x2C}};
constexpr EFI_GUID kDebugGuid = {0xF50F3C1A, 0xE995, 0x4D59, {0x86, 0x34, 0xD5, 0x7C, 0x5A, 0xC6, 0xD6, 0xAF}};

inline std::string contentsOf(const fs::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void fill(const fs::path &path, const std::string &text) {
  std::ofstream(path, std::ios::binary) << text;
}

// The one instance of a protocol; null when there is none.
template <class Protocol>
Protocol *find(const EFI_GUID &guid) {
  uint32_t count = 0;
  void **instances = nullptr;
  EXPECT_EQ(getProtocolInstanceByGuid(&guid, &count, &instances), EFI_SUCCESS);
  EXPECT_EQ(count != 0, instances != nullptr);
  const std::unique_ptr<void *, decltype(&std::free)> array(instances, std::free);
  return count != 0 ? static_cast<Protocol *>(instances[0]) : nullptr;
}

// A root of the storage that nobody else uses. Leaves neither files nor settings behind.
class PlatformTest : public testing::Test {
 protected:
  PlatformTest() {
    setenv("VARSK_ROOT", root.c_str(), 1);
    setenv("VARSK_SYNC", "0", 1);
  }
  ~PlatformTest() override {
    for (const char *name : {"VARSK_ROOT", "VARSK_SYNC", "QUOR_DEBUG", "QUOR_TRACE"}) unsetenv(name);
    fs::remove_all(base);
  }

  const fs::path base = [] {
    char name[] = "/tmp/vyx-platform-XXXXXX";
    return fs::path(mkdtemp(name));
  }();
  const fs::path root = base / "state", partition = root / "VAR025";
};

}  // namespace vyx::tests
