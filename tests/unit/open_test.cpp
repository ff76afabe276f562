// SPDX-License-Identifier: MIT
// Opening an XML queue: what is asked of the platform, what is said, and what the handle holds afterwards.
#include <cstring>
#include <optional>

#include "ssib_if2_backend/xml_tree.h"
#include "support/describe.h"
#include "support/library_test.h"

#ifdef __SANITIZE_ADDRESS__
// A file may announce any size; the sanitizer's calloc then answers like everybody else's.
extern "C" const char *__asan_default_options() {
  return "allocator_may_return_null=1";
}
#endif

namespace test {
namespace {

class Open : public LibraryTest {
 protected:
  // Leaves a list, a name and a tree in the handle, as a refused close and a careless caller do.
  void leaveOldContents() {
    host().setFile(L"Main.ssib", documentOf({"old"}));
    open();
    XML_SERVICE_PROTOCOL *const service = handle.XMLProto;
    handle.XMLProto = nullptr;
    ASSERT_EQ(iCloseSSIB(&handle), EFI_INVALID_PARAMETER);
    handle.XMLProto = service;
    handle.xmlRoot = treeOf("<old/>");
    host().forgetEvents();
  }
};

const std::string kNamed = "|iOpenSSIB - fname_len= 40\\n\n";
const std::string kMissing = kNamed + "open VAR025/Main.ssib r\n";
const std::string kProbed = kMissing + "getSize\nclose VAR025 r\n";
const std::string kFound = kProbed + "open VAR025/Main.ssib r\n|iOpenSSIB - File Main.ssib found. Opening it.\n";
const std::string kAllocating = "|iOpenSSIB - File opened. Allocating ";
const std::string kOpened = kFound + kAllocating + "135 bytes memory for reading the file\n";
const std::string kParsed = kOpened +
                            "|iOpenSSIB - Reading file.\n"
                            "|iOpenSSIB - Done reading file. Parsing document...\n"
                            "ParseImage\n|iOpenSSIB - Done Parsing image. status=";
const std::string kClosed = "close VAR025 r\n|iOpenSSIB - Done Reading and Parsing. Freed buffer and closed the file\n";
const std::string kListed =
    "|iOpenSSIB - Creating list with xmlRoot = @\nDeleteTree\n|iOpenSSIB - Done. Freed xmlRoot\n|iOpenSSIB Done.\n";
const std::string kRefused = "close VAR025 r\n|iOpenSSIB - Error Parsing image. Returning.\n";
const std::string kNoMemory = "|iOpenSSIB - Failed to allocate memory.\nclose VAR025 r\n";
const std::string kShort = "|iOpenSSIB - Reading file.\n|iOpenSSIB - short read error...\n" + kRefused;
const std::string kCreated = kMissing + "CreateNode SSIB_INFO\n";
const std::string kEmptyCreated = kProbed + "CreateNode SSIB_INFO\n";
const std::string kDenied = "|iOpenSSIB - Varsk access error. Error is -2147483633\n";
const std::string kJob = documentOf({"a"});
const char kNone[] = "<none>";
const Platform::Fault kNoFault = {"nothing", 1, {}};

Platform::Fault fault(const char *call, std::size_t nth = 1, EFI_STATUS status = EFI_DEVICE_ERROR,
                      bool withResult = false) {
  return {call, nth, {status, withResult}};
}

TEST_F(Open, TakesExactlyTheseStepsAndLeavesNoHalfOpenQueue) {
  struct {
    const char *label;
    std::string file;
    Platform::Fault fault;
    std::size_t failingAllocation;
    EFI_STATUS status;
    std::string transcript;
    std::optional<std::uint32_t> announcedSize = {};
  } const rows[] = {
      {"missing", kNone, kNoFault, 0, EFI_SUCCESS, kCreated + kListed},
      {"empty", "", kNoFault, 0, EFI_SUCCESS, kEmptyCreated + kListed},
      {"present", kJob, kNoFault, 0, EFI_SUCCESS, kParsed + "0\n" + kClosed + kListed},
      {"a probe that fails otherwise is a missing file", kJob, fault("open"), 0, EFI_SUCCESS, kCreated + kListed},
      {"no root, no failure", kNone, fault("Create", 1, EFI_SUCCESS), 0, EFI_SUCCESS, kCreated + "|iOpenSSIB Done.\n"},
      {"no tree, no failure", kJob, fault("Parse", 1, EFI_SUCCESS), 0, EFI_SUCCESS,
       kParsed + "0\n" + kClosed + "|iOpenSSIB - Creating list with xmlRoot = 0\n|iOpenSSIB Done.\n"},
      {"a warning is a success", kJob, fault("Parse", 1, 5, true), 0, EFI_SUCCESS, kParsed + "5\n" + kClosed + kListed},
      {"a stream counts more than the probe's status", kJob, fault("open", 1, EFI_ACCESS_DENIED, true), 0, EFI_SUCCESS,
       kParsed + "0\n" + kClosed + kListed},
      {"a stream counts more than the open's status", kJob, fault("open", 2, EFI_ACCESS_DENIED, true), 0, EFI_SUCCESS,
       kParsed + "0\n" + kClosed + kListed},
      {"no memory for the name", kJob, kNoFault, 1, EFI_OUT_OF_RESOURCES,
       kNamed + "|iOpenSSIB - Failed to allocate 40 bytes for  SSIB2->ssibFileName\\n\n"},
      {"denied", kJob, fault("open", 1, EFI_ACCESS_DENIED), 0, EFI_ACCESS_DENIED, kMissing + kDenied},
      {"denied and empty", "", fault("open", 1, EFI_ACCESS_DENIED, true), 0, EFI_ACCESS_DENIED, kProbed + kDenied},
      {"root not created", kNone, fault("Create"), 0, EFI_DEVICE_ERROR,
       kCreated + "|iOpenSSIB - Failed creating a new XML Node. Error is -2147483641\n"},
      {"not opened again", kJob, fault("open", 2, EFI_SUCCESS), 0, EFI_ACCESS_DENIED,
       kFound + "|iOpenSSIB - File Main.ssib could not be opened in r mode.\n"},
      {"no memory for the file", kJob, kNoFault, 2, EFI_OUT_OF_RESOURCES, kOpened + kNoMemory},
      {"a size that has no successor", kJob, kNoFault, 0, EFI_OUT_OF_RESOURCES,
       kFound + kAllocating + "-1 bytes memory for reading the file\n" + kNoMemory, 0xFFFFFFFF},
      {"shorter than announced", kJob, kNoFault, 0, EFI_DEVICE_ERROR,
       kFound + kAllocating + "136 bytes memory for reading the file\n" + kShort, 136},
      {"not parsed", kJob, fault("Parse", 1, EFI_ABORTED), 0, EFI_ABORTED, kParsed + "-2147483627\n" + kRefused},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    host() = Platform();
    if (row.file != kNone) host().setFile(L"Main.ssib", row.file);
    const auto files = host().files;
    host().faults = {row.fault};
    host().announcedSize = row.announcedSize;
    {
      const heap::Watch watch(row.failingAllocation);
      EXPECT_EQ(iOpenSSIB(&handle, L"Main.ssib"), row.status);
    }
    EXPECT_EQ(transcript(), row.transcript);
    EXPECT_EQ(host().files, files);
    const bool succeeded = row.status == EFI_SUCCESS;
    const bool listed = succeeded && row.transcript.starts_with(kParsed) && row.transcript.ends_with(kListed);
    EXPECT_EQ(listOf(handle), std::vector<std::string>(listed ? 1 : 0, "a"));
    EXPECT_EQ(handle.ssibEntryListPtr, handle.ssibEntryListHead);
    EXPECT_EQ(handle.xmlRoot, nullptr);
    EXPECT_EQ(handle.openCount, succeeded ? 1U : 0U);
    EXPECT_EQ(handle.mode, SSIB_MODE_DEFAULT);
    EXPECT_STREQ(handle.ssibFileName, succeeded ? L"Main.ssib" : nullptr);
    iCloseSSIB(&handle);
  }
}

TEST_F(Open, RefusesDamagedDocumentsWhole) {
  for (const char *document : {"<a", "x", "<SSIB_INFO><SSIB_BLOCK/>", "<a/><b/>", "<a x='1' x='2'/>", "<a>\x01</a>"}) {
    host().setFile(L"Main.ssib", document);
    EXPECT_TRUE(EFI_ERROR(iOpenSSIB(&handle, L"Main.ssib"))) << document;
    EXPECT_EQ(handle.ssibFileName, nullptr);
    EXPECT_EQ(handle.openCount, 0U);
  }
}

TEST_F(Open, AGiganticSizeIsAFailureLikeAnother) {
  host().setFile(L"Main.ssib", kJob);
  host().announcedSize = 1U << 30;
  const EFI_STATUS status = iOpenSSIB(&handle, L"Main.ssib");
  EXPECT_EQ(status, host().logTexts().back().ends_with("memory.") ? EFI_OUT_OF_RESOURCES : EFI_DEVICE_ERROR);
  EXPECT_EQ(handle.ssibFileName, nullptr);
}

TEST_F(Open, ReleasesWhatAnEarlierUseLeftAndMayTakeItsName) {
  leaveOldContents();
  host().setFile(L"Main.ssib", kJob);
  ASSERT_EQ(iOpenSSIB(&handle, handle.ssibFileName), EFI_SUCCESS);
  EXPECT_EQ(transcript(),
            "|iOpenSSIB-xmlRoot is not NULL. Freeing xmlRoot\nDeleteTree\n|iOpenSSIB-Freed xmlRoot\n"
            "|iOpenSSIB - ssibEntryListHead is not null. Freeing.\n|iOpenSSIB - freed ssibEntryListHead.\n"
            "|iOpenSSIB - ssibFileName Freed.\n" +
                kParsed + "0\n" + kClosed + kListed);
  EXPECT_EQ(listOf(handle), std::vector<std::string>{"a"});
  EXPECT_STREQ(handle.ssibFileName, L"Main.ssib");
}

TEST_F(Open, AFailureKeepsNothingOfAnEarlierUse) {
  leaveOldContents();
  const SSIB2_PRIVATE_DATA constructed = {
      {'s', 's', 'i', 'b'}, handle.XMLProto, {}, {}, {}, {}, vyxSsibDebug, 2, {}, 0, 0};
  const heap::Watch watch(1);
  EXPECT_EQ(iOpenSSIB(&handle, handle.ssibFileName), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(std::memcmp(&handle, &constructed, sizeof(handle)), 0);
}

TEST_F(Open, WithoutAnXmlServiceChangesOnlyTheMode) {
  leaveOldContents();
  SSIB2_PRIVATE_DATA other = handle;
  other.XMLProto = nullptr;
  other.mode = SSIB_MODE_BIOS_SMA;
  SSIB2_PRIVATE_DATA expected = other;
  expected.mode = SSIB_MODE_DEFAULT;
  EXPECT_EQ(iOpenSSIB(&other, L"Main.ssib"), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(std::memcmp(&other, &expected, sizeof(other)), 0);
  EXPECT_EQ(transcript(), "");
  ASSERT_EQ(iOpenSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
}

TEST_F(Open, RefusesNullArgumentsSilently) {
  EXPECT_EQ(iOpenSSIB(nullptr, L"Main.ssib"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iOpenSSIB(&handle, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(transcript(), "");
}

TEST_F(Open, ASecondOpenOnlyCountsWhateverItsName) {
  host().setFile(L"Main.ssib", kJob);
  open();
  for (const wchar_t *name : {L"Main.ssib", L"BIOS_task_list.json", L"other"}) {
    EXPECT_EQ(iOpenSSIB(&handle, name), EFI_SUCCESS);
  }
  EXPECT_EQ(handle.openCount, 4U);
  EXPECT_EQ(handle.mode, SSIB_MODE_DEFAULT);
  EXPECT_EQ(listOf(handle), std::vector<std::string>{"a"});
  EXPECT_EQ(transcript(), "");
}

TEST_F(Open, TheNameDecidesTheForm) {
  const struct {
    const wchar_t *name;
    std::uint32_t mode;
  } rows[] = {{L"BIOS_task_list.json", 1},
              {L"BIOS_task_list.JSON", 0},
              {L"json", 1},
              {L"my.jsonx", 1},
              {L"jso.n", 0},
              {L"", 0}};
  for (const auto &[name, mode] : rows) {
    ASSERT_EQ(iOpenSSIB(&handle, name), EFI_SUCCESS);
    EXPECT_EQ(handle.mode, mode) << name;
    EXPECT_STREQ(handle.ssibFileName, name);
    iCloseSSIB(&handle);
  }
}

TEST_F(Open, WithoutADebugLogTakesTheSameSteps) {
  host().setFile(L"Main.ssib", kJob);
  open();
  iCloseSSIB(&handle);
  vyxSsibDebug = nullptr;
  host().forgetEvents();
  ASSERT_EQ(iOpenSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
  EXPECT_EQ(transcript(),
            "open VAR025/Main.ssib r\ngetSize\nclose VAR025 r\nopen VAR025/Main.ssib r\nParseImage\n"
            "close VAR025 r\nDeleteTree\n");
}

}  // namespace
}  // namespace test
