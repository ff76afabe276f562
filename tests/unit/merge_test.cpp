// SPDX-License-Identifier: MIT
// Folding a sub-queue into its main queue: what the files hold afterwards, and after each thing that can go wrong.
#include <algorithm>
#include <cstring>

#include "support/library_test.h"

namespace test {
namespace {

using Lines = std::vector<std::string>;

struct Form {
  const char *label;
  const wchar_t *main, *sub;
  const char *mark;  // what stands in front of a job's name
  char end;          // and behind it
};
constexpr Form kForms[] = {{"XML", L"Main.ssib", L"sub.ssib", "<CMD_LINE>", '<'},
                           {"task list", L"BIOS_task_list.json", L"sub.json", "DisplayName\" : \"", '"'}};
constexpr const Form &kXml = kForms[0], &kTaskList = kForms[1];

class Merge : public LibraryTest {
 protected:
  // Writes a file with a job for each letter; "-" for no file.
  void give(const Form &form, const wchar_t *name, const std::string &jobs) {
    host().files.erase(L"VAR025/" + std::wstring(name));
    if (jobs == "-") return;
    if (jobs.empty()) return host().setFile(name, &form == &kXml ? "<SSIB_INFO/>\n" : "{\n \"SMAJob\":\n [\n ]\n}\n");
    open(name);
    for (const char letter : jobs) {
      const std::string job(1, letter);
      add(handle, &form == &kXml ? xmlJob(job.c_str()) : taskJob(job.c_str()));
    }
    ASSERT_EQ(iCloseSSIB(&handle), EFI_SUCCESS);
  }

  void give(const Form &form, const std::string &main, const std::string &sub) {
    host().faults.clear();
    give(form, form.main, main);
    give(form, form.sub, sub);
    host().forgetEvents();
  }

  std::string jobsIn(const Form &form, const wchar_t *name) {
    const std::string text = host().file(name);
    if (text == "<none>") return "-";
    std::string jobs;
    for (std::size_t at = 0; (at = text.find(form.mark, at)) != std::string::npos;) {
      at += std::string(form.mark).size();
      jobs += text.substr(at, text.find(form.end, at) - at);
    }
    return jobs;
  }

