// SPDX-License-Identifier: MIT
// Opening, flushing and closing queues of both forms, deleting their files, and merging them: what is asked of the
// platform, what is reported, and what handle and files hold afterwards.
#include <cstdlib>
#include <cstring>
#include <set>

#include "support/library_test.h"

namespace test {
namespace {

class Open : public LibraryTest {};
class Flush : public LibraryTest {};
class Close : public LibraryTest {};
class DeleteFile : public LibraryTest {};
class Merge : public LibraryTest {};

const std::string kOldFreed =
    "|iOpenSSIB-xmlRoot is not NULL. Freeing xmlRoot\nDeleteTree\n|iOpenSSIB-Freed xmlRoot\n"
    "|iOpenSSIB - ssibEntryListHead is not null. Freeing.\n|iOpenSSIB - freed ssibEntryListHead.\n"
    "|iOpenSSIB - ssibFileName Freed.\n|iOpenSSIB - fname_len= 40\\n\n";
const std::string kAsked = kOldFreed + "open VAR025/Main.ssib r\n";
const std::string kProbed = kAsked + "getSize\nclose VAR025 r\n";
const std::string kFound = kProbed + "open VAR025/Main.ssib r\n|iOpenSSIB - File Main.ssib found. Opening it.\n";
const std::string kOpened = kFound + "|iOpenSSIB - File opened. Allocating 135 bytes memory for reading the file\n";
const std::string kParsed = kOpened +
                            "|iOpenSSIB - Reading file.\n|iOpenSSIB - Done reading file. Parsing document...\n"
                            "ParseImage\n|iOpenSSIB - Done Parsing image. status=";
const std::string kClosed = "close VAR025 r\n|iOpenSSIB - Done Reading and Parsing. Freed buffer and closed the file\n";
const std::string kListed =
    "|iOpenSSIB - Creating list with xmlRoot = @\nDeleteTree\n|iOpenSSIB - Done. Freed xmlRoot\n|iOpenSSIB Done.\n"
    "= 0\n";
const std::string kIsA = "1 Main.ssib >[a] | Main.ssib=a\n";
const std::string kLeft = "0 | Main.ssib=a\n";
const std::string kCreate = "CreateNode SSIB_INFO\n";
const std::string kDenied = "|iOpenSSIB - Varsk access error. Error is -2147483633\n";
const std::string kOldTaskFreed =
    "|Enter.\n|iOpenJSON - ssibEntryListHead is not null. Freeing.\n|iOpenJSON - freed ssibEntryListHead.\n"
    "|iOpenJSON - ssibFileName Freed.\n|iOpenJSON - fname_len= 28\\n\n";
const std::string kTaskProbed = kOldTaskFreed + "open VAR025/a.json r\ngetSize\nclose VAR025 r\n|file_exists: 1\n";
const std::string kTaskOpened = kTaskProbed + "|2\nopen VAR025/a.json r\n";
const std::string kTaskReading = kTaskOpened + "|iOpenJSON - Reading file.\n";
const std::string kUpdate =
    "|iParseFromJSON: Enter.\n|INFO: found json entry\n|Job_Type: UPDATE\n"
    "set Calderwick.Embedded.1#CWAttributes.1#PackageCacheUpdateFlag 6 0\n";
const std::string kJobRead =
    "|Display_Name: u\n|FQDD: fqdd\n|Resource_URI: uri\n|Resource_Type: type\n|Resource_Namespace: ns\n"
    "|INFO: before insert\n|INFO: after insert\n|Exit. 0\nclose VAR025 r\n|Exit. 0\n= 0\n"
    "1 mode 1 a.json >[ Display_Name=u Job_Type=UPDATE] TREE | a.json=u\n";
const std::string kCalled = "|iFlushSSIBQueue called\n";
const std::string kBuilding = kCalled + "|iFlushSSIBQueue  create_xml_tree with ssibEntryListHead = @.\n" + kCreate;
const std::string kNoTree = "|iFlushSSIBQueue  create_xml_tree returned with null. Error. Returning.\n= 300004\n";
const std::string kSerialized =
    kBuilding +
    "|iFlushSSIBQueue  creating xml from node.\nSerializeTree\n|iFlushSSIBQueue  creating xml from node returned with ";
const std::string kFreed =
    kSerialized + "0.\n|iFlushSSIBQueue - freeing xmlRoot\nDeleteTree\n|iFlushSSIBQueue - done freeing xmlRoot\n";
const std::string kForWriting = kFreed + "open VAR025/Main.ssib w\n|iFlushSSIBQueue - opened Main.ssib for writing\n";
const std::string kWriting = "|iFlushSSIBQueue - writing to Main.ssib \n|iFlushSSIBQueue - done writing.rc=";
const std::string kKept = "1 Main.ssib [a]>[b][c5] | Main.ssib=ab";
const std::string kTaskCalled = kCalled + "|iFlushSSIBQueue alt mode SMA/JSON\n";
const std::string kTaskOpening = "|Opening file [a.json]\nopen VAR025/a.json w (json)\n";
const std::string kTaskWritten =
    kTaskOpening +
    "|Writing entries now ...\n|Writing JobType [OTHER], ResourceType [type] ...\n"
    "|Writing JobType [OTHER], ResourceType [type] ...\n|Writing JobType [OTHER], ResourceType [type] ...\n"
    "|Closing [VAR025].\nclose VAR025 w (json)\n|Returning EFI_SUCCESS.\n";
const std::string kTaskKept = "1 mode 1 a.json [a5][b5][c5]";
const std::string kReleased =
    "|iCloseSSIB ..done.\n|iCloseSSIB Freeing ssibFileName.\n|iCloseSSIB Done freeing ssibFileName. Deleting xmlRoot.\n"
    "|iCloseSSIB Done deleting xmlRoot. Freeing ssibEntryListHead.\n"
    "|iCloseSSIB Done freeing ssibEntryListHead. Done close.\n";
const std::string kEntered = "iDeleteSSIB|Entered iDeleteSSIB\\n\n";
const std::string kProbedToDelete = kEntered + "open VAR025/Main.ssib r\n";
const std::string kMissing = "iDeleteSSIB|Could not locate SSIB list\\n\niDeleteSSIB|Exit. 0x8000000e\n= 8000000e\n";
const std::string kToMain = "iMergeToMain|Entered\niMergeToMain|Merging to Main.ssib\n";
const std::string kToTaskList = "iMergeToMain|Entered\niMergeToMain|Merging to smajob.json\n";
const std::string kRefused = "iMergeToMain|Exit. 0x80000002\n= 80000002\n";

TEST_F(Open, AnXmlQueueTakesTheseStepsAndKeepsNothingOfAnEarlierUse) {
  expectDialogues(
      {
          {"missing", "open own", kAsked + kCreate + kListed + "1 Main.ssib\n"},
          {"empty", "file Main.ssib; open own", kProbed + kCreate + kListed + "1 Main.ssib | Main.ssib=\n"},
          {"present", "file Main.ssib a; open own", kParsed + "0\n" + kClosed + kListed + kIsA},
          {"no root, no failure", "file Main.ssib; fail Create 1 0; open own",
           kProbed + kCreate + "|iOpenSSIB Done.\n= 0\n1 Main.ssib | Main.ssib=\n"},
          {"no tree, no failure", "file Main.ssib a; fail Parse 1 0; open own",
           kParsed + "0\n" + kClosed +
               "|iOpenSSIB - Creating list with xmlRoot = 0\n|iOpenSSIB Done.\n= 0\n1 Main.ssib | Main.ssib=a\n"},
          {"a warning is a success", "file Main.ssib a; fail Parse 1 5 handed; open own",
           kParsed + "5\n" + kClosed + kListed + kIsA},
          {"the stream counts, not the probe's status", "file Main.ssib a; fail open 1 8000000f handed; open own",
           kParsed + "0\n" + kClosed + kListed + kIsA},
          {"the stream counts, not the open's status", "file Main.ssib a; fail open 2 8000000f handed; open own",
           kParsed + "0\n" + kClosed + kListed + kIsA},
          {"no memory for the name", "file Main.ssib a; fail allocation 1; open own",
           kOldFreed + "|iOpenSSIB - Failed to allocate 40 bytes for  SSIB2->ssibFileName\\n\n= 80000009\n" + kLeft},
          {"denied", "file Main.ssib a; fail open 1 8000000f; open own", kAsked + kDenied + "= 8000000f\n" + kLeft},
          {"denied and empty", "file Main.ssib; fail open 1 8000000f handed; open own",
           kProbed + kDenied + "= 8000000f\n0 | Main.ssib=\n"},
          {"root not created", "fail Create; open own",
           kAsked + kCreate + "|iOpenSSIB - Failed creating a new XML Node. Error is -2147483641\n= 80000007\n0\n"},
          {"not opened again", "file Main.ssib a; fail open 2 0; open own",
           kFound + "|iOpenSSIB - File Main.ssib could not be opened in r mode.\n= 8000000f\n" + kLeft},
          {"a size without successor", "file Main.ssib a; size 4294967295; open own",
           kFound +
               "|iOpenSSIB - File opened. Allocating -1 bytes memory for reading the file\n"
               "|iOpenSSIB - Failed to allocate memory.\nclose VAR025 r\n= 80000009\n" +
               kLeft},
          {"shorter than announced", "file Main.ssib a; size 136; open own",
           kFound +
               "|iOpenSSIB - File opened. Allocating 136 bytes memory for reading the file\n"
               "|iOpenSSIB - Reading file.\n|iOpenSSIB - short read error...\nclose VAR025 r\n"
               "|iOpenSSIB - Error Parsing image. Returning.\n= 80000007\n" +
               kLeft},
          {"not parsed", "file Main.ssib a; fail Parse 1 80000015; open own",
           kParsed + "-2147483627\nclose VAR025 r\n|iOpenSSIB - Error Parsing image. Returning.\n= 80000015\n" + kLeft},
          {"without a service only the mode changes", "mode 1; service off; open own",
           "= 80000009\n0 Main.ssib >[ priority=0] TREE CHANGED\n"},
      },
      "old");
}

TEST_F(Open, ATaskListTakesTheseStepsAndKeepsNothingOfAnEarlierUse) {
  expectDialogues(
      {
          {"missing", "open a.json",
           kOldTaskFreed + "open VAR025/a.json r\n|file_exists: 0\n|Exit. 0\n= 0\n1 mode 1 a.json TREE\n"},
          {"empty", "file a.json; open a.json", kTaskProbed + "|Exit. 0\n= 0\n1 mode 1 a.json TREE | a.json=\n"},
          {"present", "file a.json u; open a.json",
           kTaskReading + kUpdate +
               "|Able to Set the attr Calderwick.Embedded.1#CWAttributes.1#PackageCacheUpdateFlag\n" + kJobRead},
          {"refused text", "file a.json <; open a.json",
           kTaskReading + "|iParseFromJSON: Enter.\n|ERROR: invalid parameter 2.\nclose VAR025 r\n|Exit. 80000002\n"
                          "= 80000002\n1 mode 1 a.json TREE | a.json=<\n"},
          {"no memory for the name", "fail allocation 1; open a.json",
           kOldTaskFreed +
               "|iOpenJSON - Failed to allocate 28 bytes for  SSIB2->ssibFileName\\n\n= 80000009\n0 mode 1 TREE\n"},
          {"denied", "fail open 1 8000000f; open a.json",
           kOldTaskFreed + "open VAR025/a.json r\n|file_exists: 0\n" + kDenied + "= 8000000f\n0 mode 1 TREE\n"},
          {"not opened again", "file a.json u; fail open 2; open a.json",
           kTaskOpened + "|ERROR: unable to open a.json\\n\n= 80000015\n0 mode 1 a.json TREE | a.json=u\n"},
          {"opened again, with a warning", "file a.json u; fail open 2 1 handed; open a.json",
           kTaskOpened + "|ERROR: unable to open a.json 0x00000001\\n\nclose VAR025 r\n= 80000015\n"
                         "0 mode 1 a.json TREE | a.json=u\n"},
          {"a size without successor", "file a.json u; size 4294967295; open a.json",
           kTaskOpened +
               "|iOpenJSON - Failed to allocate memory.\nclose VAR025 r\n= 80000009\n0 mode 1 TREE | a.json=u\n"},
          {"shorter than announced", "file a.json u; size 1000; open a.json",
           kTaskReading +
               "|iOpenJSON - Error reading. Returning.\nclose VAR025 r\n= 80000007\n0 mode 1 TREE | a.json=u\n"},
          {"attribute not set", "file a.json u; fail set 1 1; open a.json",
           kTaskReading + kUpdate +
               "|ERROR: unable to Set the attr Calderwick.Embedded.1#CWAttributes.1#PackageCacheUpdateFlag\n" +
               kJobRead},
          {"fixed partition for open and failed close",
           "partition OTHER1; file OTHER1/a.json x; file VAR025/a.json y; size 1000; open a.json",
           kOldTaskFreed + "open OTHER1/a.json r\ngetSize\nclose OTHER1 r\n|file_exists: 1\n|2\nopen VAR025/a.json r\n"
                           "|iOpenJSON - Reading file.\n|iOpenJSON - Error reading. Returning.\nclose VAR025 r\n"
                           "= 80000007\n0 mode 1 TREE | OTHER1/a.json=x | a.json=y\n"},
          {"another for probe and ordinary close",
           "partition OTHER1; file OTHER1/a.json x; file VAR025/a.json y; open a.json",
           kOldTaskFreed +
               "open OTHER1/a.json r\ngetSize\nclose OTHER1 r\n|file_exists: 1\n|2\nopen VAR025/a.json r\n"
               "|iOpenJSON - Reading file.\n|iParseFromJSON: Enter.\n|INFO: found json entry\n|Job_Type: OTHER\n"
               "|Display_Name: y\n|FQDD: fqdd\n|Resource_URI: uri\n|Resource_Type: type\n|Resource_Namespace: ns\n"
               "|INFO: before insert\n|INFO: after insert\n|Exit. 0\nclose OTHER1 r\n|Exit. 0\n= 0\n"
               "1 mode 1 a.json >[y] TREE | OTHER1/a.json=x | a.json=y\n"},
      },
      "old");
}

TEST_F(Open, TheNameDecidesTheForm) {
  for (const std::string name : {"json", "my.jsonx", "a.json"}) {
    EXPECT_EQ(outcome("open " + name), "0; 1 mode 1 " + name);
    tidy();
  }
  for (const std::string name : {"BIOS_task_list.JSON", "jso.n", "x"}) {
    host() = Platform();
    EXPECT_EQ(outcome("mode 1; open " + name), "0; 1 " + name);
    tidy();
  }
}

TEST_F(Open, ASecondOneOnlyCountsWhateverItsName) {
  outcome("file Main.ssib ab; open Main.ssib; get");
  EXPECT_EQ(play("open sub.json"), "= 0\n2 Main.ssib [a]>[b] | Main.ssib=ab\n");
}

TEST_F(Flush, AnXmlQueueTakesTheseStepsAndAFailureLeavesFileAndList) {
  expectDialogues(
      {
          {"success", "flush", kForWriting + kWriting + "1\nclose VAR025 w\n= 0\n" + kKept + "c\n"},
          {"root not created", "fail Create; flush", kBuilding + kNoTree + kKept + "\n"},
          {"no root, no failure", "fail Create 1 0; flush", kBuilding + kNoTree + kKept + "\n"},
          {"block not created: the root takes three allocations", "fail allocation 4; flush",
           kBuilding + "DeleteTree\n" + kNoTree + kKept + "\n"},
          {"no memory for the command's text", "fail allocation 11; flush",
           kBuilding + "DeleteTree\nDeleteTree\nDeleteTree\n" + kNoTree + kKept + "\n"},
          {"not serialised", "fail Serialize; flush",
           kSerialized +
               "-2147483641.\n|iFlushSSIBQueue  creating xml from node failed. Returning.\nDeleteTree\n= 300004\n" +
               kKept + "\n"},
          {"no image, no failure", "fail Serialize 1 0; flush",
           kFreed + "|iFlushSSIBQueue - image is null. (no data?)\n= 300009\n" + kKept + "\n"},
          {"image without text", "fail Serialize 1 0 textless; flush",
           kFreed + "|iFlushSSIBQueue - image is null. (no data?)\n= 300009\n" + kKept + "\n"},
          {"not opened", "fail open; flush",
           kForWriting + "|iFlushSSIBQueue - failed to open Main.ssib for writing\n= 300009\n" + kKept + "\n"},
          {"opened, with a failure", "fail open 1 80000015 handed; flush",
           kForWriting + kWriting + "1\nclose VAR025 w\n= 0\n" + kKept + "c\n"},
          {"not written", "fail write; flush",
           kForWriting + kWriting + "0\nclose VAR025 w\n= 80000007\n" + kKept + "\n"},
          {"no service", "service off; flush",
           kCalled + "|SSIB2->XMLProto is null\n= 80000002\n1 Main.ssib [a]>[b][c5] CHANGED | Main.ssib=ab\n"},
          {"a partition of the day", "partition VAR026; flush",
           kFreed + "open VAR026/Main.ssib w\n|iFlushSSIBQueue - opened Main.ssib for writing\n" + kWriting +
               "1\nclose VAR026 w\n= 0\n" + kKept + " | VAR026/Main.ssib=abc\n"},
      },
      "file Main.ssib ab; open Main.ssib; get; add c");
}

TEST_F(Flush, ATaskListTakesTheseSteps) {
  expectDialogues(
      {
          {"success, without a service", "service off; flush",
           kTaskCalled + kTaskWritten + "= 0\n" + kTaskKept + " CHANGED | a.json=abc\n"},
          {"in the fixed partition", "partition OTHER1; flush-json",
           kTaskWritten + "= 0\n" + kTaskKept + " | a.json=abc\n"},
          {"not opened", "fail open; flush",
           kTaskCalled + kTaskOpening + "|ERROR: unable to open a.json\\n\n= 80000015\n" + kTaskKept + " | a.json=\n"},
          {"opened, with a failure", "fail open 1 80000007 handed; flush",
           kTaskCalled + kTaskOpening +
               "|ERROR: unable to open a.json 0x80000007\\n\nclose VAR025 w (json)\n= 80000015\n" + kTaskKept +
               " | a.json=\n"},
          {"opened, with a warning", "fail open 1 1 handed; flush",
           kTaskCalled + kTaskWritten + "= 1\n" + kTaskKept + " | a.json=abc\n"},
      },
      "file a.json; open a.json; add abc");
}

TEST_F(Flush, NeedsANameAndForATaskListAJob) {
  const std::string nameless = "|iFlushSSIBQueue  SSIB2->ssibFileName is null. Returning with error\n";
  EXPECT_EQ(play("flush"), kCalled + nameless + "= 300004\n0\n");
  outcome("open Main.ssib");
  EXPECT_EQ(play("fail Create 1 0; flush"), kCalled +
                                                "|iFlushSSIBQueue  create_xml_tree with ssibEntryListHead = 0.\n" +
                                                kCreate + kNoTree + "1 Main.ssib\n");
  outcome("close");
  host() = Platform();
  outcome("open a.json");
  EXPECT_EQ(play("flush"), kTaskCalled + "= 80000002\n1 mode 1 a.json\n");
  outcome("add a");
  SSIB2_PRIVATE_DATA unnamed = handle;
  unnamed.ssibFileName = nullptr;
  EXPECT_EQ(iFlushToJSON(&unnamed), EFI_INVALID_PARAMETER);
}

TEST_F(Close, OfAFileHasALineOfItsOwnAndComesBeforeTheNameGoes) {
  const struct {
    const char *label, *before, *operation, *close;
    std::size_t blocks, sites;  // allocated since before when the stream is closed; traced up to this row
  } rows[] = {
      {"XML, read and written", "file OTHER1/Main.ssib a; open Main.ssib; file OTHER1/b; delete-file b", "flush",
       "close OTHER1 w", 0, 7},
      {"XML, no memory", "file OTHER1/Main.ssib a; size 4294967295", "open Main.ssib", "close OTHER1 r", 1, 8},
      {"XML, short", "file OTHER1/Main.ssib a; size 136", "open Main.ssib", "close OTHER1 r", 1, 8},
      {"task list, read and written", "file OTHER1/a.json a; file VAR025/a.json a; open a.json", "flush",
       "close VAR025 w", 0, 12},
      {"task list, read", "file OTHER1/a.json a; file VAR025/a.json b", "open a.json", "close OTHER1 r", 8, 12},
      {"task list, no memory", "file OTHER1/a.json a; file VAR025/a.json a; size 4294967295", "open a.json",
       "close VAR025 r", 1, 13},
      {"task list, short", "file OTHER1/a.json a; file VAR025/a.json <", "open a.json", "close VAR025 r", 1, 14},
      {"task list, status", "file OTHER1/a.json a; file VAR025/a.json a", "fail open 2 1 handed; open a.json",
       "close VAR025 r", 1, 15},
      {"task list, written, status", "open a.json; add a", "fail open 1 80000015 handed; flush", "close VAR025 w", 0,
       16},
  };
  std::set<std::string> sites;
  for (const auto &[label, before, operation, close, blocks, sitesSoFar] : rows) {
    SCOPED_TRACE(label);
    host() = Platform();
    outcome(std::string("partition OTHER1; ") + before);
    const std::size_t blocksBefore = heap::live();
    outcome(operation);
    EXPECT_EQ(host().calls.back(), close);
    EXPECT_TRUE(host().isNamedAtClose);
    EXPECT_EQ(host().blocksAtClose - blocksBefore, blocks) << "the name alone: the buffer is gone";
    sites.merge(host().callSites);
    EXPECT_EQ(sites.size(), sitesSoFar);
    tidy();
  }
}

TEST_F(Close, FlushesTheLastTimeAndReleasesWhateverComesOfIt) {
  expectDialogues(
      {
          {"last but one", "open Main.ssib; close", "= 0\n= 0\n" + kIsA},
          {"last", "close",
           "|iCloseSSIB Flushing the queue...\n" + kForWriting + kWriting + "1\nclose VAR025 w\n" + kReleased +
               "= 0\n" + kLeft},
          {"counts down what it cannot flush", "service off; close; close",
           "= 80000002\n= 0\n0 Main.ssib >[a] CHANGED | Main.ssib=a\n"},
      },
      "file Main.ssib a; open Main.ssib");
}

TEST_F(DeleteFile, ReportsOnlyWhetherTheFileWasThere) {
  expectDialogues(
      {
          {"not opened", "fail open; delete-file Main.ssib", kProbedToDelete + kMissing + kLeft},
          {"not deleted", "fail delete; delete-file Main.ssib",
           kProbedToDelete + "getSize\nclose VAR025 r\ndelete VAR025/Main.ssib\n= 0\n" + kLeft},
          {"deleted", "delete-file Main.ssib; delete-file Main.ssib",
           kProbedToDelete + "getSize\nclose VAR025 r\ndelete VAR025/Main.ssib\n= 0\n" + kProbedToDelete + kMissing +
               "0\n"},
          {"in the partition of the day", "partition VAR026; file VAR026/a b; delete-file a",
           kEntered + "open VAR026/a r\ngetSize\nclose VAR026 r\ndelete VAR026/a\n= 0\n" + kLeft},
      },
      "file Main.ssib a");
}

TEST_F(Merge, PutsTheEntriesAfterThoseOfTheMainQueue) {
  expectDialogues(
      {
          {"XML", "file Main.ssib xy; file sub.ssib ab; merge sub.ssib 2", kToMain + "= 0\n0 | Main.ssib=xyab\n"},
          {"task lists", "file BIOS_task_list.json xy; file sub.json ab; merge sub.json 2",
           kToTaskList + "= 0\n0 | BIOS_task_list.json=xyab\n"},
          {"sub-queue damaged", "file Main.ssib xy; file sub.ssib <; merge sub.ssib 1",
           "iMergeToMain|Entered\niMergeToMain|Error opening SSIB\n" + kRefused + "0 | Main.ssib=xy | sub.ssib=<\n"},
          {"main queue damaged", "file Main.ssib <; file sub.ssib ab; merge sub.ssib 1",
           kToMain + "iMergeToMain|Error opening main SSIB\n" + kRefused + "0 | Main.ssib=< | sub.ssib=ab\n"},
          {"no sub-queue", "file Main.ssib xy; merge sub.ssib 1",
           "iMergeToMain|Entered\niMergeToMain|Could not locate SSIB list\niMergeToMain|Exit. 0x8000000e\n= 8000000e\n"
           "0 | Main.ssib=xy\n"},
          {"no service for the main handle", "file sub.ssib ab; fail allocation 1; merge sub.ssib 1",
           "iMergeToMain|Entered\niMergeToMain|Error constructing main protocol\niMergeToMain|Exit. 0x8000000e\n"
           "= 8000000e\n0 | sub.ssib=ab\n"},
          {"no service for the other", "file sub.ssib ab; fail allocation 3; merge sub.ssib 1",
           "iMergeToMain|Entered\niMergeToMain|Error constructing sub protocol\niMergeToMain|Exit. 0x8000000e\n"
           "= 8000000e\n0 | sub.ssib=ab\n"},
      },
      "service on", "iMergeToMain|");
  outcome("file Main.ssib x; file sub.ssib a; merge sub.ssib 1");
  EXPECT_EQ(host().calls.back(), "close VAR025 w") << "the main queue is written after the sub-queue's file is deleted";
}

}  // namespace
}  // namespace test
