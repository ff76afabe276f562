// SPDX-License-Identifier: MIT
// The services but the storage and XML: configuration, the two logs, the look-up itself.
#include <functional>

#include "platform_test.h"

namespace vyx::tests {
namespace {

class Configuration : public PlatformTest {
 protected:
  const fs::path file = root / "attributes.json";
};

TEST_F(Configuration, AttributesLastAndDoNotDisturbEachOther) {
  EXPECT_EQ(CfgSetAttributeInt("A.1#B", 6, 0), 0);
  EXPECT_EQ(CfgSetAttributeInt("\"\\\n", -1, 7), 0);
  EXPECT_EQ(CfgSetAttributeInt("A.1#B", 6, 1), 0);
  EXPECT_EQ(contentsOf(file), "{\n  \"\\\"\\\\\\n\": [\n    -1,\n    7\n  ],\n  \"A.1#B\": [\n    6,\n    1\n  ]\n}\n");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(Configuration, WritesOnlyWhatChangesButSeesChangesByOthers) {
  ASSERT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  const auto written = fs::last_write_time(file);
  EXPECT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  EXPECT_EQ(fs::last_write_time(file), written);
  fill(file, "{\"a\":[6,1],\"other\":null}");
  EXPECT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  EXPECT_EQ(contentsOf(file), "{\n  \"a\": [\n    6,\n    0\n  ],\n  \"other\": null\n}\n");
  fs::remove(file);
  EXPECT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  EXPECT_EQ(contentsOf(file), "{\n  \"a\": [\n    6,\n    0\n  ]\n}\n");
}

TEST_F(Configuration, FailsWithoutTouchingAFileThatIsNoneOfItsOwn) {
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
  fs::remove_all(root);
  for (const char *name : {static_cast<const char *>(nullptr), "", "\xFF"})
    EXPECT_NE(CfgSetAttributeInt(name, 6, 0), 0);
  fill(root, "a file where the directory should be");
  EXPECT_NE(CfgSetAttributeInt("a", 6, 0), 0);
}

using Print = decltype(DEBUG_LOG_PROTOCOL::Print);
using DebugLog = PlatformTest;

TEST_F(DebugLog, IsThereOnlyWhenAskedFor) {
  EXPECT_EQ(find<DEBUG_LOG_PROTOCOL>(kDebugGuid), nullptr);
  setenv("QUOR_DEBUG", "", 1);
  EXPECT_EQ(find<DEBUG_LOG_PROTOCOL>(kDebugGuid), nullptr);
  setenv("QUOR_DEBUG", "stderr", 1);
  testing::internal::CaptureStderr();
  find<DEBUG_LOG_PROTOCOL>(kDebugGuid)->Print(0, "T", L"%d", 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "T: 1\n");
}

TEST_F(DebugLog, WritesEachMessageAsALineOfText) {
  const struct {
    const char *label;
    std::function<void(Print)> print;
    std::string line;
  } rows[] = {
      {"numbers", [](Print p) { p(0x800000, "VYXSSIB", L"%d %d %x", -1, 7, 0xABCD); }, "VYXSSIB: -1 7 abcd\n"},
      {"strings", [](Print p) { p(0, "T", L"%s|%ls|", "a\xC3\xA9", L"b\u20AC"); }, "T: a\xC3\xA9|b\xE2\x82\xAC|\n"},
      {"statuses", [](Print p) { p(0, "T", L"%r %r %r", EFI_SUCCESS, EFI_NOT_FOUND, EFI_STATUS{0x300005}); },
       "T: EFI_SUCCESS EFI_NOT_FOUND 0x00300005\n"},
      {"a line end of its own", [](Print p) { p(0, "T", L"Exit. %r\n", EFI_ABORTED); }, "T: Exit. EFI_ABORTED\n"},
      {"no conversion", [](Print p) { p(0, "T", L"100%% %f %d", 1.0, 2); }, "T: 100% %f %d\n"},
      {"no control character of a value", [](Print p) { p(0, "T", L"%s %ls", "\x1B[2J\n\x7F", L"\a\u009B"); },
       "T: \\x1B[2J\\n\\x7F \\x07\\xC2\\x9B\n"},
      {"bytes that are no UTF-8", [](Print p) { p(0, "T", L"%s", "\xFF\x9B\xC3"); }, "T: \\xFF\\x9B\\xC3\n"},
      {"characters that are none", [](Print p) { p(0, "T", L"%ls", L"a\x110000"); }, "T: a\xEF\xBF\xBD\n"},
      {"null strings", [](Print p) { p(0, "T", L"%s %ls", nullptr, nullptr); }, "T: (null) (null)\n"},
  };
  const fs::path file = base / "debug.log";
  setenv("QUOR_DEBUG", file.c_str(), 1);
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    fill(file, "earlier\n");
    row.print(find<DEBUG_LOG_PROTOCOL>(kDebugGuid)->Print);
    EXPECT_EQ(contentsOf(file), "earlier\n" + row.line);
  }
}

using Trace = PlatformTest;

TEST_F(Trace, WritesWhatIsAtOrBelowItsLevel) {
  const struct {
    const char *setting;
    int level;
    bool written;
  } rows[] = {{nullptr, 0, false}, {"", 0, false}, {"x", 0, false}, {"5x", 5, false},
              {"4", 5, false},     {"5", 5, true}, {"9", 5, true},  {"-1", 0, false}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.setting != nullptr ? row.setting : "not set");
    if (row.setting != nullptr) setenv("QUOR_TRACE", row.setting, 1);
    testing::internal::CaptureStderr();
    const int length = quorprintf(row.level, 9, "%s:%d:partition:%ls mode:%s\n", "f", 12, L"V\u00E9\n", "r");
    const std::string expected = row.written ? "f:12:partition:V\xC3\xA9\\n mode:r\n" : "";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
    EXPECT_EQ(length, static_cast<int>(expected.size()));
  }
}

using Locator = PlatformTest;

TEST_F(Locator, TellsNoInstanceFromAFailureAndRefusesNullArguments) {
  const EFI_GUID other = {1, 2, 3, {}};
  setenv("QUOR_DEBUG", (base / "missing" / "debug.log").c_str(), 1);
  uint32_t count = 7;
  void **instances = nullptr;
  EXPECT_EQ(getProtocolInstanceByGuid(&other, &count, &instances), EFI_SUCCESS);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(getProtocolInstanceByGuid(&kDebugGuid, &count, &instances), EFI_DEVICE_ERROR);
  EXPECT_EQ(instances, nullptr);
  EXPECT_EQ(getProtocolInstanceByGuid(nullptr, &count, &instances), EFI_INVALID_PARAMETER);
  EXPECT_EQ(getProtocolInstanceByGuid(&other, nullptr, &instances), EFI_INVALID_PARAMETER);
  EXPECT_EQ(getProtocolInstanceByGuid(&other, &count, nullptr), EFI_INVALID_PARAMETER);
}

}  // namespace
}  // namespace vyx::tests