  void expectFiles(const Form &form, const std::string &main, const std::string &sub) {
    EXPECT_EQ(jobsIn(form, form.main), main);
    EXPECT_EQ(jobsIn(form, form.sub), sub);
  }
};

TEST_F(Merge, PutsTheEntriesBehindThoseOfTheMainQueue) {
  const struct {
    const char *label, *main, *sub;
    bool deletes;
    const char *merged, *subLeft[2];  // in each form
  } rows[] = {
      {"both have jobs", "XY", "AB", false, "XYAB", {"", "AB"}},
      {"deleting the sub-queue", "XY", "AB", true, "XYAB", {"-", "-"}},
      {"no main file", "-", "AB", false, "AB", {"", "AB"}},
      {"empty main file", "", "A", true, "A", {"-", "-"}},
      {"empty sub-queue", "XY", "", false, "XY", {"", ""}},
      {"a job in both", "XA", "A", false, "XAA", {"", "A"}},
  };
  for (const Form &form : kForms) {
    for (const auto &row : rows) {
      SCOPED_TRACE(std::string(form.label) + ": " + row.label);
      give(form, row.main, row.sub);
      EXPECT_EQ(iMergeToMain(&handle, form.sub, row.deletes), EFI_SUCCESS);
      expectFiles(form, row.merged, row.subLeft[&form - kForms]);
    }
    give(form, "XY", "-");
    EXPECT_EQ(iMergeToMain(&handle, form.main, 0), EFI_SUCCESS);
    expectFiles(form, "XYXY", "-");
  }
}

TEST_F(Merge, EmptiesAndDeletesTheSubQueueBeforeItWritesTheMainOne) {
  give(kXml, "XY", "AB");
  ASSERT_EQ(iMergeToMain(&handle, L"sub.ssib", 2), EFI_SUCCESS);
  Lines steps;
  for (const std::string &event : host().events) {
    const bool isAccess = event.starts_with("open") || event.starts_with("delete") || event.ends_with(" w");
    if (isAccess || event.starts_with("iMergeToMain|") || event.find("fdelete") != std::string::npos)
      steps.push_back(event);
  }
  const auto trace =
      std::ranges::find_if(steps, [](const std::string &step) { return step.starts_with("trace|ssib_if2_backend:"); });
  ASSERT_NE(trace, steps.end());
  EXPECT_TRUE(trace->ends_with(":Calling varsk_fdelete() with partition:VAR025 and filename: sub.ssib"));
  *trace = "trace";
  EXPECT_EQ(steps, (Lines{"iMergeToMain|Entered", "open VAR025/sub.ssib r", "open VAR025/sub.ssib r",
                          "open VAR025/sub.ssib r", "iMergeToMain|Merging to Main.ssib", "open VAR025/Main.ssib r",
                          "open VAR025/Main.ssib r", "open VAR025/sub.ssib w", "close VAR025 w",
                          "delete VAR025/sub.ssib", "trace", "open VAR025/Main.ssib w", "close VAR025 w"}));
}

TEST_F(Merge, NeverTouchesTheCallersHandle) {
  give(kXml, "XY", "AB");
  open(L"other.ssib");
  const SSIB2_PRIVATE_DATA before = handle;
  ASSERT_EQ(iMergeToMain(&handle, L"sub.ssib", 0), EFI_SUCCESS);
  EXPECT_EQ(std::memcmp(static_cast<const void *>(&handle), &before, sizeof(before)), 0);
}

TEST_F(Merge, FailuresSayWhatFailedAndLeaveBothFiles) {
  const Lines noSub = {"Could not locate SSIB list"}, sub = {"Error opening SSIB"};
  const Lines mainQueue = {"Merging to Main.ssib", "Error opening main SSIB"};
  const Lines mainList = {"Merging to smajob.json", "Error opening main SSIB"};
  const struct {
    const char *label;
    const Form &form;
    std::size_t nth;         // open that fails; 0: none
    const wchar_t *damaged;  // file that does not parse
    EFI_STATUS answer, status;
    const Lines &lines;
  } rows[] = {
      {"no sub-queue", kXml, 1, nullptr, EFI_NOT_FOUND, EFI_NOT_FOUND, noSub},
      {"sub-queue refused", kXml, 2, nullptr, EFI_ACCESS_DENIED, EFI_ACCESS_DENIED, sub},
      {"task list does not open", kTaskList, 3, nullptr, EFI_DEVICE_ERROR, EFI_ABORTED, sub},
      {"damaged sub-queue", kXml, 0, L"sub.ssib", 0, EFI_INVALID_PARAMETER, sub},
      {"damaged task list", kTaskList, 0, L"sub.json", 0, EFI_INVALID_PARAMETER, sub},
      {"main queue refused", kXml, 4, nullptr, EFI_ACCESS_DENIED, EFI_ACCESS_DENIED, mainQueue},
      {"main list does not open", kTaskList, 5, nullptr, EFI_DEVICE_ERROR, EFI_ABORTED, mainList},
      {"damaged main queue", kXml, 0, L"Main.ssib", 0, EFI_INVALID_PARAMETER, mainQueue},
      {"damaged main list", kTaskList, 0, L"BIOS_task_list.json", 0, EFI_INVALID_PARAMETER, mainList},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    give(row.form, "XY", "AB");
    if (row.damaged != nullptr) host().setFile(row.damaged, "neither form");
    if (row.nth != 0) host().failCall("open", row.nth, {row.answer, false});
    const auto before = host().files;
    const std::size_t blocks = heap::live();
    EXPECT_EQ(iMergeToMain(&handle, row.form.sub, 1), row.status);
    EXPECT_EQ(host().files, before);
    EXPECT_EQ(heap::live(), blocks);
    Lines expected = row.lines;
    expected.insert(expected.begin(), "Entered");
    char exit[32];
    std::snprintf(exit, sizeof(exit), "Exit. 0x%08x", row.status);
    expected.push_back(exit);
    EXPECT_EQ(host().logTexts("iMergeToMain"), expected);
  }
}

TEST_F(Merge, WithoutAServiceForEitherHandleSaysWhich) {
  give(kXml, "XY", "AB");
  ::testing::internal::CaptureStderr();
  for (const auto &[failing, line] : {std::pair<std::size_t, const char *>{1, "Error constructing main protocol"},
                                      {3, "Error constructing sub protocol"}}) {
    const heap::Watch watch(
        failing);  // the array of instances: the handle's XML service, its debug log, the next handle's
    EXPECT_EQ(iMergeToMain(&handle, L"sub.ssib", 0), EFI_NOT_FOUND);
    EXPECT_EQ(host().logTexts("iMergeToMain"), (Lines{"Entered", line, "Exit. 0x8000000e"}));
    host().forgetEvents();
  }
  ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(iMergeToMain(nullptr, L"sub.ssib", 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iMergeToMain(&handle, nullptr, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(host().logTexts("iMergeToMain"), (Lines{"Entered", "Exit. 0x80000002", "Entered", "Exit. 0x80000002"}));
  expectFiles(kXml, "XY", "AB");
}

// A refused file is not taken for a missing one, so every call of the platform answers EFI_ACCESS_DENIED once. Memory
// fails for the XML form alone: a task list's reader drops a text that it has no memory for.
TEST_F(Merge, LosesJobsOnlyWhenTheMainQueueCannotBeWritten) {
  const auto fails = [this](const Form &form, bool memory, std::size_t nth, EFI_STATUS *status) {
    const heap::Watch watch(memory ? nth : 0);
    if (!memory) host().failCall("", nth, {EFI_ACCESS_DENIED, false});
    *status = iMergeToMain(&handle, form.sub, 0);
    return memory ? watch.failed() : host().faults.back().seen >= nth;
  };
  ::testing::internal::CaptureStderr();
  for (const auto &[form, memory] : {std::pair<const Form &, bool>{kXml, false}, {kXml, true}, {kTaskList, false}}) {
    EFI_STATUS status = EFI_SUCCESS;
    for (std::size_t nth = 1;; ++nth) {
      SCOPED_TRACE(std::string(form.label) + (memory ? ", allocation " : ", call ") + std::to_string(nth));
      give(form, "XY", "AB");
      const std::size_t blocks = heap::live();
      if (!fails(form, memory, nth, &status)) break;
      EXPECT_EQ(heap::live(), blocks);
      if (status != EFI_SUCCESS) {
        expectFiles(form, "XY", "AB");
      } else if (jobsIn(form, form.main) == "XY") {
        const std::string last = memory ? "SerializeTree" : host().calls.at(nth - 1);
        EXPECT_TRUE(last == "CreateNode SSIB_INFO" || last == "SerializeTree" || last.ends_with(" w")) << last;
        EXPECT_EQ(jobsIn(form, form.sub), &form == &kXml ? "" : "AB");
      } else {
        EXPECT_EQ(jobsIn(form, form.main), "XYAB");
      }
    }
  }
  ::testing::internal::GetCapturedStderr();
}

}  // namespace
}  // namespace test
