// SPDX-License-Identifier: MIT
// Getting, adding, deleting and removing entries.
#include <cstring>
#include <functional>

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/xml_tree.h"
#include "support/describe.h"
#include "support/library_test.h"

namespace test {
namespace {

using Texts = std::vector<std::string>;

class EntryTest : public LibraryTest {
 protected:
  void openWith(const Texts &commands) {
    host().setFile(L"Main.ssib", documentOf(commands));
    open();
  }

  // What get or peek hands out: the command, or the status.
  std::string next(EFI_STATUS (*operation)(SSIB2_PRIVATE_DATA *, SSIB_ENTRY *)) {
    SSIB_ENTRY entry = {};
    const EFI_STATUS status = operation(&handle, &entry);
    const std::string text = EFI_ERROR(status) ? textOf(entry) + std::to_string(status & 0xFF) : entry.Cmd_Line;
    release(entry);
    return text;
  }
  std::string get() { return next(iGetSSIBNextEntry); }
  std::string peek() { return next(iPeekSSIBNextEntry); }
};

class Get : public EntryTest {};
class Add : public EntryTest {};
class Delete : public EntryTest {};
class Remove : public EntryTest {};

// A job that has everything; its Node is the caller's.
Job fullJob(XML_NODE *node) {
  Job job = xmlJob("run");
  job.Version = 1, job.mode = 1, job.Block_ID = 2, job.RB_Type = 3, job.RB_Req = 4, job.Rtn_Code = 5, job.RT_Count = 6;
  job.Timeout = 0, job.Node = node;
  const char *const texts[] = {"j", "run", "task", "cat", "d", "t", "f", "u", "r", "n", "v"};
  for (std::size_t i = 0; i < std::size(texts); ++i) job.text(ssib::kStrings[i].member, texts[i]);
  return job;
}

const std::string kFullStart =
    " Version=1 mode=1 Block_ID=2 RB_Type=3 RB_Req=4 Timeout=600 Rtn_Code=5 RT_Count=6 Job_ID=j Cmd_Line=run "
    "Task_Name=task";
const std::string kFullEnd =
    " LU_Category=cat Display_Name=d Job_Type=t FQDD=f Resource_URI=u Resource_Type=r Resource_Namespace=n "
    "Target_Version=v";

TEST_F(Get, WalksTheListOnceAndPeekStays) {
  openWith({"a", "b"});
  const Texts walk = {peek(), peek(), get(), peek(), get(), get(), peek(), get()};
  EXPECT_EQ(walk, (Texts{"a", "a", "a", "b", "b", "31", "31", "31"}));
  add(handle, xmlJob("c"));
  EXPECT_EQ(get(), "31") << "the walk is over until the next open";
  iCloseSSIB(&handle);
  open();
  EXPECT_EQ((Texts{get(), get(), get()}), (Texts{"a", "b", "c"}));
}

TEST_F(Get, HandsOutIndependentCopiesOfEverything) {
  const ssib::XmlTree node(handle.XMLProto, treeOf("<n>x</n>"));
  Job job = fullJob(node.get());
  const std::string whole = kFullStart + " Node=<n>x</n>" + kFullEnd;
  for (const auto &operation : {iPeekSSIBNextEntry, iGetSSIBNextEntry}) {
    add(handle, job, SSIB_ADD_APPEND_LO, SSIB_FIELD_JOB_ID);
    handle.ssibEntryListPtr = handle.ssibEntryListHead;
    SSIB_ENTRY entry;
    std::memset(&entry, 0xAA, sizeof(entry));
    ASSERT_EQ(operation(&handle, &entry), EFI_SUCCESS);
    EXPECT_EQ(entry.Node->parent, nullptr);
    job.Timeout = 600;
    ASSERT_EQ(iDeleteSSIBEntry(&handle, &job), EFI_SUCCESS);
    EXPECT_EQ(textOf(entry), whole);
    release(entry);
  }
  add(handle, xmlJob("only"));
  handle.ssibEntryListPtr = handle.ssibEntryListHead;
  SSIB_ENTRY entry;
  ASSERT_EQ(iGetSSIBNextEntry(&handle, &entry), EFI_SUCCESS);
  EXPECT_EQ(textOf(entry), " Timeout=600 Cmd_Line=only Task_Name=task LU_Category=cat");
  release(entry);
  ssib::freeListOf(handle);
}

TEST_F(Get, ReportsEachStep) {
  openWith({"a"});
  handle.ssibEntryListHead->entry.Node = treeOf("<n/>");
  peek();
  EXPECT_EQ(
      transcript(),
      "|iPeekSSIBNextEntry. ssibEntryListPtr = @\n|iPeekSSIBNextEntry - Copying data from ssibEntryListPtr->entry\n"
      "dupeNode|About to dupe the XML Node\n|iPeekSSIBNextEntry - Done copying data\nDeleteTree\n");
  host().forgetEvents();
  get();
  std::string expected =
      "|iGetSSIBNextEntry. ssibEntryListPtr = @\n|iGetSSIBNextEntry - Copying data from ssibEntryListPtr->entry\n"
      "|iGetSSIBNextEntry - Done mem copying\n";
  for (const char *field : {"Job_ID", "Cmd_Line", "Task_Name", "", "LU_Category", "Display_Name", "Job_Type", "FQDD",
                            "Resource_URI", "Resource_Type", "Resource_Namespace", "Target_Version"}) {
    expected += *field != 0 ? "|iGetSSIBNextEntry - Done duping the " + std::string(field) + "\n"
                            : "dupeNode|About to dupe the XML Node\n"
                              "|iGetSSIBNextEntry - Done copying data. Moving ssibEntryListPtr to 0\n";
  }
  EXPECT_EQ(transcript(), expected + "|iGetSSIBNextEntry - Done.\nDeleteTree\n");
  host().forgetEvents();
  get(), peek();
  EXPECT_EQ(transcript(),
            "|iGetSSIBNextEntry. ssibEntryListPtr = 0\n|iGetSSIBNextEntry. Nothing found.\n"
            "|iPeekSSIBNextEntry. ssibEntryListPtr = 0\n|iPeekSSIBNextEntry. Nothing found.\n");
}

TEST_F(Get, RefusesBadArgumentsSilently) {
  openWith({"a"});
  SSIB2_PRIVATE_DATA other = handle;
  other.XMLProto = nullptr;
  SSIB_ENTRY entry = {};
  for (const auto &operation : {iGetSSIBNextEntry, iPeekSSIBNextEntry}) {
    EXPECT_EQ(operation(nullptr, &entry), EFI_INVALID_PARAMETER);
    EXPECT_EQ(operation(&handle, nullptr), EFI_INVALID_PARAMETER);
    EXPECT_EQ(operation(&other, &entry), EFI_INVALID_PARAMETER);
  }
  EXPECT_EQ(textOf(entry) + transcript(), "");
  EXPECT_EQ(handle.ssibEntryListPtr, handle.ssibEntryListHead);
}

TEST_F(Add, PutsEachEntryBehindItsEquals) {
  openWith({"F1", "F2"});
  struct {
    const char *name;
    std::uint32_t location;
    Texts list;
  } const steps[] = {
      {"N1", SSIB_ADD_PREPEND_HI, {"N1", "F1", "F2"}},
      {"N2", SSIB_ADD_PREPEND_HI, {"N1", "N2", "F1", "F2"}},
      {"N3", SSIB_ADD_APPEND_HI, {"N1", "N2", "N3", "F1", "F2"}},
      {"N4", SSIB_ADD_PREPEND_LO, {"N1", "N2", "N3", "F1", "F2", "N4"}},
      {"N5", SSIB_ADD_APPEND_LO, {"N1", "N2", "N3", "F1", "F2", "N4", "N5"}},
      {"N6", SSIB_ADD_PREPEND_LO, {"N1", "N2", "N3", "F1", "F2", "N4", "N6", "N5"}},
  };
  for (const auto &step : steps) {
    add(handle, xmlJob(step.name), step.location);
    EXPECT_EQ(listOf(handle), step.list);
  }
  Job first = xmlJob("M1"), second = xmlJob("M2");
  SSIB_ENTRY *batch[] = {&first, &second};
  ASSERT_EQ(iAddToSSIBQueue(&handle, 2, batch, 0, SSIB_ADD_PREPEND_HI), EFI_SUCCESS);
  EXPECT_EQ(listOf(handle), (Texts{"N1", "N2", "M1", "M2", "N3", "F1", "F2", "N4", "N6", "N5"}));
  EXPECT_EQ((Texts{get(), get(), get()}), (Texts{"F1", "F2", "N4"})) << "adding does not move the cursor";
}

TEST_F(Add, KeepsACopyOfEverythingAndReportsEachStep) {
  open();
  ssib::XmlTree node(handle.XMLProto, treeOf("<n/>"));
  Job job = fullJob(node.get());
  SSIB_ENTRY *entries[] = {&job};
  ASSERT_EQ(iAddToSSIBQueue(&handle, 1, entries, 0xFFFFFFFF, SSIB_ADD_PREPEND_HI), EFI_SUCCESS);
  EXPECT_EQ(job.Timeout, 600U);
  EXPECT_EQ(
      transcript(),
      "|iAddToSSIBQueue - 1 entries addlocation = 1\n"
      "|WARNING: Invalid Timeout of 0, replacing with default value (600).\n"
      "|Job_ID: j\n|Cmd_Line: run\n|Task_Name: task\n|LU_Category: cat\n|Display_Name: d\n|Job_Type: t\n|FQDD: f\n"
      "|Resource_URI: u\n|Resource_Type: r\n|Resource_Namespace: n\n|Target_Version: v\n"
      "dupeNode|About to dupe the XML Node\n|ADDTOQ : Doing an Prepend HI\n"
      "|iAddToSSIBQueue - found insertion point based on priority\n"
      "|iAddToSSIBQueue - List is not null, adding BEFORE the found entry.\n|iAddToSSIBQueue - Done.\n");
  job.Timeout = 7, job.Node = nullptr;
  add(handle, job, SSIB_ADD_APPEND_HI, ~SSIB_FIELD_JOB_ID);
  EXPECT_EQ(textOf(handle.ssibEntryListHead),
            "[" + kFullStart + " Node=<n/>" + kFullEnd + " mask=4294967295 priority=1][" +
                " Version=1 mode=1 Block_ID=2 RB_Type=3 RB_Req=4 Timeout=7 Rtn_Code=5 RT_Count=6 Cmd_Line=run "
                "Task_Name=task" +
                kFullEnd + " mask=4294967263 priority=2]");
  EXPECT_EQ(handle.mode, SSIB_MODE_DEFAULT);
  EXPECT_EQ(handle.ssibEntryListPtr, nullptr);
  for (const std::uint32_t location : {2U, 4U, 5U}) {
    host().forgetEvents();
    add(handle, Job(), location);
    EXPECT_EQ(host().logTexts()[2], location == 5 ? "ADDTOQ : Doing an Append Lo" : "ADDTOQ : Doing an APPEND HI");
  }
}

TEST_F(Add, RefusesBadArgumentsSilently) {
  openWith({"a"});
  SSIB2_PRIVATE_DATA noService = handle;
  noService.XMLProto = nullptr;
  Job job;
  SSIB_ENTRY *good[] = {&job, &job}, *holed[] = {&job, nullptr};
  const struct {
    const char *label;
    SSIB2_PRIVATE_DATA *handle;
    SSIB_ENTRY **entries;
    std::uint32_t location;
  } rows[] = {{"no handle", nullptr, good, 1},           {"no service", &noService, good, 1},
              {"location 0", &handle, good, 0},          {"location 3", &handle, good, 3},
              {"location 6", &handle, good, 6},          {"no array", &handle, nullptr, 1},
              {"a null in the array", &handle, holed, 1}};
  for (const auto &row : rows) {
    EXPECT_EQ(iAddToSSIBQueue(row.handle, 2, row.entries, 0, row.location), EFI_INVALID_PARAMETER) << row.label;
  }
  EXPECT_EQ(job.Timeout, 0U);
  EXPECT_EQ(transcript(), "");
  EXPECT_EQ(iAddToSSIBQueue(&handle, 0, nullptr, 0, 5), EFI_SUCCESS);
  EXPECT_EQ(transcript(), "|iAddToSSIBQueue - 0 entries addlocation = 5\n");
  EXPECT_EQ(listOf(handle), Texts{"a"});
}

TEST_F(Delete, LooksAtTheFieldsOfItsForm) {
  enum Matches : int { kXml = 1, kTasks = 2, kBoth = 3, kXmlUnmasked = 4 };
  struct {
    const char *label;
    std::function<void(Job &)> change;
    int matches;  // in which form a changed entry still matches; with kXmlUnmasked only when its bit is clear
  } const rows[] = {
      {"nothing", [](Job &) {}, kBoth},
      {"Version", [](Job &j) { j.Version ^= 1U << 31; }, kTasks},
      {"mode", [](Job &j) { j.mode ^= 1; }, kXml},
      {"Block_ID", [](Job &j) { j.Block_ID ^= 0x8000; }, kTasks},
      {"RB_Type", [](Job &j) { j.RB_Type ^= 1; }, kTasks | kXmlUnmasked},
      {"RB_Req", [](Job &j) { j.RB_Req ^= 1; }, kTasks | kXmlUnmasked},
      {"Timeout", [](Job &j) { j.Timeout ^= 1U << 31; }, kTasks | kXmlUnmasked},
      {"Rtn_Code", [](Job &j) { j.Rtn_Code ^= 1U << 31; }, kTasks | kXmlUnmasked},
      {"RT_Count", [](Job &j) { j.RT_Count ^= 1; }, kBoth},
      {"Node", [](Job &j) { j.Node = nullptr; }, kBoth},
  };
  const struct {
    std::size_t compared;  // bytes
    int matches;
  } texts[] = {{64, kTasks | kXmlUnmasked},
               {256, kTasks},
               {256, kTasks},
               {16, kTasks},
               {256, kXml},
               {16, kXml},
               {256, kXml},
               {256, kXml},
               {256, kXml},
               {256, kXml},
               {256, kBoth}};
  const auto deletes = [&](Job stored, const Job &key, int form, std::uint32_t fieldMask) {
    add(handle, stored, SSIB_ADD_APPEND_LO, fieldMask);
    handle.mode = form == kTasks ? SSIB_MODE_BIOS_SMA : SSIB_MODE_DEFAULT;
    const bool deleted = iDeleteSSIBEntry(&handle, &key) == EFI_SUCCESS;
    EXPECT_EQ(handle.ssibEntryListHead == nullptr, deleted);
    ssib::freeListOf(handle);
    return deleted;
  };
  const auto check = [&](const Job &stored, const Job &key, int matches) {
    EXPECT_EQ(deletes(stored, key, kXml, 0x3F), (matches & kXml) != 0) << "XML";
    EXPECT_EQ(deletes(stored, key, kXml, 0), (matches & (kXml | kXmlUnmasked)) != 0) << "XML, no bits";
    EXPECT_EQ(deletes(stored, key, kTasks, 0x3F), (matches & kTasks) != 0) << "task list";
  };
  const ssib::XmlTree node(handle.XMLProto, treeOf("<n/>"));
  Job full = fullJob(node.get());
  full.Timeout = 1;
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    Job changed = full;
    row.change(changed);
    check(full, changed, row.matches);
  }
  for (std::size_t i = 0; i < std::size(texts); ++i) {
    SCOPED_TRACE("string " + std::to_string(i));
    const std::string one(texts[i].compared, 'x'), longer = one + "b", other = one.substr(1) + "b";
    const int matches = texts[i].matches;
    const auto with = [&](const char *text) { return Job(full).text(ssib::kStrings[i].member, text); };
    check(with(one.c_str()), with(longer.c_str()), kBoth);
    check(with(one.c_str()), with(other.c_str()), matches);
    check(with(""), with(""), kBoth);
    check(with(one.c_str()), with(nullptr), matches);
    check(with(nullptr), with(one.c_str()), matches);
    check(with(nullptr), with(nullptr), matches);
  }
}

TEST_F(Delete, KeepsTheCursorOnTheNextEntry) {
  struct {
    int gets;
    const char *deleted;
    Texts list;
    const char *next;
  } const rows[] = {{1, "b", {"a", "c"}, "c"},  {1, "a", {"b", "c"}, "b"}, {1, "c", {"a", "b"}, "b"},
                    {2, "c", {"a", "b"}, "31"}, {0, "a", {"b", "c"}, "b"}, {3, "c", {"a", "b"}, "31"}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.deleted);
    openWith({"a", "b", "c"});
    for (int i = 0; i < row.gets; ++i) get();
    const Job key = xmlJob(row.deleted);
    EXPECT_EQ(iDeleteSSIBEntry(&handle, &key), EFI_SUCCESS);
    EXPECT_EQ(listOf(handle), row.list);
    EXPECT_EQ(get(), row.next);
    iCloseSSIB(&handle);
  }
}

