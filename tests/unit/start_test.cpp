// SPDX-License-Identifier: MIT
// Start-up and unload, the search for services, and the list primitives.
#include <cstdlib>
#include <cstring>

#include "ssib_if2_backend/list.h"
#include "support/library_test.h"

namespace test {
namespace {

class Start : public LibraryTest {};
class List : public LibraryTest {};

TEST_F(Start, FillsTheHandleAndPublishesTheDebugLog) {
  vyxSSIB2LinuxUnloadBackend();
  host().forgetEvents();
  std::memset(static_cast<void *>(&handle), 0xAA, sizeof(handle));
  ASSERT_EQ(vyxSSIB2LinuxInitBackend(), EFI_SUCCESS);
  EXPECT_EQ(std::memcmp(handle.signature, "ssib", 4), 0);
  EXPECT_NE(handle.XMLProto, nullptr);
  EXPECT_EQ(handle.debugProto, vyxSsibDebug);
  EXPECT_EQ(handle.revision, 2);
  EXPECT_EQ(handle.openCount, 0U);
  EXPECT_EQ(handle.ssibFileName, nullptr);
  ASSERT_EQ(host().log.size(), 1U);
  EXPECT_EQ(host().log[0].format, "vyxSSIB2LinuxInit- done with status=%d. \n");
  EXPECT_EQ(host().log[0].level, 0x800000U);
  EXPECT_EQ(host().log[0].tag, "VYXSSIB");
}

TEST_F(Start, WithoutTheXmlServiceAbortsAndTouchesNothing) {
  const SSIB2_PRIVATE_DATA before = handle;
  host().hasXmlService = false;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(vyxSSIB2LinuxInitBackend(), EFI_ABORTED);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "NO protocol loaded for GUID!\n");
  EXPECT_EQ(std::memcmp(static_cast<const void *>(&handle), &before, sizeof(before)), 0);
  EXPECT_EQ(host().log.back().text, "vyxSSIB2LinuxInit- done with status=-2147483634. \n");
}

TEST_F(Start, WithoutADebugLogRunsSilently) {
  host().hasDebugLog = false;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(vyxSSIB2LinuxInitBackend(), EFI_SUCCESS);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "NO protocol loaded for GUID!\n");
  EXPECT_EQ(vyxSsibDebug, nullptr);
  EXPECT_TRUE(host().log.empty());
}

TEST_F(Start, UnloadLeavesZeroesAndTheDebugLog) {
  const DEBUG_LOG_PROTOCOL *published = vyxSsibDebug;
  EXPECT_EQ(vyxSSIB2LinuxUnloadBackend(), EFI_SUCCESS);
  const SSIB2_PRIVATE_DATA zero = {};
  EXPECT_EQ(std::memcmp(static_cast<const void *>(&handle), &zero, sizeof(zero)), 0);
  EXPECT_EQ(vyxSsibDebug, published);
}

TEST_F(Start, RefusesNullArguments) {
  void *instance = &handle;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FindAProtocol(nullptr, &instance), EFI_INVALID_PARAMETER);
  EXPECT_EQ(FindAProtocol(&gQuorDebugGUID, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Protocol2Constructor(nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Protocol2Destructor(nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(instance, &handle);
}

TEST_F(Start, AFailedSearchIsToldApartFromAnEmptyOne) {
  void *instance = &handle;
  host().locateStatus = EFI_DEVICE_ERROR;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FindAProtocol(&gQuorDebugGUID, &instance), EFI_NOT_FOUND);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Couldn't load Libray for GUID!\n");
  EXPECT_EQ(instance, &handle);
}

TEST_F(Start, GuidsHaveTheirBytes) {
  const unsigned char queue[] = {0xBD, 0xD3, 0xAB, 0xCB, 0x77, 0xC4, 0x90, 0x4C, 0x9C, 0x53, 0x53, 0x1E, 0x2A, 0x1B, 0xDE, 0xA2};
  const unsigned char xml[] = {0x6E, 0xB9, 0xD2, 0x0E, 0xE5, 0x12, 0xA8, 0x4D, 0xA6, 0x87, 0x89, 0xF0, 0x2B, 0xE9, 0x1C, 0x2C};
  const unsigned char log[] = {0x1A, 0x3C, 0x0F, 0xF5, 0x95, 0xE9, 0x59, 0x4D, 0x86, 0x34, 0xD5, 0x7C, 0x5A, 0xC6, 0xD6, 0xAF};
  EXPECT_EQ(std::memcmp(&gEfiVyxSSIBProtocol2Guid, queue, sizeof(queue)), 0);
  EXPECT_EQ(std::memcmp(&gQuorEfiXMLProtocolGuid2, xml, sizeof(xml)), 0);
  EXPECT_EQ(std::memcmp(&gQuorDebugGUID, log, sizeof(log)), 0);
}

TEST_F(List, InsertTailAppendsAndTerminates) {
  SSIB_ENTRY_LIST *head = nullptr;
  SSIB_ENTRY_LIST *first = le_new();
  SSIB_ENTRY_LIST *second = le_new();
  second->next = first;
  le_insert_tail(&head, first);
  le_insert_tail(&head, second);
  EXPECT_EQ(head, first);
  EXPECT_EQ(first->next, second);
  EXPECT_EQ(second->next, nullptr);
  le_insert_tail(nullptr, first);
  le_insert_tail(&head, nullptr);
  EXPECT_EQ(second->next, nullptr);
  ssib::le_free_list(handle.XMLProto, head);
  ssib::le_free_list(handle.XMLProto, nullptr);
}

TEST_F(List, NewElementsAreZeroAndMayFail) {
  SSIB_ENTRY_LIST *element = le_new();
  const SSIB_ENTRY_LIST zero = {};
  EXPECT_EQ(std::memcmp(static_cast<const void *>(element), &zero, sizeof(zero)), 0);
  std::free(element);
  const heap::Watch watch(1);
  EXPECT_EQ(le_new(), nullptr);
}

TEST_F(List, WithoutAServiceNodesStayAllocated) {
  const XML_STRING name = {1, const_cast<char *>("n")};
  XML_NODE *node = nullptr;
  ASSERT_EQ(handle.XMLProto->CreateNode(handle.XMLProto, &name, &node), EFI_SUCCESS);
  SSIB_ENTRY_LIST *element = le_new();
  element->entry.Node = node;
  element->entry.FQDD = strdup("text");
  ssib::le_free_list(nullptr, element);
  EXPECT_STREQ(node->name->text, "n");
  handle.XMLProto->DeleteTree(handle.XMLProto, node);
}

}  // namespace
}  // namespace test
