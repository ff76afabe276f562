// SPDX-License-Identifier: MIT
// Start-up and unload, the search for services, and the list primitives.
#include <cstring>

#include "support/library_test.h"

namespace test {
namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

class Start : public LibraryTest {};
class List : public LibraryTest {};

TEST_F(Start, FillsTheWholeHandleAndUnloadingZeroesIt) {
  DEBUG_LOG_PROTOCOL *const log = vyxSsibDebug;
  const SSIB2_PRIVATE_DATA constructed = {{'s', 's', 'i', 'b'}, handle.XMLProto, {}, {}, {}, {}, log, 2, {}, 0, 0};
  const SSIB2_PRIVATE_DATA zero = {};
  vyxSsibDebug = nullptr;
  std::memset(&handle, 0xAA, sizeof(handle));
  EXPECT_EQ(play("init"), "|vyxSSIB2LinuxInit- done with status=0. \\n\n= 0\n0\n");
  EXPECT_EQ(std::memcmp(&handle, &constructed, sizeof(handle)), 0);
  EXPECT_EQ(vyxSSIB2LinuxUnloadBackend(), EFI_SUCCESS);
  EXPECT_EQ(std::memcmp(&handle, &zero, sizeof(handle)), 0);
  EXPECT_EQ(vyxSsibDebug, log);
  EXPECT_EQ(Protocol2Destructor(&handle), EFI_SUCCESS);
}

TEST_F(Start, NeedsTheXmlServiceButNoDebugLog) {
  const std::string failed = "|vyxSSIB2LinuxInit- done with status=-2147483634. \\n\n= 80000015\n0\n";
  const struct {
    const char *label;
    bool hasXmlService, hasDebugLog, hasArray;
    EFI_STATUS locateStatus;
    const char *error;
    std::string transcript;
  } rows[] = {
      {"no XML service", false, true, true, EFI_SUCCESS, "NO protocol loaded for GUID!\n", failed},
      {"no array", true, true, false, EFI_SUCCESS, "NO protocol loaded for GUID!\n", failed},
      {"search failed", true, true, true, EFI_DEVICE_ERROR, "Couldn't load Libray for GUID!\n", failed},
      {"no debug log", true, false, true, EFI_SUCCESS, "NO protocol loaded for GUID!\n", "= 0\n0 CHANGED\n"},
  };
  for (const auto &row : rows) {
    host().hasXmlService = row.hasXmlService;
    host().hasDebugLog = row.hasDebugLog;
    host().hasArray = row.hasArray;
    host().locateStatus = row.locateStatus;
    CaptureStderr();
    EXPECT_EQ(play("init"), row.transcript) << row.label;
    EXPECT_EQ(GetCapturedStderr(), row.error) << row.label;
    EXPECT_EQ(vyxSsibDebug == nullptr, !row.hasDebugLog) << row.label;
  }
  // Without a log the calls do the same, in silence.
  const std::string taken =
      " Version=1 mode=1 Block_ID=2 RB_Type=3 RB_Req=4 Timeout=600 Rtn_Code=5 RT_Count=6"
      " Cmd_Line=F Display_Name=F Target_Version=v Node=<n x=\"1\">t<m/></n>";
  EXPECT_EQ(play("open Main.ssib; add F; cursor; get"),
            "open VAR025/Main.ssib r\nCreateNode SSIB_INFO\nDeleteTree\n= 0\n= 0\nDeleteTree\n= 0" + taken +
                "\n1 Main.ssib [" + taken + " priority=5] CHANGED\n");
}

TEST_F(Start, GuidsHaveTheirBytes) {
  const std::pair<const EFI_GUID &, const char *> rows[] = {
      {gEfiVyxSSIBProtocol2Guid, "\xBD\xD3\xAB\xCB\x77\xC4\x90\x4C\x9C\x53\x53\x1E\x2A\x1B\xDE\xA2"},
      {gQuorEfiXMLProtocolGuid2, "\x6E\xB9\xD2\x0E\xE5\x12\xA8\x4D\xA6\x87\x89\xF0\x2B\xE9\x1C\x2C"},
      {gQuorDebugGUID, "\x1A\x3C\x0F\xF5\x95\xE9\x59\x4D\x86\x34\xD5\x7C\x5A\xC6\xD6\xAF"},
  };
  for (const auto &[guid, bytes] : rows)
    EXPECT_EQ(std::memcmp(&guid, bytes, sizeof(guid)), 0) << testing::PrintToString(bytes);
}

TEST_F(List, NewElementsAreZeroAndGoAfterTheLast) {
  SSIB_ENTRY_LIST *const elements[] = {le_new(), le_new()};
  const SSIB_ENTRY_LIST zero = {};
  EXPECT_EQ(std::memcmp(elements[1], &zero, sizeof(zero)), 0);
  elements[1]->next = elements[0];
  SSIB_LINK head = nullptr;
  for (SSIB_ENTRY_LIST *element : elements) le_insert_tail(&head, element);
  le_insert_tail(nullptr, elements[0]);
  le_insert_tail(&head, nullptr);
  EXPECT_EQ(textOf(head, elements[0]), ">[ priority=0][ priority=0]");
  handle.ssibEntryListHead = head;
}

TEST_F(List, WithoutAServiceTheNodesOfElementsStayAllocated) {
  outcome("open Main.ssib; add F");
  XML_NODE *const node = handle.ssibEntryListHead->entry.Node;
  EXPECT_EQ(outcome("service off; delete F; service on"), "0; 1 Main.ssib");
  EXPECT_EQ(textOf(node), "<n x=\"1\">t<m/></n>");
  handle.XMLProto->DeleteTree(handle.XMLProto, node);
}

}  // namespace
}  // namespace test
