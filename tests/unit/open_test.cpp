// SPDX-License-Identifier: MIT
// Opening an XML queue: what is asked of the platform, what is said, and what the handle holds afterwards.
#include <cstring>
#include <cwchar>
#include <optional>

#include "support/describe.h"
#include "support/library_test.h"

namespace test {
namespace {

const std::string kNamed = "|iOpenSSIB - fname_len= 40\\n\n";
const std::string kMissing = kNamed + "open VAR025/Main.ssib r\n";
const std::string kProbed = kMissing + "getSize\nclose VAR025 r\n";
const std::string kFound = kProbed + "open VAR025/Main.ssib r\n|iOpenSSIB - File Main.ssib found. Opening it.\n";
const std::string kAllocating = kFound + "|iOpenSSIB - File opened. Allocating ";
const std::string kReading = " bytes memory for reading the file\n|iOpenSSIB - Reading file.\n";
const std::string kParsed = kAllocating + "135" + kReading +
                            "|iOpenSSIB - Done reading file. Parsing document...\n"
                            "ParseImage\n|iOpenSSIB - Done Parsing image. status=";
const std::string kClosed = "close VAR025 r\n|iOpenSSIB - Done Reading and Parsing. Freed buffer and closed the file\n";
const std::string kDone = "|iOpenSSIB Done.\n";
const std::string kListed =
    "|iOpenSSIB - Creating list with xmlRoot = @\nDeleteTree\n|iOpenSSIB - Done. Freed xmlRoot\n" + kDone;
const std::string kPresent = kParsed + "0\n" + kClosed + kListed;
const std::string kRefused = "close VAR025 r\n|iOpenSSIB - Error Parsing image. Returning.\n";
const std::string kNoMemory =
    " bytes memory for reading the file\n|iOpenSSIB - Failed to allocate memory.\nclose VAR025 r\n";
const std::string kCreate = "CreateNode SSIB_INFO\n", kCreated = kCreate + kListed;
const std::string kDenied = "|iOpenSSIB - Varsk access error. Error is -2147483633\n";
const std::string kOldReleased =
    "|iOpenSSIB-xmlRoot is not NULL. Freeing xmlRoot\nDeleteTree\n|iOpenSSIB-Freed xmlRoot\n"
    "|iOpenSSIB - ssibEntryListHead is not null. Freeing.\n|iOpenSSIB - freed ssibEntryListHead.\n"
    "|iOpenSSIB - ssibFileName Freed.\n";
const std::string kJob = documentOf({"a"});

class Open : public LibraryTest {
 protected:
  // Leaves a list, a name and a tree in the handle, as a refused close and a careless caller do.
  void leaveOldContents() {
    handle.ssibEntryListHead = handle.ssibEntryListPtr = le_new();
    handle.ssibFileName = wcsdup(L"Main.ssib");
    handle.xmlRoot = treeOf("<old/>");
  }
};

TEST_F(Open, TakesExactlyTheseStepsAndKeepsNothingOfAnEarlierUse) {
  const struct {
    const char *label, *file;
    Platform::Fault fault;
    EFI_STATUS status;
    std::string transcript;
    std::optional<std::uint32_t> announcedSize = {};
  } rows[] = {
      {"missing", nullptr, fault("none"), EFI_SUCCESS, kMissing + kCreated},
      {"empty", "", fault("none"), EFI_SUCCESS, kProbed + kCreated},
      {"present", kJob.c_str(), fault("none"), EFI_SUCCESS, kPresent},
      {"a probe that fails is a missing file", kJob.c_str(), fault("open"), EFI_SUCCESS, kMissing + kCreated},
      {"no root, no failure", "", fault("Create", 1, EFI_SUCCESS), EFI_SUCCESS, kProbed + kCreate + kDone},
      {"no tree, no failure", kJob.c_str(), fault("Parse", 1, EFI_SUCCESS), EFI_SUCCESS,
       kParsed + "0\n" + kClosed + "|iOpenSSIB - Creating list with xmlRoot = 0\n" + kDone},
      {"a warning is a success", kJob.c_str(), fault("Parse", 1, 5, true), EFI_SUCCESS,
       kParsed + "5\n" + kClosed + kListed},
      {"a stream counts, not the probe's status", kJob.c_str(), fault("open", 1, EFI_ACCESS_DENIED, true), EFI_SUCCESS,
       kPresent},
      {"a stream counts, not the open's status", kJob.c_str(), fault("open", 2, EFI_ACCESS_DENIED, true), EFI_SUCCESS,
       kPresent},
      {"no memory for the name", kJob.c_str(), fault("allocation", 1), EFI_OUT_OF_RESOURCES,
       kNamed + "|iOpenSSIB - Failed to allocate 40 bytes for  SSIB2->ssibFileName\\n\n"},
      {"denied", kJob.c_str(), fault("open", 1, EFI_ACCESS_DENIED), EFI_ACCESS_DENIED, kMissing + kDenied},
      {"denied and empty", "", fault("open", 1, EFI_ACCESS_DENIED, true), EFI_ACCESS_DENIED, kProbed + kDenied},
      {"root not created", nullptr, fault("Create"), EFI_DEVICE_ERROR,
       kMissing + kCreate + "|iOpenSSIB - Failed creating a new XML Node. Error is -2147483641\n"},
      {"not opened again", kJob.c_str(), fault("open", 2, EFI_SUCCESS), EFI_ACCESS_DENIED,
       kFound + "|iOpenSSIB - File Main.ssib could not be opened in r mode.\n"},
      {"no memory for the file", kJob.c_str(), fault("allocation", 2), EFI_OUT_OF_RESOURCES,
       kAllocating + "135" + kNoMemory},
      {"a size without successor", kJob.c_str(), fault("none"), EFI_OUT_OF_RESOURCES, kAllocating + "-1" + kNoMemory,
       ~0U},
      {"shorter than announced", kJob.c_str(), fault("none"), EFI_DEVICE_ERROR,
       kAllocating + "136" + kReading + "|iOpenSSIB - short read error...\n" + kRefused, 136},
      {"not parsed", kJob.c_str(), fault("Parse", 1, EFI_ABORTED), EFI_ABORTED, kParsed + "-2147483627\n" + kRefused},
  };
  const SSIB2_PRIVATE_DATA constructed = handle;
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    host() = Platform();
    if (row.file != nullptr) host().setFile(L"Main.ssib", row.file);
    const auto files = host().files;
    host().faults = {row.fault};
    host().announcedSize = row.announcedSize;
    leaveOldContents();
    {
      const heap::Watch watch(row.fault.prefix == "allocation" ? row.fault.nth : 0);
      EXPECT_EQ(iOpenSSIB(&handle, handle.ssibFileName), row.status);
    }
    EXPECT_EQ(transcript(), kOldReleased + row.transcript);
    EXPECT_EQ(host().files, files);
    const bool isOpen = row.status == EFI_SUCCESS;
    const bool hasList = isOpen && row.transcript.starts_with(kParsed) && row.transcript.ends_with(kListed);
    EXPECT_EQ(listOf(handle), std::vector<std::string>(hasList ? 1 : 0, "a"));
    EXPECT_STREQ(handle.ssibFileName, isOpen ? L"Main.ssib" : nullptr);
    SSIB2_PRIVATE_DATA expected = constructed;
    expected.ssibFileName = handle.ssibFileName;
    expected.ssibEntryListHead = expected.ssibEntryListPtr = handle.ssibEntryListHead;
    expected.openCount = isOpen ? 1 : 0;
    EXPECT_EQ(std::memcmp(&handle, &expected, sizeof(handle)), 0);
    iCloseSSIB(&handle);
  }
}

TEST_F(Open, WithoutAnXmlServiceChangesOnlyTheMode) {
  leaveOldContents();
  SSIB2_PRIVATE_DATA other = handle;
  other.XMLProto = nullptr;
  SSIB2_PRIVATE_DATA expected = other;
  other.mode = SSIB_MODE_BIOS_SMA;
  EXPECT_EQ(iOpenSSIB(&other, L"Main.ssib"), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(std::memcmp(&other, &expected, sizeof(other)), 0);
  EXPECT_EQ(transcript(), "");
  open();
}

TEST_F(Open, TheNameDecidesTheFormAndNothingOfAnEarlierUseStays) {
  for (const std::wstring name :
       {L"BIOS_task_list.json", L"json", L"my.jsonx", L"BIOS_task_list.JSON", L"jso.n", L""}) {
    leaveOldContents();
    EXPECT_EQ(iOpenSSIB(&handle, name.c_str()), EFI_SUCCESS);
    EXPECT_EQ(+handle.ssibEntryListHead, nullptr);
    EXPECT_EQ(handle.mode, name.find(L"json") == std::wstring::npos ? SSIB_MODE_DEFAULT : SSIB_MODE_BIOS_SMA) << name;
    EXPECT_EQ(+handle.ssibFileName, name);
    iCloseSSIB(&handle);
  }
}

TEST_F(Open, ASecondOneOnlyCountsWhateverItsName) {
  open();
  SSIB2_PRIVATE_DATA expected = handle;
  expected.openCount = 2;
  EXPECT_EQ(iOpenSSIB(&handle, L"sub.json"), EFI_SUCCESS);
  EXPECT_EQ(std::memcmp(&handle, &expected, sizeof(handle)), 0);
  EXPECT_EQ(transcript(), "");
}

}  // namespace
}  // namespace test
