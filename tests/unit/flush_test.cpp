// SPDX-License-Identifier: MIT
// Writing an XML queue back, closing it, and deleting its file.
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <set>

#include "support/describe.h"
#include "support/library_test.h"

namespace test {
namespace {

class Flush : public LibraryTest {};
class Close : public LibraryTest {};
class DeleteFile : public LibraryTest {};

const std::string kCalled = "|iFlushSSIBQueue called\n";
const std::string kBuilding =
    kCalled + "|iFlushSSIBQueue  create_xml_tree with ssibEntryListHead = @.\nCreateNode SSIB_INFO\n";
const std::string kNoTree = "|iFlushSSIBQueue  create_xml_tree returned with null. Error. Returning.\n";
const std::string kSerialized = kBuilding +
                                "|iFlushSSIBQueue  creating xml from node.\nSerializeTree\n"
                                "|iFlushSSIBQueue  creating xml from node returned with ";
const std::string kFreed =
    kSerialized + "0.\n|iFlushSSIBQueue - freeing xmlRoot\nDeleteTree\n|iFlushSSIBQueue - done freeing xmlRoot\n";
const std::string kOpened = kFreed + "open VAR025/Main.ssib w\n|iFlushSSIBQueue - opened Main.ssib for writing\n";
const std::string kWritten = kOpened + "|iFlushSSIBQueue - writing to Main.ssib \n|iFlushSSIBQueue - done writing.rc=";
const std::string kFlushed = kWritten + "1\nclose VAR025 w\n";
const std::string kNotWritten = kWritten + "0\nclose VAR025 w\n";
const std::string kNoText = kFreed + "|iFlushSSIBQueue - image is null. (no data?)\n";

TEST_F(Flush, TakesExactlyTheseStepsAndAFailureLeavesFileAndList) {
  const struct {
    const char *label;
    Platform::Fault fault;
    EFI_STATUS status;
    std::string transcript;
  } rows[] = {
      {"success", fault("none"), EFI_SUCCESS, kFlushed},
      {"root not created", fault("Create"), SSIB_STATUS_NO_DOCUMENT, kBuilding + kNoTree},
      {"no root, no failure", fault("Create", 1, EFI_SUCCESS), SSIB_STATUS_NO_DOCUMENT, kBuilding + kNoTree},
      {"block not created, the root takes three allocations", fault("allocation", 4), SSIB_STATUS_NO_DOCUMENT,
       kBuilding + "DeleteTree\n" + kNoTree},
      {"no memory for the command's text", fault("allocation", 11), SSIB_STATUS_NO_DOCUMENT,
       kBuilding + "DeleteTree\nDeleteTree\nDeleteTree\n" + kNoTree},
      {"not serialised", fault("Serialize"), SSIB_STATUS_NO_DOCUMENT,
       kSerialized + "-2147483641.\n|iFlushSSIBQueue  creating xml from node failed. Returning.\nDeleteTree\n"},
      {"no image, no failure", fault("Serialize", 1, EFI_SUCCESS), SSIB_STATUS_NO_FILE, kNoText},
      {"not opened", fault("open"), SSIB_STATUS_NO_FILE,
       kOpened + "|iFlushSSIBQueue - failed to open Main.ssib for writing\n"},
      {"opened, with a failure", fault("open", 1, EFI_ABORTED, true), EFI_SUCCESS, kFlushed},
      {"not written", fault("write"), EFI_DEVICE_ERROR, kNotWritten},
  };
  open();
  for (const char *command : {"a", "b"}) add(handle, xmlJob(command));
  handle.ssibEntryListPtr = handle.ssibEntryListHead->next;
  const SSIB2_PRIVATE_DATA before = handle;
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    host() = Platform();
    host().setFile(L"Main.ssib", "old");
    host().faults = {row.fault};
    host().failWrites = row.fault.prefix == "write";
    {
      const heap::Watch watch(row.fault.prefix == "allocation" ? row.fault.nth : 0);
      EXPECT_EQ(iFlushSSIBQueue(&handle), row.status);
    }
    EXPECT_EQ(transcript(), row.transcript);
    EXPECT_EQ(host().file(L"Main.ssib"), row.status == EFI_SUCCESS ? documentOf({"a", "b"}) : "old");
    EXPECT_EQ(std::memcmp(&handle, &before, sizeof(handle)), 0);
    EXPECT_EQ(listOf(handle), (std::vector<std::string>{"a", "b"}));
  }
}

EFI_STATUS imageWithoutText(XML_SERVICE_PROTOCOL *, const XML_NODE *, std::uint32_t, XML_STRING **image) {
  platform().events.emplace_back("SerializeTree");
  *image = static_cast<XML_STRING *>(std::calloc(1, sizeof(XML_STRING)));
  return EFI_SUCCESS;
}

TEST_F(Flush, NeedsANameAServiceAndAText) {
  open();
  add(handle, xmlJob("a"));
  SSIB2_PRIVATE_DATA nameless = handle, serviceless = handle, textless = handle;
  XML_SERVICE_PROTOCOL service = *handle.XMLProto;
  service.SerializeTree = imageWithoutText;
  nameless.ssibFileName = nullptr, serviceless.XMLProto = nullptr, textless.XMLProto = &service;
  host().forgetEvents();
  EXPECT_EQ(iFlushSSIBQueue(nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iFlushSSIBQueue(&nameless), SSIB_STATUS_NO_DOCUMENT);
  EXPECT_EQ(iFlushSSIBQueue(&serviceless), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iFlushSSIBQueue(&textless), SSIB_STATUS_NO_FILE);
  EXPECT_EQ(transcript(), "|SSIB2 is null\n" + kCalled +
                              "|iFlushSSIBQueue  SSIB2->ssibFileName is null. Returning with error\n" + kCalled +
                              "|SSIB2->XMLProto is null\n" + kNoText);
  serviceless.mode = SSIB_MODE_BIOS_SMA;
  EXPECT_EQ(iFlushSSIBQueue(&serviceless), EFI_SUCCESS) << "a task list needs no service";
}

TEST_F(Flush, EveryCallSiteTracesALineOfItsOwnInThePartitionOfTheDay) {
  std::wcscpy(sVarskPartition, L"VAR026");
  host().files[L"VAR026/Main.ssib"] = documentOf({"a"});
  ASSERT_EQ(iOpenSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
  EXPECT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
  std::set<std::string> callSites;
  for (const std::string &event : host().events) {
    if (event.starts_with("trace|")) callSites.insert(event.substr(0, event.find(":Calling")));
  }
  EXPECT_EQ(callSites.size(), 6U) << "probing, reading and writing: an open and a close each";
  EXPECT_FALSE(callSites.contains("trace|ssib_if2_backend:0"));
  EXPECT_EQ(iDeleteSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
  EXPECT_EQ(transcript().find("NOT TRACED"), std::string::npos) << transcript();
  EXPECT_EQ(transcript().find("VAR025"), std::string::npos) << transcript();
}

TEST_F(Close, TheLastOneFlushesAndReleases) {
  const SSIB2_PRIVATE_DATA constructed = handle;
  host().setFile(L"Main.ssib", documentOf({"a"}));
  open();
  open();
  EXPECT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
  EXPECT_EQ(handle.openCount, 1U);
  EXPECT_EQ(transcript(), "");
  handle.mode = 2;
  EXPECT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
  EXPECT_EQ(transcript(), "|iCloseSSIB Flushing the queue...\n" + kFlushed +
                              "|iCloseSSIB ..done.\n|iCloseSSIB Freeing ssibFileName.\n"
                              "|iCloseSSIB Done freeing ssibFileName. Deleting xmlRoot.\n"
                              "|iCloseSSIB Done deleting xmlRoot. Freeing ssibEntryListHead.\n"
                              "|iCloseSSIB Done freeing ssibEntryListHead. Done close.\n");
  EXPECT_EQ(std::memcmp(&handle, &constructed, sizeof(handle)), 0);
}

TEST_F(Close, OnlyCountsDownWhatItCannotFlush) {
  host().setFile(L"Main.ssib", documentOf({"a"}));
  open();
  SSIB2_PRIVATE_DATA queue = handle;
  queue.XMLProto = nullptr;
  SSIB2_PRIVATE_DATA expected = queue;
  expected.openCount = 0;
  for (const EFI_STATUS status : {EFI_INVALID_PARAMETER, EFI_SUCCESS}) {  // the second time it is not open
    EXPECT_EQ(iCloseSSIB(&queue), status);
    EXPECT_EQ(std::memcmp(&queue, &expected, sizeof(queue)), 0);
  }
  EXPECT_EQ(transcript(), "");
}

TEST_F(DeleteFile, TellsOnlyWhetherTheFileWasThere) {
  const std::string entered = "iDeleteSSIB|Entered iDeleteSSIB\\n\n", probed = entered + "open VAR025/Main.ssib r\n";
  const std::string deleted = probed + "getSize\nclose VAR025 r\ndelete VAR025/Main.ssib\n";
  const std::string missing = probed + "iDeleteSSIB|Could not locate SSIB list\\n\niDeleteSSIB|Exit. 0x8000000e\n";
  const std::string refused = entered + "iDeleteSSIB|Exit. 0x80000002\n";
  host().setFile(L"Main.ssib", "x");
  host().faults = {fault("open"), fault("delete")};
  EXPECT_EQ(iDeleteSSIB(&handle, L"Main.ssib"), EFI_NOT_FOUND) << "not opened";
  EXPECT_EQ(iDeleteSSIB(&handle, L"Main.ssib"), EFI_SUCCESS) << "not deleted";
  EXPECT_EQ(host().file(L"Main.ssib"), "x");
  EXPECT_EQ(iDeleteSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
  EXPECT_EQ(host().file(L"Main.ssib"), "<none>");
  EXPECT_EQ(iDeleteSSIB(&handle, L"Main.ssib"), EFI_NOT_FOUND);
  EXPECT_EQ(iDeleteSSIB(nullptr, L"Main.ssib"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iDeleteSSIB(&handle, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(transcript(), missing + deleted + deleted + missing + refused + refused);
}

}  // namespace
}  // namespace test
