// SPDX-License-Identifier: MIT
// Getting, adding, deleting, comparing and replacing entries: the copies that change hands, what is reported, and what
// is refused, by the other operations too.
#include "ssib_if2_backend/list.h"
#include "support/library_test.h"

namespace test {
namespace {

class Get : public LibraryTest {};
class Add : public LibraryTest {};
class Delete : public LibraryTest {};
class Compare : public LibraryTest {};
class Replace : public LibraryTest {};
class Arguments : public LibraryTest {};

const std::string kFull =
    " Version=1 mode=1 Block_ID=2 RB_Type=3 RB_Req=4 Timeout=600 Rtn_Code=5 RT_Count=6 Job_ID=j Cmd_Line=F "
    "Display_Name=F Target_Version=v Node=<n x=\"1\">t<m/></n>";
const std::string kDuped = "dupeNode|About to dupe the XML Node\ndupeNode|About to dupe the XML Node\n";
const std::string kGot =
    "|iGetSSIBNextEntry. ssibEntryListPtr = @\n|iGetSSIBNextEntry - Copying data from ssibEntryListPtr->entry\n"
    "|iGetSSIBNextEntry - Done mem copying\n|iGetSSIBNextEntry - Done duping the Job_ID\n"
    "|iGetSSIBNextEntry - Done duping the Cmd_Line\n|iGetSSIBNextEntry - Done duping the Task_Name\n" +
    kDuped +
    "|iGetSSIBNextEntry - Done copying data. Moving ssibEntryListPtr to 0\n"
    "|iGetSSIBNextEntry - Done duping the LU_Category\n|iGetSSIBNextEntry - Done duping the Display_Name\n"
    "|iGetSSIBNextEntry - Done duping the Job_Type\n|iGetSSIBNextEntry - Done duping the FQDD\n"
    "|iGetSSIBNextEntry - Done duping the Resource_URI\n|iGetSSIBNextEntry - Done duping the Resource_Type\n"
    "|iGetSSIBNextEntry - Done duping the Resource_Namespace\n|iGetSSIBNextEntry - Done duping the Target_Version\n"
    "|iGetSSIBNextEntry - Done.\nDeleteTree\n= 0";
const std::string kFullTexts =
    "|Cmd_Line: F\n|Task_Name: task\n|LU_Category: cat\n|Display_Name: F\n|Job_Type: OTHER\n|FQDD: fqdd\n"
    "|Resource_URI: uri\n|Resource_Type: type\n|Resource_Namespace: ns\n|Target_Version: v\n";
const std::string kNoTimeout = "|WARNING: Invalid Timeout of 0, replacing with default value (600).\n";
const std::string kInserted =
    "|iAddToSSIBQueue - found insertion point based on priority\n"
    "|iAddToSSIBQueue - List is not null, adding BEFORE the found entry.\n|iAddToSSIBQueue - Done.\n";
const std::string kFound =
    "|iDeleteSSIBEntry - Look up result = @.\n|iDeleteSSIBEntry - found = @.\n"
    "|iDeleteSSIBEntry - Checking if ssibEntryListPtr (@) ==  entry to be deleted. (@)\n";
const std::string kMoved = "|iDeleteSSIBEntry - yes...moving ssibEntryListPtr to @\n";
const std::string kGone =
    "|iDeleteSSIBEntry - Removing...\n|iDeleteSSIBEntry - done. Freeing pl..\n|iDeleteSSIBEntry - done freeing pl\n";
const std::string kMissing = "|iDeleteSSIBEntry - Look up result = 0.\n|iDeleteSSIBEntry - Entry not found \n";
const std::string kRemoving = "|iRemoveFromSSIBQueue  - calling iDeleteSSIBEntry.\n";
const std::string kDeleted = "|iRemoveFromSSIBQueue  - iDeleteSSIBEntry returned with ";
const std::string kFlushed =
    "0.\n|iRemoveFromSSIBQueue  - Calling flush\n|iFlushSSIBQueue called\n"
    "|iFlushSSIBQueue  create_xml_tree with ssibEntryListHead = @.\nCreateNode SSIB_INFO\n"
    "|iFlushSSIBQueue  creating xml from node.\nSerializeTree\n"
    "|iFlushSSIBQueue  creating xml from node returned with 0.\n|iFlushSSIBQueue - freeing xmlRoot\nDeleteTree\n"
    "|iFlushSSIBQueue - done freeing xmlRoot\nopen VAR025/Main.ssib w\n"
    "|iFlushSSIBQueue - opened Main.ssib for writing\n|iFlushSSIBQueue - writing to Main.ssib \n"
    "|iFlushSSIBQueue - done writing.rc=";
const std::string kWritten = "\nclose VAR025 w\n|iRemoveFromSSIBQueue  - flush returned with ";
const std::string kXml = "|Enter SSIBEntryCmp\n|SSIB_MODE_DEFAULT mode.\n";
const std::string kTaskList = "|Enter SSIBEntryCmp\n|SSIB_MODE_BIOS_SMA mode.\n";
const std::string kEnter = "|Enter SSIBEntryCmp\n";
const std::string kReplacing =
    "iReplaceSSIBEntry|Entered\niReplaceSSIBEntry|Found Old Entry... Replacing...\niReplaceSSIBEntry|Exit. 0x";
const std::string kNoMemory = kReplacing + "80000009\n= 80000009\n";
const std::string kFullNumbers = " Version=1 mode=1 Block_ID=2 RB_Type=3 RB_Req=4 Rtn_Code=5 RT_Count=6 Job_ID=j";

TEST_F(Get, HandsOutACopyOfEverything) {
  expectDialogues(
      {{"get", "get", kGot + kFull + "\n1 Main.ssib [" + kFull + " mask=4294967295 priority=1]\n"},
       {"peek", "peek",
        "|iPeekSSIBNextEntry. ssibEntryListPtr = @\n|iPeekSSIBNextEntry - Copying data from ssibEntryListPtr->entry\n" +
            kDuped + "|iPeekSSIBNextEntry - Done copying data\nDeleteTree\n= 0" + kFull + "\n1 Main.ssib >[" + kFull +
            " mask=4294967295 priority=1]\n"},
       {"at the end", "get; get; peek",
        kGot + kFull +
            "\n|iGetSSIBNextEntry. ssibEntryListPtr = 0\n|iGetSSIBNextEntry. Nothing found.\n= 8000001f\n"
            "|iPeekSSIBNextEntry. ssibEntryListPtr = 0\n|iPeekSSIBNextEntry. Nothing found.\n= 8000001f\n"
            "1 Main.ssib [" +
            kFull + " mask=4294967295 priority=1]\n"}},
      "open Main.ssib; add F 1 4294967295; cursor");
}

TEST_F(Add, KeepsACopyOfEverythingAtThePlaceOfItsPriority) {
  expectDialogues(
      {
          {"everything", "add F 1 4294967295",
           "|iAddToSSIBQueue - 1 entries addlocation = 1\n" + kNoTimeout + "|Job_ID: j\n" + kFullTexts + kDuped +
               "|ADDTOQ : Doing an Prepend HI\n" + kInserted + "= 0\n1 Main.ssib [" + kFull +
               " mask=4294967295 priority=1][a5]\n"},
          {"no bit for the job's identity", "add F 2 4294967263",
           "|iAddToSSIBQueue - 1 entries addlocation = 2\n" + kNoTimeout + kFullTexts + kDuped +
               "|ADDTOQ : Doing an APPEND HI\n" + kInserted +
               "= 0\n"
               "1 Main.ssib [ Version=1 mode=1 Block_ID=2 RB_Type=3 RB_Req=4 Timeout=600 Rtn_Code=5 RT_Count=6 "
               "Cmd_Line=F Display_Name=F Target_Version=v Node=<n x=\"1\">t<m/></n> mask=4294967263 "
               "priority=2][a5]\n"},
          {"the last before", "add - 4",
           "|iAddToSSIBQueue - 1 entries addlocation = 4\n" + kNoTimeout + "|ADDTOQ : Doing an APPEND HI\n" +
               kInserted + "= 0\n1 Main.ssib [ Timeout=600 priority=4][a5]\n"},
          {"after what a client put at the end", "priority 200; add ab 5",
           "|iAddToSSIBQueue - 2 entries addlocation = 5\n|Cmd_Line: a\n|Task_Name: task\n|LU_Category: cat\n"
           "|Display_Name: a\n|Job_Type: OTHER\n|FQDD: fqdd\n|Resource_URI: uri\n|Resource_Type: type\n"
           "|Resource_Namespace: ns\n|ADDTOQ : Doing an Append Lo\n" +
               kInserted +
               "|Cmd_Line: b\n|Task_Name: task\n|LU_Category: cat\n|Display_Name: b\n|Job_Type: OTHER\n|FQDD: fqdd\n"
               "|Resource_URI: uri\n|Resource_Type: type\n|Resource_Namespace: ns\n|ADDTOQ : Doing an Append Lo\n" +
               kInserted + "= 0\n1 Main.ssib [a200][a5][b5]\n"},
          {"nothing", "add  5", "|iAddToSSIBQueue - 0 entries addlocation = 5\n= 0\n1 Main.ssib [a5]\n"},
      },
      "open Main.ssib; add a");
}

TEST_F(Add, EqualPrioritiesKeepTheirOrder) {
  const std::string found =
      outcome("open Main.ssib; add a 5; add b 4; add c 4; add d 1; add e 2; add fg 2; add h 1; flush");
  EXPECT_EQ(found.substr(found.find(" | ")), " | Main.ssib=dhefgbca");
}

TEST_F(Delete, TakesTheFirstMatchAndRemovingWritesTheFile) {
  expectDialogues(
      {
          {"under the cursor", "delete a", kFound + kMoved + kGone + "= 0\n1 Main.ssib >[b][a] | Main.ssib=aba\n"},
          {"elsewhere", "delete b", kFound + kGone + "= 0\n1 Main.ssib >[a][a] | Main.ssib=aba\n"},
          {"missing", "remove c",
           kRemoving + kMissing + kDeleted + "-2147483646.\n= 80000002\n1 Main.ssib >[a][b][a] | Main.ssib=aba\n"},
          {"removed", "remove a",
           kRemoving + kFound + kMoved + kGone + kDeleted + kFlushed + "1" + kWritten +
               "0\n= 0\n1 Main.ssib >[b][a] | Main.ssib=ba\n"},
          {"not written", "fail write; remove b",
           kRemoving + kFound + kGone + kDeleted + kFlushed + "0" + kWritten +
               "-2147483641\n= 80000007\n1 Main.ssib >[a][a] | Main.ssib=aba\n"},
          {"null", "delete 0; remove 0",
           "= 80000002\n" + kRemoving + kDeleted +
               "-2147483646.\n= 80000002\n1 Main.ssib >[a][b][a] | Main.ssib=aba\n"},
      },
      "file Main.ssib aba; open Main.ssib");
  host() = Platform();
  EXPECT_EQ(outcome("open Main.ssib; add a 1; add a 5; delete a"), "0; 1 Main.ssib [a5]");
}

TEST_F(Compare, ReportsWhatItFound) {
  expectDialogues(
      {
          {"both null", "mode 2; compare 0 0", kEnter + "|Both entries are NULL. Returning 0.\n= 0\n0 mode 2\n"},
          {"first null", "compare 0 a", kEnter + "|One of the entries is NULL. Returning 1.\n= 1\n0\n"},
          {"second null", "mode 1; compare a 0", kEnter + "|One of the entries is NULL. Returning 1.\n= 1\n0 mode 1\n"},
          {"unknown mode", "mode 2; compare a a",
           kEnter + "|Entries don't match as their modes are different.\n= 1\n0 mode 2\n"},
          {"same", "compare a a", kXml + "|Entries match.\n= 0\n0\n"},
          {"other", "compare a b", kXml + "= 1\n0\n"},
          {"same extra content", "compare n n", kXml + "SerializeTree\nSerializeTree\n= 0\n0\n"},
          {"no first text", "fail Serialize; compare n n", kXml + "SerializeTree\n= ffffffff\n0\n"},
          {"no second text", "fail Serialize 2; compare n n", kXml + "SerializeTree\nSerializeTree\n= ffffffff\n0\n"},
          {"no texts, no failure", "fail Serialize 0 0; compare n n", kXml + "SerializeTree\n= ffffffff\n0\n"},
          {"empty images", "fail Serialize 0 0 textless; compare n n", kXml + "SerializeTree\n= ffffffff\n0\n"},
          {"no service", "service off; compare n n", kXml + "= ffffffff\n0 CHANGED\n"},
          {"same task", "mode 1; compare a a", kTaskList + "|Entries match.\n= 0\n0 mode 1\n"},
          {"other task", "mode 1; compare u v",
           kTaskList + "|e1->Display_Name [u].\n|e2->Display_Name [v].\n= 1\n0 mode 1\n"},
      },
      "service on");
}

// The questions: deleting from an XML queue, comparing in one, deleting from a task list, comparing in one.
class Rules : public LibraryTest {
 protected:
  bool agree(std::size_t question, Job element, Job key, std::uint32_t mask) {
    handle.mode = question < 2 ? SSIB_MODE_DEFAULT : SSIB_MODE_BIOS_SMA;
    if (question % 2 == 1) return SSIBEntryCmp(&handle, &element, &key) == 0;
    SSIB_ENTRY *entries[] = {&element};
    EXPECT_EQ(iAddToSSIBQueue(&handle, 1, entries, mask, SSIB_ADD_APPEND_LO), EFI_SUCCESS);
    const bool isFound = iDeleteSSIBEntry(&handle, &key) == EFI_SUCCESS;
    ssib::freeListOf(handle);
    return isFound;
  }
};

// The answers when the texts differ in their last byte that counts, when they differ after it, when the element has
// none, when the key has none, and when neither has one.
constexpr const char *kAny = "11111", *kBoth = "01000", *kSame = "01001", *kWhere = "01111";

TEST_F(Rules, OfTextsHoldForEachQuestion) {
  const struct {
    SSIB_TEXT SSIB_ENTRY::*member;
    std::size_t counted;
    const char *answers[4];
  } rows[] = {
      {&SSIB_ENTRY::Job_ID, 64, {kBoth, kSame, kAny, kAny}},
      {&SSIB_ENTRY::Cmd_Line, 256, {kBoth, kSame, kAny, kAny}},
      {&SSIB_ENTRY::Task_Name, 256, {kBoth, kSame, kAny, kAny}},
      {&SSIB_ENTRY::LU_Category, 16, {kBoth, kSame, kAny, kAny}},
      {&SSIB_ENTRY::Display_Name, 256, {kAny, kWhere, kBoth, kWhere}},
      {&SSIB_ENTRY::Job_Type, 16, {kAny, kWhere, kBoth, kWhere}},
      {&SSIB_ENTRY::FQDD, 256, {kAny, kWhere, kBoth, kWhere}},
      {&SSIB_ENTRY::Resource_URI, 256, {kAny, kWhere, kBoth, kAny}},
      {&SSIB_ENTRY::Resource_Type, 256, {kAny, kWhere, kBoth, kAny}},
      {&SSIB_ENTRY::Resource_Namespace, 256, {kAny, kWhere, kBoth, kWhere}},
      {&SSIB_ENTRY::Target_Version, 256, {kAny, kWhere, kAny, kAny}},
  };
  for (const auto &row : rows) {
    const std::string same(row.counted - 1, 'x');
    std::string a = same + "ac", b = same + "bc", beyond = same + "ad";
    char *const pairs[][2] = {
        {a.data(), b.data()}, {a.data(), beyond.data()}, {nullptr, a.data()}, {a.data(), nullptr}, {}};
    for (std::size_t question = 0; question < 4; ++question) {
      std::string found;
      for (const auto &[one, other] : pairs) {
        Job element('F'), key('F');
        element.Node = key.Node = nullptr, key.Timeout = SSIB_DEFAULT_TIMEOUT;
        element.Timeout = SSIB_DEFAULT_TIMEOUT, element.*row.member = one, key.*row.member = other;
        found += agree(question, element, key, UINT32_MAX) ? "1" : "0";
      }
      EXPECT_EQ(found, row.answers[question]) << "row " << &row - rows << ", question " << question;
    }
  }
}

TEST_F(Rules, OfNumbersAndOfTheMaskHoldForEachQuestion) {
  const struct {
    const char *label;
    void (*change)(SSIB_ENTRY &);
    std::uint32_t bit;
    const char *answers;  // when it differs
  } rows[] = {
      {"Version", [](SSIB_ENTRY &entry) { entry.Version += 0x1000000; }, 0, "0011"},
      {"mode", [](SSIB_ENTRY &entry) { ++entry.mode; }, 0, "1001"},
      {"Block_ID", [](SSIB_ENTRY &entry) { entry.Block_ID ^= 0x100; }, 0, "0011"},
      {"RB_Type", [](SSIB_ENTRY &entry) { ++entry.RB_Type; }, SSIB_FIELD_RB_TYPE, "0011"},
      {"RB_Req", [](SSIB_ENTRY &entry) { ++entry.RB_Req; }, SSIB_FIELD_RB_REQ, "0011"},
      {"Timeout", [](SSIB_ENTRY &entry) { ++entry.Timeout; }, SSIB_FIELD_TIMEOUT, "0011"},
      {"Rtn_Code", [](SSIB_ENTRY &entry) { ++entry.Rtn_Code; }, SSIB_FIELD_RTN_CODE, "0011"},
      {"RT_Count", [](SSIB_ENTRY &entry) { ++entry.RT_Count; }, SSIB_FIELD_RT_COUNT, "1011"},
      {"Job_ID", [](SSIB_ENTRY &entry) { entry.Job_ID = nullptr; }, SSIB_FIELD_JOB_ID, "0011"},
  };
  for (const auto &[label, change, bit, answers] : rows) {
    Job element('F'), key('F');
    element.Timeout = key.Timeout = SSIB_DEFAULT_TIMEOUT;
    const Job same = key;
    change(key);
    for (std::size_t question = 0; question < 4; ++question) {
      EXPECT_TRUE(agree(question, element, same, UINT32_MAX)) << label << question;
      EXPECT_EQ(agree(question, element, key, bit), answers[question] == '1') << label << question;
    }
    EXPECT_EQ(agree(0, element, key, ~bit), bit != 0 || answers[0] == '1') << label;
  }
}

TEST_F(Compare, ExtraContentIsOrderedAsTextAndDiffersFromNone) {
  Job n('n'), o('n');
  o.Node = Job('o').Node;
  EXPECT_LT(static_cast<std::int32_t>(SSIBEntryCmp(&handle, &n, &o)), 0);
  EXPECT_GT(static_cast<std::int32_t>(SSIBEntryCmp(&handle, &o, &n)), 0);
  o.Node = nullptr;
  EXPECT_EQ(SSIBEntryCmp(&handle, &n, &o) + SSIBEntryCmp(&handle, &o, &n), 2U);
}

TEST_F(Replace, PutsACopyInTheEntrysPlace) {
  expectDialogues(
      {
          {"replaced", "replace b F",
           kReplacing + "00000000\n= 0\n1 Main.ssib [a5][" + kFullNumbers +
               " Cmd_Line=F Display_Name=F Target_Version=v Node=<n x=\"1\">t<m/></n> priority=5]\n"},
          {"missing", "replace c F",
           "iReplaceSSIBEntry|Entered\niReplaceSSIBEntry|Exit. 0x8000000e\n= 8000000e\n1 Main.ssib [a5][b5]\n"},
          {"null", "replace 0 a; replace a 0",
           "iReplaceSSIBEntry|Entered\niReplaceSSIBEntry|Exit. 0x80000002\n= 80000002\niReplaceSSIBEntry|Entered\n"
           "iReplaceSSIBEntry|Exit. 0x80000002\n= 80000002\n1 Main.ssib [a5][b5]\n"},
          {"no memory for the second text", "fail allocation 2; replace a F",
           kNoMemory + "1 Main.ssib [" + kFullNumbers + " priority=5][b5]\n"},
          {"no memory for the last text", "fail allocation 11; replace a F",
           kNoMemory + "1 Main.ssib [" + kFullNumbers + " Cmd_Line=F Display_Name=F priority=5][b5]\n"},
          {"no texts to compare", "add o; fail Serialize 0 0; replace o F",
           "= 0\niReplaceSSIBEntry|Entered\niReplaceSSIBEntry|Exit. 0x8000000e\n= 8000000e\n"
           "1 Main.ssib [a5][b5][ Timeout=600 Display_Name=o Node=<o/> priority=5]\n"},
      },
      "open Main.ssib; add ab", "iReplaceSSIBEntry|");
  const std::string compared = play("open a.json; add a; replace b a");
  EXPECT_NE(compared.find("|e1->Display_Name [b].\n|e2->Display_Name [a].\n"), std::string::npos) << compared;
}

TEST_F(Arguments, BadOnesAreRefusedAndChangeNothing) {
  const std::string before = outcome("file Main.ssib a; open Main.ssib");
  SSIB2_PRIVATE_DATA serviceless = handle;
  serviceless.XMLProto = nullptr;
  void *instance = &handle;
  Job job, key('a');
  SSIB_ENTRY *good[] = {&job, &job}, *holed[] = {&job, nullptr};
  host().forgetEvents();
  const std::vector<EFI_STATUS> rows[] = {
      {FindAProtocol(nullptr, &instance), FindAProtocol(&gQuorDebugGUID, nullptr), iCloseSSIB(nullptr)},
      {Protocol2Constructor(nullptr), Protocol2Destructor(nullptr), iParseFromJSON(nullptr, "[]")},
      {iOpenSSIB(nullptr, L"Main.ssib"), iOpenSSIB(&handle, nullptr), iDeleteSSIBEntry(nullptr, &key)},
      {iGetSSIBNextEntry(nullptr, &job), iGetSSIBNextEntry(&handle, nullptr), iGetSSIBNextEntry(&serviceless, &job)},
      {iPeekSSIBNextEntry(nullptr, &job), iPeekSSIBNextEntry(&handle, nullptr), iPeekSSIBNextEntry(&serviceless, &job)},
      {iAddToSSIBQueue(nullptr, 2, good, 0, 1), iAddToSSIBQueue(&serviceless, 2, good, 0, 1)},
      {iAddToSSIBQueue(&handle, 2, nullptr, 0, 1), iAddToSSIBQueue(&handle, 2, holed, 0, 1)},
      {iAddToSSIBQueue(&handle, 2, good, 0, 0), iAddToSSIBQueue(&handle, 2, good, 0, 3)},
      {iAddToSSIBQueue(&handle, 2, good, 0, 6), iFlushToJSON(nullptr), iFlushSSIBQueue(nullptr)},
      {iDeleteSSIB(nullptr, L"Main.ssib"), iDeleteSSIB(&handle, nullptr), iReplaceSSIBEntry(nullptr, &key, &key)},
      {iMergeToMain(nullptr, L"sub.ssib", 0), iMergeToMain(&handle, nullptr, 0)}};
  for (const auto &row : rows)
    EXPECT_EQ(row, std::vector<EFI_STATUS>(row.size(), EFI_INVALID_PARAMETER)) << "row " << &row - rows;
  const std::string deleting = "iDeleteSSIB|Entered iDeleteSSIB\\n\niDeleteSSIB|Exit. 0x80000002\n";
  const std::string merging = "iMergeToMain|Entered\niMergeToMain|Exit. 0x80000002\n";
  EXPECT_EQ(host().transcript(), "|SSIB2 is null\n" + deleting + deleting +
                                     "iReplaceSSIBEntry|Entered\niReplaceSSIBEntry|Exit. 0x80000002\n" + merging +
                                     merging);
  EXPECT_EQ(textOf(job), "");
  EXPECT_EQ("0; " + state(), before);
  EXPECT_EQ(instance, &handle);
  EXPECT_EQ(iAddToSSIBQueue(&handle, 0, nullptr, 0, 5), EFI_SUCCESS);
  EXPECT_EQ(SSIBEntryCmp(nullptr, nullptr, nullptr), 0U);
  EXPECT_EQ(SSIBEntryCmp(nullptr, &key, &key), 1U);
}

}  // namespace
}  // namespace test
