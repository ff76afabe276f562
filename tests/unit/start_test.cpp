// SPDX-License-Identifier: MIT
// Start-up and unload, the search for services, and the list primitives.
#include <cstring>

#include "ssib_if2_backend/list.h"
#include "support/describe.h"
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
  ASSERT_EQ(vyxSSIB2LinuxInitBackend(), EFI_SUCCESS);
  EXPECT_EQ(std::memcmp(&handle, &constructed, sizeof(handle)), 0);
  EXPECT_EQ(transcript(), "|vyxSSIB2LinuxInit- done with status=0. \\n\n");
  EXPECT_EQ(vyxSSIB2LinuxUnloadBackend(), EFI_SUCCESS);
  EXPECT_EQ(std::memcmp(&handle, &zero, sizeof(handle)), 0);
  EXPECT_EQ(vyxSsibDebug, log);
}

TEST_F(Start, NeedsTheXmlServiceButNoDebugLog) {
  const struct {
    const char *label;
    bool hasXmlService, hasDebugLog;
    EFI_STATUS locateStatus, status;
    const char *error;
  } rows[] = {
      {"no XML service", false, true, EFI_SUCCESS, EFI_ABORTED, "NO protocol loaded for GUID!\n"},
      {"search failed", true, true, EFI_DEVICE_ERROR, EFI_ABORTED, "Couldn't load Libray for GUID!\n"},
      {"no debug log", true, false, EFI_SUCCESS, EFI_SUCCESS, "NO protocol loaded for GUID!\n"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    host().hasXmlService = row.hasXmlService;
    host().hasDebugLog = row.hasDebugLog;
    host().locateStatus = row.locateStatus;
    host().forgetEvents();
    SSIB2_PRIVATE_DATA expected = handle;
    if (!row.hasDebugLog) expected.debugProto = nullptr;
    CaptureStderr();
    EXPECT_EQ(vyxSSIB2LinuxInitBackend(), row.status);
    EXPECT_EQ(GetCapturedStderr(), row.error);
    EXPECT_EQ(std::memcmp(&handle, &expected, sizeof(handle)), 0);
    EXPECT_EQ(vyxSsibDebug, handle.debugProto);
    EXPECT_EQ(transcript(), row.hasDebugLog ? "|vyxSSIB2LinuxInit- done with status=-2147483634. \\n\n" : "");
  }
}

TEST_F(Start, GuidsHaveTheirBytes) {
  const std::pair<const EFI_GUID &, const char *> rows[] = {
      {gEfiVyxSSIBProtocol2Guid, "\xBD\xD3\xAB\xCB\x77\xC4\x90\x4C\x9C\x53\x53\x1E\x2A\x1B\xDE\xA2"},
      {gQuorEfiXMLProtocolGuid2, "\x6E\xB9\xD2\x0E\xE5\x12\xA8\x4D\xA6\x87\x89\xF0\x2B\xE9\x1C\x2C"},
      {gQuorDebugGUID, "\x1A\x3C\x0F\xF5\x95\xE9\x59\x4D\x86\x34\xD5\x7C\x5A\xC6\xD6\xAF"},
  };
  for (const auto &[guid, bytes] : rows) EXPECT_EQ(std::memcmp(&guid, bytes, sizeof(guid)), 0) << guid.Data1;
}

TEST_F(List, NewElementsAreZeroAndGoBehindTheLast) {
  SSIB_LINK head = nullptr;
  SSIB_ENTRY_LIST *const elements[] = {le_new(), le_new()};
  const SSIB_ENTRY_LIST zero = {};
  EXPECT_EQ(std::memcmp(elements[1], &zero, sizeof(zero)), 0);
  elements[1]->next = elements[0];
  for (SSIB_ENTRY_LIST *element : elements) le_insert_tail(&head, element);
  le_insert_tail(nullptr, elements[0]);
  le_insert_tail(&head, nullptr);
  EXPECT_EQ(textOf(head), "[][]");
  EXPECT_EQ(head, elements[0]);
  ssib::le_free_list(handle.XMLProto, head);
}

TEST_F(List, WithoutAServiceNodesStayAllocated) {
  SSIB_ENTRY_LIST *element = le_new();
  XML_NODE *const node = element->entry.Node = treeOf("<n/>");
  element->entry.FQDD = strdup("text");
  ssib::le_free_list(nullptr, element);
  EXPECT_EQ(textOf(node), "<n/>");
  handle.XMLProto->DeleteTree(handle.XMLProto, node);
}

}  // namespace
}  // namespace test
