// SPDX-License-Identifier: MIT
// Folding a sub-queue into its main queue: what the files hold afterwards, and after each thing that can go wrong.
#include <algorithm>
#include <set>

#include "support/library_test.h"
#include "support/literal_task_list.h"

namespace test {
namespace {

using Lines = std::vector<std::string>;

struct Form {
  const char *label;
  const wchar_t *main, *sub;
  bool isTaskList;

  // A file with a job for each letter; "-" for no file.
  std::string file(const std::string &jobs) const {
    if (jobs == "-") return "<none>";
    Lines names;
    for (const char letter : jobs) names.emplace_back(1, letter);
    std::vector<LiteralJob> tasks;
    for (const std::string &name : names) tasks.push_back({"OTHER", name, "fqdd"});
    return isTaskList ? literallyWrite(tasks, "").bytes : documentOf(names);
  }

  std::string jobsIn(const std::string &contents) const {
    for (const char *jobs : {"-", "", "AB", "XY", "XYAB"})
      if (contents == file(jobs)) return jobs;
    return "a text missing";
  }
};
constexpr Form kXml = {"XML", L"Main.ssib", L"sub.ssib", false};
constexpr Form kTaskList = {"task list", L"BIOS_task_list.json", L"sub.json", true};

class Merge : public LibraryTest {
 protected:
  void give(const Form &form, const std::string &main, const std::string &sub) {
    host() = Platform();
    if (main != "-") host().setFile(form.main, form.file(main));
    if (sub != "-") host().setFile(form.sub, form.file(sub));
  }
  void expectFiles(const Form &form, const std::string &main, const std::string &sub) {
    EXPECT_EQ(host().file(form.main), form.file(main));
    EXPECT_EQ(host().file(form.sub), form.file(sub));
  }

