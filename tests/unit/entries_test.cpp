// SPDX-License-Identifier: MIT
// Getting, adding, deleting and removing entries: the copies that change hands, what is said, and what is refused, by
// the other operations too. Where entries go, which match and where the cursor stands is compared with the model.
#include <cstring>

#include "ssib_if2_backend/entry.h"
#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/xml_tree.h"
#include "support/describe.h"
#include "support/library_test.h"

namespace test {
namespace {

using Texts = std::vector<std::string>;

const std::string kFull =
    " Version=1 mode=1 Block_ID=2 RB_Type=3 RB_Req=4 Timeout=600 Rtn_Code=5 RT_Count=6 Job_ID=j Cmd_Line=run "
    "Task_Name=task Node=<n/> LU_Category=cat Display_Name=d Job_Type=t FQDD=f Resource_URI=u Resource_Type=r "
    "Resource_Namespace=n Target_Version=v";

class EntryTest : public LibraryTest {
 protected:
  void openWith(const Texts &commands) {
    host().setFile(L"Main.ssib", documentOf(commands));
    open();
  }

  // A job that has everything but a Timeout, in an open queue without others, under the cursor.
  void addFullJob() {
    open();
    const ssib::XmlTree node(treeOf("<n/>"), {handle.XMLProto});
    Job job;
    job.Version = 1, job.mode = 1, job.Block_ID = 2, job.RB_Type = 3, job.RB_Req = 4, job.Rtn_Code = 5;
    job.RT_Count = 6, job.Node = node.get();
    const char *const texts[] = {"j", "run", "task", "cat", "d", "t", "f", "u", "r", "n", "v"};
    for (std::size_t i = 0; i < std::size(texts); ++i) job.text(ssib::kStrings[i].member, texts[i]);
    SSIB_ENTRY *entries[] = {&job};
    ASSERT_EQ(iAddToSSIBQueue(&handle, 1, entries, ~0U, SSIB_ADD_PREPEND_HI), EFI_SUCCESS);
    EXPECT_EQ(job.Timeout, 600U);
    handle.ssibEntryListPtr = handle.ssibEntryListHead;
  }
};

class Get : public EntryTest {};
class Add : public EntryTest {};
class Delete : public EntryTest {};

TEST_F(Get, HandsOutACopyOfEverythingAndReportsEachStep) {
  std::string said =
      "|iPeekSSIBNextEntry. ssibEntryListPtr = @\n|iPeekSSIBNextEntry - Copying data from ssibEntryListPtr->entry\n"
      "dupeNode|About to dupe the XML Node\n|iPeekSSIBNextEntry - Done copying data\n"
      "|iGetSSIBNextEntry. ssibEntryListPtr = @\n|iGetSSIBNextEntry - Copying data from ssibEntryListPtr->entry\n"
      "|iGetSSIBNextEntry - Done mem copying\n";
  for (const std::string field : {"Job_ID", "Cmd_Line", "Task_Name", "", "LU_Category", "Display_Name", "Job_Type",
                                  "FQDD", "Resource_URI", "Resource_Type", "Resource_Namespace", "Target_Version"}) {
    said += !field.empty() ? "|iGetSSIBNextEntry - Done duping the " + field + "\n"
                           : "dupeNode|About to dupe the XML Node\n"
                             "|iGetSSIBNextEntry - Done copying data. Moving ssibEntryListPtr to 0\n";
  }
  addFullJob();
  SSIB_ENTRY entries[2];
  std::memset(entries, 0xAA, sizeof(entries));
  host().forgetEvents();
  ASSERT_EQ(iPeekSSIBNextEntry(&handle, &entries[0]), EFI_SUCCESS);
  ASSERT_EQ(iGetSSIBNextEntry(&handle, &entries[1]), EFI_SUCCESS);
  EXPECT_EQ(transcript(), said + "|iGetSSIBNextEntry - Done.\n");
  EXPECT_EQ(+handle.ssibEntryListPtr, nullptr);
  EXPECT_EQ(iDeleteSSIBEntry(&handle, &entries[0]), EFI_SUCCESS);
  for (SSIB_ENTRY &entry : entries) {
    EXPECT_EQ(textOf(entry), kFull);
    EXPECT_EQ(entry.Node->parent, nullptr);
    release(entry);
  }
  host().forgetEvents();
  EXPECT_EQ(iGetSSIBNextEntry(&handle, &entries[0]), EFI_END_OF_FILE);
  EXPECT_EQ(iPeekSSIBNextEntry(&handle, &entries[0]), EFI_END_OF_FILE);
  EXPECT_EQ(textOf(entries[0]), "");
  EXPECT_EQ(transcript(),
            "|iGetSSIBNextEntry. ssibEntryListPtr = 0\n|iGetSSIBNextEntry. Nothing found.\n"
            "|iPeekSSIBNextEntry. ssibEntryListPtr = 0\n|iPeekSSIBNextEntry. Nothing found.\n");
}

TEST_F(Add, KeepsACopyOfEverythingAndReportsEachStep) {
  addFullJob();
  EXPECT_EQ(
      transcript(),
      "|iAddToSSIBQueue - 1 entries addlocation = 1\n"
      "|WARNING: Invalid Timeout of 0, replacing with default value (600).\n"
      "|Job_ID: j\n|Cmd_Line: run\n|Task_Name: task\n|LU_Category: cat\n|Display_Name: d\n|Job_Type: t\n|FQDD: f\n"
      "|Resource_URI: u\n|Resource_Type: r\n|Resource_Namespace: n\n|Target_Version: v\n"
      "dupeNode|About to dupe the XML Node\n|ADDTOQ : Doing an Prepend HI\n"
      "|iAddToSSIBQueue - found insertion point based on priority\n"
      "|iAddToSSIBQueue - List is not null, adding BEFORE the found entry.\n|iAddToSSIBQueue - Done.\nDeleteTree\n");
  add(handle, xmlJob("b").text(&SSIB_ENTRY::Job_ID, "no bit"), SSIB_ADD_APPEND_HI, ~SSIB_FIELD_JOB_ID);
  EXPECT_EQ(textOf(handle.ssibEntryListHead),
            "[" + kFull + " mask=4294967295 priority=1]" +
                "[ Timeout=600 Cmd_Line=b Task_Name=task LU_Category=cat mask=4294967263 priority=2]");
  EXPECT_EQ(handle.mode, SSIB_MODE_DEFAULT);
  handle.ssibEntryListHead->next->priority = 200;  // a client's own: the end is behind it, too
  for (const std::uint32_t location : {2U, 4U, 5U}) {
    host().forgetEvents();
    add(handle, Job(), location);
    EXPECT_EQ(host().logTexts()[2], location == 5 ? "ADDTOQ : Doing an Append Lo" : "ADDTOQ : Doing an APPEND HI");
  }
  EXPECT_TRUE(textOf(handle.ssibEntryListHead).ends_with("priority=200][ Timeout=600 priority=5]"));
}

TEST_F(EntryTest, BadArgumentsAreRefusedSilentlyAndChangeNothing) {
  openWith({"a"});
  SSIB2_PRIVATE_DATA serviceless = handle;
  serviceless.XMLProto = nullptr;
  void *instance = &handle;
  Job job;
  const Job key = xmlJob("a");
  SSIB_ENTRY *good[] = {&job, &job}, *holed[] = {&job, nullptr};
  const std::pair<const char *, std::vector<EFI_STATUS>> rows[] = {
      {"find", {FindAProtocol(nullptr, &instance), FindAProtocol(&gQuorDebugGUID, nullptr)}},
      {"construct and destroy", {Protocol2Constructor(nullptr), Protocol2Destructor(nullptr)}},
      {"open and close", {iOpenSSIB(nullptr, L"Main.ssib"), iOpenSSIB(&handle, nullptr), iCloseSSIB(nullptr)}},
      {"get, null", {iGetSSIBNextEntry(nullptr, &job), iGetSSIBNextEntry(&handle, nullptr)}},
      {"peek, null", {iPeekSSIBNextEntry(nullptr, &job), iPeekSSIBNextEntry(&handle, nullptr)}},
      {"no service", {iGetSSIBNextEntry(&serviceless, &job), iPeekSSIBNextEntry(&serviceless, &job)}},
      {"add, handle", {iAddToSSIBQueue(nullptr, 2, good, 0, 1), iAddToSSIBQueue(&serviceless, 2, good, 0, 1)}},
      {"add, entries", {iAddToSSIBQueue(&handle, 2, nullptr, 0, 1), iAddToSSIBQueue(&handle, 2, holed, 0, 1)}},
      {"add, locations 0 and 3", {iAddToSSIBQueue(&handle, 2, good, 0, 0), iAddToSSIBQueue(&handle, 2, good, 0, 3)}},
      {"add, location 6", {iAddToSSIBQueue(&handle, 2, good, 0, 6)}},
      {"delete", {iDeleteSSIBEntry(nullptr, &key), iDeleteSSIBEntry(&handle, nullptr)}},
  };
  for (const auto &[label, statuses] : rows) {
    EXPECT_EQ(statuses, std::vector<EFI_STATUS>(statuses.size(), EFI_INVALID_PARAMETER)) << label;
  }
  EXPECT_EQ(transcript() + textOf(job), "");
  EXPECT_EQ(listOf(handle), Texts{"a"});
  EXPECT_EQ(+handle.ssibEntryListPtr, +handle.ssibEntryListHead);
  EXPECT_EQ(instance, &handle);
  EXPECT_EQ(iAddToSSIBQueue(&handle, 0, nullptr, 0, 5), EFI_SUCCESS);
  EXPECT_EQ(transcript(), "|iAddToSSIBQueue - 0 entries addlocation = 5\n");
}

TEST_F(Delete, ReportsEachStepAndRemovingWritesTheFileUnlessNothingMatched) {
  openWith({"a", "b"});
  const std::string found =
      "|iDeleteSSIBEntry - Look up result = @.\n|iDeleteSSIBEntry - found = @.\n"
      "|iDeleteSSIBEntry - Checking if ssibEntryListPtr (@) ==  entry to be deleted. (@)\n";
  const std::string moved = "|iDeleteSSIBEntry - yes...moving ssibEntryListPtr to 0\n";
  const std::string done =
      "|iDeleteSSIBEntry - Removing...\n|iDeleteSSIBEntry - done. Freeing pl..\n|iDeleteSSIBEntry - done freeing pl\n";
  const std::string missing = "|iDeleteSSIBEntry - Look up result = 0.\n|iDeleteSSIBEntry - Entry not found \n";
  const std::string removing = "|iRemoveFromSSIBQueue  - calling iDeleteSSIBEntry.\n";
  const std::string deleted = "|iRemoveFromSSIBQueue  - iDeleteSSIBEntry returned with ";
  const std::string flushing = "|iRemoveFromSSIBQueue  - Calling flush\n|iFlushSSIBQueue called\n";
  const Job a = xmlJob("a"), b = xmlJob("b"), c = xmlJob("c");
  EXPECT_EQ(iDeleteSSIBEntry(&handle, &b), EFI_SUCCESS);
  EXPECT_EQ(iDeleteSSIBEntry(&handle, &c), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iRemoveFromSSIBQueue(&handle, &c), EFI_INVALID_PARAMETER);
  EXPECT_EQ(transcript(), found + done + missing + removing + missing + deleted + "-2147483646.\n");
  EXPECT_EQ(host().file(L"Main.ssib"), documentOf({"a", "b"}));
  host().forgetEvents();
  EXPECT_EQ(iRemoveFromSSIBQueue(&handle, &a), EFI_SUCCESS);
  EXPECT_TRUE(transcript().starts_with(removing + found + moved + done + deleted + "0.\n" + flushing)) << transcript();
  EXPECT_EQ(host().logTexts().back(), "iRemoveFromSSIBQueue  - flush returned with 0");
  EXPECT_EQ(host().file(L"Main.ssib"), documentOf({}));
  EXPECT_EQ(+handle.ssibEntryListPtr, nullptr);
}

}  // namespace
}  // namespace test
