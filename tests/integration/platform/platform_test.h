/* SPDX-License-Identifier: MIT */
// What the stand-in platform's tests share: a root directory of their own, look-ups, child processes.
#ifndef VYX_TESTS_PLATFORM_TEST_H
#define VYX_TESTS_PLATFORM_TEST_H

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "XmlService.h"

namespace vyx::tests {

namespace fs = std::filesystem;

constexpr EFI_GUID kXmlGuid = {0x0ED2B96E, 0x12E5, 0x4DA8, {0xA6, 0x87, 0x89, 0xF0, 0x2B, 0xE9, 0x1C, 0x2C}};
constexpr EFI_GUID kDebugGuid = {0xF50F3C1A, 0xE995, 0x4D59, {0x86, 0x34, 0xD5, 0x7C, 0x5A, 0xC6, 0xD6, 0xAF}};

inline std::string contentsOf(const fs::path &path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
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

// Runs something that changes or ends its process: true when it returns true and nothing failed in it.
template <class Body>
bool inChild(Body body) {
  const pid_t child = fork();
  if (child == 0) _exit(body() && !testing::Test::HasFailure() ? 0 : 1);
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
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
  const fs::path root = base / "state";
  const fs::path partition = root / "VAR025";
};

}  // namespace vyx::tests

#endif