  struct Outcomes {
    std::set<std::string> all, losses;
  };
  bool seen(const Form &form, std::uint32_t deletes, const std::string &kind, std::size_t nth, Answer answer,
            Outcomes &outcomes);
};

TEST_F(Merge, PutsTheEntriesBehindThoseOfTheMainQueue) {
  const struct {
    const char *label, *main, *sub;
    std::uint32_t deletes;
    const char *merged, *subLeft[2];  // in each form
  } rows[] = {
      {"both have jobs", "XY", "AB", 0, "XYAB", {"", "AB"}},
      {"deleting the sub-queue", "XY", "AB", 2, "XYAB", {"-", "-"}},
      {"no main file", "-", "AB", 0, "AB", {"", "AB"}},
      {"empty sub-queue", "XY", "", 0, "XY", {"", ""}},
      {"a job in both", "XA", "A", 0, "XAA", {"", "A"}},
  };
  for (const Form &form : {kXml, kTaskList}) {
    for (const auto &row : rows) {
      SCOPED_TRACE(std::string(form.label) + ": " + row.label);
      give(form, row.main, row.sub);
      EXPECT_EQ(iMergeToMain(&handle, form.sub, row.deletes), EFI_SUCCESS);
      EXPECT_EQ(host().logTexts("iMergeToMain"),
                (Lines{"Entered", form.isTaskList ? "Merging to smajob.json" : "Merging to Main.ssib"}));
      EXPECT_EQ(std::ranges::count(host().events, "NOT TRACED"), 0);
      expectFiles(form, row.merged, row.subLeft[form.isTaskList ? 1 : 0]);
    }
  }
}

TEST_F(Merge, SaysWhatDidNotOpen) {
  const Lines sub = {"Entered", "Error opening SSIB", "Exit. 0x80000002"};
  const struct {
    const Form &form;
    const wchar_t *damaged;
    Lines lines;
  } rows[] = {
      {kXml, L"sub.ssib", sub},
      {kTaskList, L"sub.json", sub},
      {kXml, L"Main.ssib", {"Entered", "Merging to Main.ssib", "Error opening main SSIB", sub.back()}},
      {kTaskList, kTaskList.main, {"Entered", "Merging to smajob.json", "Error opening main SSIB", sub.back()}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(::testing::PrintToString(row.lines));
    give(row.form, "XY", "AB");
    host().setFile(row.damaged, "neither form");
    const auto before = host().files;
    EXPECT_EQ(iMergeToMain(&handle, row.form.sub, 1), EFI_INVALID_PARAMETER);
    EXPECT_EQ(host().files, before);
    EXPECT_EQ(host().logTexts("iMergeToMain"), row.lines);
  }
  host() = Platform();
  EXPECT_EQ(iMergeToMain(&handle, kXml.sub, 1), EFI_NOT_FOUND);
  EXPECT_EQ(host().logTexts("iMergeToMain"), (Lines{"Entered", "Could not locate SSIB list", "Exit. 0x8000000e"}));
}

TEST_F(Merge, WithoutAServiceForEitherHandleSaysWhich) {
  give(kXml, "XY", "AB");
  // The array of instances: the handle's XML service, its debug log, the next handle's.
  for (const auto &[failing, line] : {std::pair(1U, "main"), {3U, "sub"}}) {
    const heap::Watch watch(failing);
    EXPECT_EQ(iMergeToMain(&handle, L"sub.ssib", 0), EFI_NOT_FOUND);
    const std::string failed = std::string("Error constructing ") + line + " protocol";
    EXPECT_EQ(host().logTexts("iMergeToMain"), (Lines{"Entered", failed, "Exit. 0x8000000e"}));
    host().forgetEvents();
  }
  EXPECT_EQ(iMergeToMain(nullptr, L"sub.ssib", 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(iMergeToMain(&handle, nullptr, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(host().logTexts("iMergeToMain"), (Lines{"Entered", "Exit. 0x80000002", "Entered", "Exit. 0x80000002"}));
  expectFiles(kXml, "XY", "AB");
}

// Merges while the nth of a kind fails; false when it did not come to that. Adds the status's low byte and what the
// files then hold to the outcomes, and what failed to the losses when a job is in neither file.
bool Merge::seen(const Form &form, std::uint32_t deletes, const std::string &kind, std::size_t nth, Answer answer,
                 Outcomes &outcomes) {
  give(form, "XY", "AB");
  const std::size_t blocks = heap::live();
  EFI_STATUS status = 0;
  if (!fails(
          kind, nth, [&] { status = iMergeToMain(&handle, form.sub, deletes); }, answer))
    return false;
  EXPECT_EQ(heap::live(), blocks);
  EXPECT_EQ(host().openStreams, 0U);
  const std::string main = form.jobsIn(host().file(form.main)), sub = form.jobsIn(host().file(form.sub));
  outcomes.all.insert(std::to_string(status & 0xFF) + ": " + main + ", " + sub);
  if (main == "XYAB" || (main == "XY" && sub == "AB")) return true;
  outcomes.losses.insert(kind.empty() ? host().calls[nth - 1] : kind);
  return true;
}

TEST_F(Merge, LosesJobsOnlyWhenAFileReadsAsEmptyOrTheMainFileCannotBeWritten) {
  const Answer device = {EFI_DEVICE_ERROR, false}, access = {EFI_ACCESS_DENIED, false};
  const struct {
    const Form &form;
    std::uint32_t deletes;
    Outcomes expected;
  } rows[] = {
      {kXml,
       0,
       {{"0: AB, ", "0: XY, ", "0: XY, AB", "0: XYAB, ", "0: XYAB, AB", "14: XY, AB", "15: XY, AB", "7: XY, AB",
         "9: XY, AB"},
        {"CreateNode SSIB_INFO", "SerializeTree", "allocation", "close VAR025 w", "open VAR025/Main.ssib r",
         "open VAR025/Main.ssib w", "open VAR025/sub.ssib r"}}},
      {kXml,
       1,
       {{"0: AB, -", "0: XY, -", "0: XYAB, ", "0: XYAB, -", "14: XY, AB", "15: XY, AB", "7: XY, AB", "9: XY, AB"},
        {"CreateNode SSIB_INFO", "SerializeTree", "allocation", "close VAR025 w", "open VAR025/Main.ssib r",
         "open VAR025/Main.ssib w", "open VAR025/sub.ssib r", "write"}}},
      {kTaskList,
       0,
       {{"0: AB, AB", "0: XY, AB", "0: XYAB, AB", "0: a text missing, AB", "14: XY, AB", "15: XY, AB", "21: XY, AB",
         "9: XY, AB"},
        {"allocation", "open VAR025/BIOS_task_list.json r"}}},
      {kTaskList,
       1,
       {{"0: AB, -", "0: XY, -", "0: XYAB, -", "0: XYAB, AB", "0: a text missing, -", "14: XY, AB", "15: XY, AB",
         "21: XY, AB", "9: XY, AB"},
        {"allocation", "close VAR025 w", "open VAR025/BIOS_task_list.json r", "open VAR025/BIOS_task_list.json w",
         "open VAR025/sub.json r", "write"}}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(std::string(row.form.label) + (row.deletes != 0 ? ", deleting" : ""));
    Outcomes outcomes;
    for (const auto &[kind, answer] : {std::pair("allocation", device), {"write", device}, {"", device}, {"", access}})
      for (std::size_t nth = 1; seen(row.form, row.deletes, kind, nth, answer, outcomes);) ++nth;
    EXPECT_EQ(outcomes.all, row.expected.all);
    EXPECT_EQ(outcomes.losses, row.expected.losses);
  }
}

}  // namespace
}  // namespace test
