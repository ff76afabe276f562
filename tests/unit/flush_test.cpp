// SPDX-License-Identifier: MIT
// Writing an XML queue back, closing it, and deleting its file.
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <functional>
#include <set>

#include "ssib_if2_backend/list.h"
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
const std::string kNoImage = "|iFlushSSIBQueue  creating xml from node failed. Returning.\nDeleteTree\n";
const std::string kFreed =
    kSerialized + "0.\n|iFlushSSIBQueue - freeing xmlRoot\nDeleteTree\n|iFlushSSIBQueue - done freeing xmlRoot\n";
const std::string kOpened = kFreed + "open VAR025/Main.ssib w\n|iFlushSSIBQueue - opened Main.ssib for writing\n";
const std::string kWritten = kOpened + "|iFlushSSIBQueue - writing to Main.ssib \n|iFlushSSIBQueue - done writing.rc=";
const std::string kFlushed = kWritten + "1\nclose VAR025 w\n";
const std::string kNoText = kFreed + "|iFlushSSIBQueue - image is null. (no data?)\n";

EFI_STATUS imageWithoutText(XML_SERVICE_PROTOCOL *, const XML_NODE *, std::uint32_t, XML_STRING **image) {
  platform().events.emplace_back("SerializeTree");
  *image = static_cast<XML_STRING *>(std::calloc(1, sizeof(XML_STRING)));
  return EFI_SUCCESS;
}

