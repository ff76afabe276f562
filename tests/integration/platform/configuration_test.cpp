// SPDX-License-Identifier: MIT
// The configuration service: its attributes last, and it never costs a file that it cannot read.
#include <sys/stat.h>

#include "platform_test.h"

namespace vyx::tests {
namespace {

class Configuration : public PlatformTest {
 protected:
  const fs::path file = root / "attributes.json";

  std::pair<ino_t, long> identity() const {
    struct stat info {};
    EXPECT_EQ(stat(file.c_str(), &info), 0);
    return {info.st_ino, info.st_mtim.tv_nsec};
  }
};

TEST_F(Configuration, AttributesLastAndDoNotDisturbEachOther) {
  EXPECT_EQ(CfgSetAttributeInt("A.1#B", 6, 0), 0);
  EXPECT_EQ(CfgSetAttributeInt("\"\\\n", -1, 7), 0);
  EXPECT_EQ(CfgSetAttributeInt("A.1#B", 6, 1), 0);
  EXPECT_EQ(contentsOf(file), "{\n  \"\\\"\\\\\\n\": [\n    -1,\n    7\n  ],\n  \"A.1#B\": [\n    6,\n    1\n  ]\n}\n");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(Configuration, ASetThatChangesNothingWritesNothing) {
  ASSERT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  const auto before = identity();
  for (int i = 0; i < 10000; ++i) ASSERT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  EXPECT_EQ(identity(), before);
}

TEST_F(Configuration, AChangeByOthersIsSeen) {
  ASSERT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  fill(file, "{\"a\":[6,1],\"other\":{\"x\":null}}");
  ASSERT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  EXPECT_NE(contentsOf(file).find("other"), std::string::npos);
  EXPECT_EQ(contentsOf(file).find('1'), std::string::npos);
  fs::remove(file);
  ASSERT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  EXPECT_EQ(contentsOf(file), "{\n  \"a\": [\n    6,\n    0\n  ]\n}\n");
}

TEST_F(Configuration, AFileThatIsNoneOfItsOwnStaysAsItIs) {
  fs::create_directories(root);
  for (const std::string text : {"", "{", "[]", "null", "{\"a\":[6,0]} x", "{\"\xFF\":[6,0]}"}) {
    SCOPED_TRACE(text);
    fill(file, text);
    EXPECT_NE(CfgSetAttributeInt("a", 6, 0), 0);
    EXPECT_EQ(contentsOf(file), text);
  }
  fs::remove(file);
  fs::create_symlink(base / "elsewhere", file);
  EXPECT_NE(CfgSetAttributeInt("a", 6, 0), 0);
  EXPECT_FALSE(fs::exists(base / "elsewhere"));
}

TEST_F(Configuration, WhatCannotBeStoredFails) {
  EXPECT_NE(CfgSetAttributeInt(nullptr, 6, 0), 0);
  EXPECT_NE(CfgSetAttributeInt("", 6, 0), 0);
  EXPECT_NE(CfgSetAttributeInt("\xFF", 6, 0), 0);
  fill(root, "a file where the directory should be");
  EXPECT_NE(CfgSetAttributeInt("a", 6, 0), 0);
}

}  // namespace
}  // namespace vyx::tests