TEST_F(Delete, TakesTheFirstOfTwoAndReportsEachStep) {
  openWith({"a", "b"});
  add(handle, xmlJob("b"));
  const Job key = xmlJob("b"), first = xmlJob("a"), none = xmlJob("c");
  ASSERT_EQ(iDeleteSSIBEntry(&handle, &key), EFI_SUCCESS);
  EXPECT_EQ(textOf(handle.ssibEntryListHead),
            "[ Cmd_Line=a Task_Name=task LU_Category=cat]"
            "[ Timeout=600 Cmd_Line=b Task_Name=task LU_Category=cat priority=5]");
  ASSERT_EQ(iDeleteSSIBEntry(&handle, &key), EFI_SUCCESS);
  host().forgetEvents();
  ASSERT_EQ(iDeleteSSIBEntry(&handle, &first), EFI_SUCCESS);
  EXPECT_EQ(handle.ssibEntryListHead, nullptr);
  EXPECT_EQ(handle.ssibEntryListPtr, nullptr);
  EXPECT_EQ(transcript(),
            "|iDeleteSSIBEntry - Look up result = @.\n|iDeleteSSIBEntry - found = @.\n"
            "|iDeleteSSIBEntry - Checking if ssibEntryListPtr (@) ==  entry to be deleted. (@)\n"
            "|iDeleteSSIBEntry - yes...moving ssibEntryListPtr to 0\n|iDeleteSSIBEntry - Removing...\n"
            "|iDeleteSSIBEntry - done. Freeing pl..\n|iDeleteSSIBEntry - done freeing pl\n");
  host().forgetEvents();
  EXPECT_EQ(iDeleteSSIBEntry(&handle, &none), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iDeleteSSIBEntry(nullptr, &none), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iDeleteSSIBEntry(&handle, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(transcript(), "|iDeleteSSIBEntry - Look up result = 0.\n|iDeleteSSIBEntry - Entry not found \n");
}

TEST_F(Remove, WritesTheFileUnlessNothingMatched) {
  openWith({"a", "b", "c"});
  const std::string old = host().file(L"Main.ssib");
  const Job a = xmlJob("a"), b = xmlJob("b"), none = xmlJob("x");
  EXPECT_EQ(iRemoveFromSSIBQueue(&handle, &none), EFI_INVALID_PARAMETER);
  EXPECT_EQ(transcript(),
            "|iRemoveFromSSIBQueue  - calling iDeleteSSIBEntry.\n|iDeleteSSIBEntry - Look up result = 0.\n"
            "|iDeleteSSIBEntry - Entry not found \n"
            "|iRemoveFromSSIBQueue  - iDeleteSSIBEntry returned with -2147483646.\n");
  EXPECT_EQ(iRemoveFromSSIBQueue(nullptr, &a), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iRemoveFromSSIBQueue(&handle, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(host().file(L"Main.ssib"), old);
  host().failCall("open VAR025/Main.ssib w");
  EXPECT_EQ(iRemoveFromSSIBQueue(&handle, &a), SSIB_STATUS_NO_FILE);
  EXPECT_EQ(host().logTexts().back(), "iRemoveFromSSIBQueue  - flush returned with 3145737");
  EXPECT_EQ(host().file(L"Main.ssib"), old);
  EXPECT_EQ(listOf(handle), (Texts{"b", "c"}));
  host().forgetEvents();
  EXPECT_EQ(iRemoveFromSSIBQueue(&handle, &b), EFI_SUCCESS);
  EXPECT_EQ(host().file(L"Main.ssib"), documentOf({"c"}));
  EXPECT_NE(transcript().find("|iDeleteSSIBEntry - done freeing pl\n"
                              "|iRemoveFromSSIBQueue  - iDeleteSSIBEntry returned with 0.\n"
                              "|iRemoveFromSSIBQueue  - Calling flush\n|iFlushSSIBQueue called\n"),
            std::string::npos);
  EXPECT_EQ(host().logTexts().back(), "iRemoveFromSSIBQueue  - flush returned with 0");
}

}  // namespace
}  // namespace test
