// SPDX-License-Identifier: MIT
#include "support/library_test.h"

#include <cstdlib>
#include <cwchar>

#include "ssib_if2_backend/entry.h"

namespace test {

Job xmlJob(const char *command) {
  Job job;
  job.Timeout = 600;
  return job.text(&SSIB_ENTRY::Cmd_Line, command)
      .text(&SSIB_ENTRY::Task_Name, "task")
      .text(&SSIB_ENTRY::LU_Category, "cat");
}

Job taskJob(const char *displayName, const char *jobType) {
  Job job;
  job.Timeout = 600;
  return job.text(&SSIB_ENTRY::Display_Name, displayName)
      .text(&SSIB_ENTRY::Job_Type, jobType)
      .text(&SSIB_ENTRY::FQDD, "fqdd")
      .text(&SSIB_ENTRY::Resource_URI, "uri")
      .text(&SSIB_ENTRY::Resource_Type, "type")
      .text(&SSIB_ENTRY::Resource_Namespace, "ns");
}

void release(SSIB_ENTRY &entry) {
  ssib::releaseContents(gSSSIB2pvt.XMLProto, entry);
  entry = {};
}

void add(SSIB2_PRIVATE_DATA &handle, Job job, std::uint32_t location, std::uint32_t fieldMask) {
  SSIB_ENTRY *entries[] = {&job};
  ASSERT_EQ(iAddToSSIBQueue(&handle, 1, entries, fieldMask, location), EFI_SUCCESS);
}

std::vector<std::string> listOf(const SSIB2_PRIVATE_DATA &handle, SSIB_TEXT SSIB_ENTRY::*member) {
  std::vector<std::string> texts;
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    const char *text = element->entry.*member;
    texts.emplace_back(text == nullptr ? "-" : text);
  }
  return texts;
}

Platform::Fault fault(const char *call, std::size_t nth, EFI_STATUS status, bool withResult) {
  return {call, nth, {status, withResult}};
}

std::string documentOf(const std::vector<std::string> &commands) {
  if (commands.empty()) return "<SSIB_INFO/>\n";
  std::string document = "<SSIB_INFO>\n";
  for (const std::string &command : commands) {
    document += "<SSIB_BLOCK Version=\"0\" BLOCK_ID=\"0\" LU_CATEGORY=\"cat\" TASK_NAME=\"task\">\n<CMD_LINE>" +
                command + "</CMD_LINE>\n</SSIB_BLOCK>\n";
  }
  return document + "</SSIB_INFO>\n";
}

void LibraryTest::SetUp() {
  resetPlatform();
  std::wcscpy(sVarskPartition, L"VAR025");
  liveBefore_ = heap::live();
  ASSERT_EQ(vyxSSIB2LinuxInitBackend(), EFI_SUCCESS);
  platform().forgetEvents();
}

void LibraryTest::TearDown() {
  while (handle.openCount != 0) iCloseSSIB(&handle);
  std::free(handle.ssibFileName);
  vyxSSIB2LinuxUnloadBackend();
  EXPECT_EQ(heap::live(), liveBefore_) << "blocks left behind";
  EXPECT_EQ(platform().openStreams, 0U) << "streams left behind";
}

bool LibraryTest::fails(const std::string &kind, std::size_t nth, const std::function<void()> &operation,
                        Answer answer) {
  host().faults = {{kind, nth, answer}};
  host().failWrites = kind == "write" && nth == 1;
  const heap::Watch watch(kind == "allocation" ? nth : 0);
  operation();
  const bool failed = host().failWrites || watch.failed() || host().faults[0].seen >= nth;
  host().faults.clear();
  host().failWrites = false;
  return failed;
}

void LibraryTest::open(const wchar_t *name) {
  ASSERT_EQ(iOpenSSIB(&handle, name), EFI_SUCCESS);
  platform().forgetEvents();
}

}  // namespace test