TEST_F(Flush, TakesExactlyTheseStepsAndAFailureLeavesFileAndList) {
  XML_SERVICE_PROTOCOL *const service = handle.XMLProto;
  static XML_SERVICE_PROTOCOL textless = *service;
  textless.SerializeTree = imageWithoutText;
  static wchar_t name[] = L"Main.ssib";
  struct {
    const char *label;
    std::function<void(Platform &, SSIB2_PRIVATE_DATA &)> arrange;
    std::size_t failingAllocation;  // the root takes three
    EFI_STATUS status;
    std::string transcript;
  } const rows[] = {
      {"success", {}, 0, EFI_SUCCESS, kFlushed},
      {"another mode", [](auto &, auto &h) { h.mode = 2; }, 0, EFI_SUCCESS, kFlushed},
      {"no name", [](auto &, auto &h) { h.ssibFileName = nullptr; }, 0, SSIB_STATUS_NO_DOCUMENT,
       kCalled + "|iFlushSSIBQueue  SSIB2->ssibFileName is null. Returning with error\n"},
      {"no service", [](auto &, auto &h) { h.XMLProto = nullptr; }, 0, EFI_INVALID_PARAMETER,
       kCalled + "|SSIB2->XMLProto is null\n"},
      {"root not created", [](auto &p, auto &) { p.failCall("Create"); }, 0, SSIB_STATUS_NO_DOCUMENT,
       kBuilding + kNoTree},
      {"no root, no failure", [](auto &p, auto &) { p.failCall("Create", 1, {EFI_SUCCESS}); }, 0,
       SSIB_STATUS_NO_DOCUMENT, kBuilding + kNoTree},
      {"block not created", {}, 4, SSIB_STATUS_NO_DOCUMENT, kBuilding + "DeleteTree\n" + kNoTree},
      {"not serialised", [](auto &p, auto &) { p.failCall("Serialize"); }, 0, SSIB_STATUS_NO_DOCUMENT,
       kSerialized + "-2147483641.\n" + kNoImage},
      {"no image, no failure", [](auto &p, auto &) { p.failCall("Serialize", 1, {EFI_SUCCESS}); }, 0,
       SSIB_STATUS_NO_FILE, kNoText},
      {"image without text", [](auto &, auto &h) { h.XMLProto = &textless; }, 0, SSIB_STATUS_NO_FILE, kNoText},
      {"not opened", [](auto &p, auto &) { p.failCall("open"); }, 0, SSIB_STATUS_NO_FILE,
       kOpened + "|iFlushSSIBQueue - failed to open Main.ssib for writing\n"},
      {"opened, with a failure",
       [](auto &p, auto &) {
         p.failCall("open", 1, {EFI_ABORTED, true});
       },
       0, EFI_SUCCESS, kFlushed},
      {"not written", [](auto &p, auto &) { p.failWrites = true; }, 0, EFI_DEVICE_ERROR,
       kWritten + "0\nclose VAR025 w\n"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    host() = Platform();
    host().setFile(L"Main.ssib", "old");
    SSIB2_PRIVATE_DATA queue = handle;
    queue.ssibFileName = name;
    add(queue, xmlJob("b"));
    queue.ssibEntryListPtr = queue.ssibEntryListHead;
    add(queue, xmlJob("a"), SSIB_ADD_PREPEND_HI);
    host().forgetEvents();
    if (row.arrange) row.arrange(host(), queue);
    const SSIB2_PRIVATE_DATA before = queue;
    {
      const heap::Watch watch(row.failingAllocation);
      EXPECT_EQ(iFlushSSIBQueue(&queue), row.status);
    }
    EXPECT_EQ(transcript(), row.transcript);
    EXPECT_EQ(host().file(L"Main.ssib"), row.status == EFI_SUCCESS ? documentOf({"a", "b"}) : "old");
    EXPECT_EQ(std::memcmp(&queue, &before, sizeof(queue)), 0);
    EXPECT_EQ(listOf(queue), (std::vector<std::string>{"a", "b"}));
    ssib::le_free_list(service, queue.ssibEntryListHead);
  }
  host().forgetEvents();
  EXPECT_EQ(iFlushSSIBQueue(nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(transcript(), "|SSIB2 is null\n");
}

TEST_F(Flush, WritesWhatCanBeReadAgainAndNothingThatXmlCannotHold) {
  open();
  EXPECT_EQ(iFlushSSIBQueue(&handle), EFI_SUCCESS);
  EXPECT_EQ(host().file(L"Main.ssib"), documentOf({})) << "an empty queue is a document, too";
  Job job = xmlJob("\"a <&> \xC3\xA9\"");
  job.Block_ID = 0xFFFF, job.Timeout = 70000;
  add(handle, job, SSIB_ADD_APPEND_LO, SSIB_FIELD_TIMEOUT);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
    open();
    EXPECT_EQ(textOf(handle.ssibEntryListHead),
              "[ Block_ID=65535 Timeout=4464 Cmd_Line=a <&> \xC3\xA9 Task_Name=task LU_Category=cat mask=4]");
  }
  const std::string old = host().file(L"Main.ssib");
  add(handle, xmlJob("\x01"));
  EXPECT_EQ(iFlushSSIBQueue(&handle), SSIB_STATUS_NO_DOCUMENT);
  EXPECT_EQ(host().file(L"Main.ssib"), old);
}

TEST_F(Flush, ATaskListNeedsNoXmlService) {
  host().setFile(L"a.json", "old");
  EXPECT_EQ(iOpenSSIB(&handle, L"a.json"), EFI_INVALID_PARAMETER);
  SSIB2_PRIVATE_DATA other = handle;
  other.XMLProto = nullptr;
  host().forgetEvents();
  EXPECT_EQ(iFlushSSIBQueue(&other), EFI_INVALID_PARAMETER);
  EXPECT_TRUE(transcript().starts_with(kCalled + "|iFlushSSIBQueue alt mode SMA/JSON\n")) << transcript();
  EXPECT_EQ(host().file(L"a.json"), "old");
}

TEST_F(Flush, EveryCallSiteTracesALineOfItsOwnInThePartitionOfTheDay) {
  std::wcscpy(sVarskPartition, L"VAR026");
  host().files[L"VAR026/Main.ssib"] = documentOf({"a"});
  ASSERT_EQ(iOpenSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
  EXPECT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
  const std::vector<int> lines = host().traceLines;
  EXPECT_EQ(std::set<int>(lines.begin(), lines.end()).size(), 6U) << "probe, reading and writing: an open and a close";
  EXPECT_EQ(iDeleteSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
  EXPECT_EQ(transcript().find("NOT TRACED"), std::string::npos) << transcript();
  EXPECT_EQ(transcript().find("VAR025"), std::string::npos) << transcript();
}

TEST_F(Close, TheLastOneFlushesAndReleasesWhateverTheFlushSays) {
  for (const bool refused : {false, true}) {
    SCOPED_TRACE(refused);
    host().setFile(L"Main.ssib", documentOf({"a"}));
    open();
    ASSERT_EQ(iOpenSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
    EXPECT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
    EXPECT_EQ(handle.openCount, 1U);
    EXPECT_EQ(transcript(), "");
    host().failWrites = refused;
    handle.mode = 2;
    const SSIB2_PRIVATE_DATA before = handle;
    EXPECT_EQ(iCloseSSIB(&handle), refused ? EFI_DEVICE_ERROR : EFI_SUCCESS);
    EXPECT_EQ(transcript(), "|iCloseSSIB Flushing the queue...\n" +
                                (refused ? kWritten + "0\nclose VAR025 w\n" : kFlushed) +
                                "|iCloseSSIB ..done.\n|iCloseSSIB Freeing ssibFileName.\n"
                                "|iCloseSSIB Done freeing ssibFileName. Deleting xmlRoot.\n"
                                "|iCloseSSIB Done deleting xmlRoot. Freeing ssibEntryListHead.\n"
                                "|iCloseSSIB Done freeing ssibEntryListHead. Done close.\n");
    SSIB2_PRIVATE_DATA closed = before;
    closed.openCount = 0;
    closed.mode = SSIB_MODE_DEFAULT;
    closed.ssibFileName = nullptr;
    closed.ssibEntryListHead = closed.ssibEntryListPtr = nullptr;
    EXPECT_EQ(std::memcmp(&handle, &closed, sizeof(handle)), 0);
  }
}

TEST_F(Close, DoesNothingToAHandleThatIsNotOpen) {
  EXPECT_EQ(iCloseSSIB(nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
  handle.XMLProto = nullptr;
  EXPECT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
  EXPECT_EQ(transcript(), "");
}

TEST_F(Close, WithoutAnXmlServiceOnlyCountsDown) {
  host().setFile(L"Main.ssib", documentOf({"a"}));
  open();
  SSIB2_PRIVATE_DATA expected = handle;
  expected.openCount = 0;
  XML_SERVICE_PROTOCOL *const service = handle.XMLProto;
  handle.XMLProto = expected.XMLProto = nullptr;
  EXPECT_EQ(iCloseSSIB(&handle), EFI_INVALID_PARAMETER);
  EXPECT_EQ(std::memcmp(&handle, &expected, sizeof(handle)), 0);
  EXPECT_EQ(transcript(), "");
  handle.XMLProto = service;
  open();
}

TEST_F(DeleteFile, TellsOnlyWhetherTheFileWasThere) {
  const std::string entered = "iDeleteSSIB|Entered iDeleteSSIB\\n\n";
  const std::string probed = entered + "open VAR025/Main.ssib r\n";
  const std::string deleted = probed + "getSize\nclose VAR025 r\ndelete VAR025/Main.ssib\n";
  const std::string missing = "iDeleteSSIB|Could not locate SSIB list\\n\niDeleteSSIB|Exit. 0x8000000e\n";
  struct {
    const char *label, *file, *failing;
    SSIB2_PRIVATE_DATA *handle;
    const wchar_t *name;
    EFI_STATUS status;
    std::string transcript;
  } const rows[] = {
      {"there", "x", "none", &handle, L"Main.ssib", EFI_SUCCESS, deleted},
      {"there, whatever comes of it", "x", "delete", &handle, L"Main.ssib", EFI_SUCCESS, deleted},
      {"not there", nullptr, "none", &handle, L"Main.ssib", EFI_NOT_FOUND, probed + missing},
      {"not opened", "x", "open", &handle, L"Main.ssib", EFI_NOT_FOUND, probed + missing},
      {"no handle", "x", "none", nullptr, L"Main.ssib", EFI_INVALID_PARAMETER,
       entered + "iDeleteSSIB|Exit. 0x80000002\n"},
      {"no name", "x", "none", &handle, nullptr, EFI_INVALID_PARAMETER, entered + "iDeleteSSIB|Exit. 0x80000002\n"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    host() = Platform();
    if (row.file != nullptr) host().setFile(L"Main.ssib", row.file);
    host().failCall(row.failing);
    EXPECT_EQ(iDeleteSSIB(row.handle, row.name), row.status);
    EXPECT_EQ(transcript(), row.transcript);
    EXPECT_EQ(host().file(L"Main.ssib"), row.label == rows[0].label || row.file == nullptr ? "<none>" : "x");
  }
}

TEST_F(DeleteFile, AnOpenQueueWritesItsFileAnew) {
  host().setFile(L"Main.ssib", documentOf({"a"}));
  open();
  EXPECT_EQ(iDeleteSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
  EXPECT_EQ(host().file(L"Main.ssib"), "<none>");
  EXPECT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
  EXPECT_EQ(host().file(L"Main.ssib"), documentOf({"a"}));
}

}  // namespace
}  // namespace test
