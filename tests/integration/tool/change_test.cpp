// SPDX-License-Identifier: MIT
// add, take, remove and replace: what the queue holds afterwards, and what it keeps when they fail.
#include <algorithm>

#include "tool.h"

namespace vyx::test {
namespace {

using Change = ToolTest;

const std::string kQueues[] = {"Main.ssib", kTaskList};

TEST_F(Change, AnEntryGoesWhereItsPriorityPutsIt) {
  for (const std::string &queue : kQueues) {
    SCOPED_TRACE(queue);
    fill(queue, {"stored1", "stored2"});
    for (const char *place : {"append-lo", "prepend-lo", "append-hi", "prepend-hi"}) {
      done(std::string("add --at ") + place + " --job-id " + place + " -q " + queue);
    }
    EXPECT_EQ(column("Job_ID", queue), "prepend-hi append-hi stored1 stored2 append-lo prepend-lo");
  }
}

TEST_F(Change, TakeShowsTheFirstEntryAndRemovesIt) {
  for (const std::string &queue : kQueues) {
    SCOPED_TRACE(queue);
    fill(queue, {"A", "B", "C"});
    const std::string first = ssib("peek -q " + queue).out;
    const std::string second = ssib("show 2 --json -q " + queue).out;
    expectOutcome(ssib("take -q " + queue), 0, first, "");
    expectOutcome(ssib("take --json -q " + queue), 0, second, "");
    EXPECT_EQ(column("Job_ID", queue), "C");
  }
  EXPECT_EQ(ssib("take").exit, 0);
  expectRefused(ssib("take"), 1, "Main.ssib is empty");
}

TEST_F(Change, TheLastEntryOfATaskListStaysAndSaysHowToDeleteIt) {
  fill(kTaskList, {"A"});
  const std::string why = "EFI_INVALID_PARAMETER; a task list keeps its last entry, 'ssib delete' deletes the file\n";
  const std::string shownWhy =
      "EFI_INVALID_PARAMETER; the job shown was not removed; a task list keeps its last entry, "
      "'ssib delete' deletes the file\n";
  const std::string entry = " entry 1 of " + std::string(kTaskList) + ": ";
  expectOutcome(ssib("take", {"-q", kTaskList}), 3, ssib("peek", {"-q", kTaskList}).out,
                "ssib: cannot take" + entry + shownWhy);
  expectOutcome(ssib("remove 1", {"-q", kTaskList}), 3, "", "ssib: cannot remove" + entry + why);
  EXPECT_EQ(column("Job_ID", kTaskList), "A");
}

TEST_F(Change, WhatCouldNotBePrintedIsNotTaken) {
  fill("Main.ssib", {"A", "B"});
  expectRefused(start("take", {}, "/dev/full").wait(), 3, "cannot write to standard output: ");
  expectRefused(ssibAfter("exec >&-", "take"), 3, "cannot write to standard output: ");
  // A pipe whose reader is gone.
  expectRefused(ssibAfter("p=$VARSK_ROOT/pipe; mkfifo $p; exec 3<>$p >$p 3<&-", "take"), 3, "standard output: ");
  EXPECT_EQ(column("Job_ID"), "A B");
}

TEST_F(Change, RemoveTakesTheEntryOfThatNumberOut) {
  for (const std::string &queue : kQueues) {
    SCOPED_TRACE(queue);
    fill(queue, {"A", "B", "C", "D"});
    done("remove 3 -q " + queue);
    EXPECT_EQ(column("Job_ID", queue), "A B D");
    done("remove 1 -q " + queue);
    done("remove 2 -q " + queue);
    EXPECT_EQ(column("Job_ID", queue), "B");
  }
}

TEST_F(Change, ReplaceKeepsThePlaceAndTheOtherFields) {
  done("add --job-id A --cmd-line a --block-id 7");
  done("add --cmd-line b --task-name t --lu-category c --rt-count 3");
  done("add --job-id C --cmd-line c");
  done("replace 2 --job-id N --timeout 0 --cmd-line", {"new"});
  EXPECT_EQ(list().at(1), Json::parse(R"({"Version": 0, "Block_ID": 0, "Timeout": 0, "RT_Count": 3, "Job_ID": "N",
                                          "Cmd_Line": "new", "Task_Name": "t", "LU_Category": "c"})"));
  EXPECT_EQ(column("Job_ID"), "A N C");
  fill(kTaskList, {"A", "B", "C"});
  Json expected = list(kTaskList);
  done("replace 2 --target-version 2 --fqdd other -q", {kTaskList});
  expected[1]["FQDD"] = "other";
  expected[1]["Target_Version"] = "2";
  EXPECT_EQ(list(kTaskList), expected);
}

Arguments withOption(Arguments arguments, const std::string &option, const std::string &value) {
  const auto given = std::find(arguments.begin(), arguments.end(), option);
  if (given != arguments.end()) {
    given[1] = value;
  } else {
    arguments.insert(arguments.end(), {option, value});
  }
  return arguments;
}

// Three entries that differ in one field: whether the library tells them apart by it depends on form and operation.
TEST_F(Change, AnEntryThatOthersMatchIsNotTouched) {
  struct Row {
    const char *queue, *line, *difference;
    bool isTwin;
    Arguments change = {};
  };
  const Arguments change = {"--job-id", "new"};
  const Row rows[] = {
      {"a.ssib", "remove", "--rt-count", true},
      {"b.ssib", "remove", "--version-number", false},
      {"c.ssib", "remove", "--job-id", false},
      {"d.ssib", "replace", "--rt-count", false, change},
      {"e.ssib", "replace", "--cmd-line", false, change},
      {"f.json", "remove", "--job-id", true},
      {"g.json", "remove", "--resource-uri", false},
      {"h.json", "remove", "--fqdd", false},
      {"i.json", "replace", "--resource-uri", true, change},
      {"j.json", "replace", "--job-id", true, change},
      {"k.json", "replace", "--fqdd", false, change},
      {"l.json", "remove", "--target-version", true},
  };
  for (const Row &row : rows) {
    const std::string line = joined({row.line, " 2 -q ", row.queue});
    SCOPED_TRACE(line);
    const bool isXml = std::string(row.queue).ends_with("ssib");
    const Arguments entry = isXml ? Arguments{"--cmd-line", "same"} : taskNamed("same");
    for (const char *value : {"1", "2", "3"}) {
      done("add", withOption(withOption(entry, row.difference, value), "-q", row.queue));
    }
    const std::string before = bytes(row.queue);
    const Outcome outcome = ssib(line, row.change);
    if (row.isTwin) {
      expectRefused(outcome, 3, joined({" entry 2 of ", row.queue, ": the library cannot tell it from 1, 3"}));
    } else {
      expectOutcome(outcome, 0, "", "");
    }
    EXPECT_EQ(bytes(row.queue) == before, row.isTwin);
  }
}

TEST_F(Change, AnEntryThatIsNeverFoundIsNeitherShownNorRemoved) {
  write("Main.ssib", "<SSIB_INFO><SSIB_BLOCK LU_CATEGORY=\"\" TASK_NAME=\"t\"/></SSIB_INFO>");
  done("add -q BIOS_task_list.json --display-name x --job-type y");
  done("add -q BIOS_task_list.json", taskNamed("second"));
  for (const std::string &queue : kQueues) {
    const std::string before = bytes(queue);
    const std::string field = queue == kTaskList ? "FQDD" : "Cmd_Line";
    expectRefused(ssib("take -q " + queue), 3, joined({"cannot take entry 1 of ", queue, ": it has no ", field}));
    expectRefused(ssib("remove 1 -q " + queue), 3, joined({"cannot remove entry 1 of ", queue, ": it has no ", field}));
    EXPECT_EQ(bytes(queue), before);
  }
  done("replace 1 --cmd-line found");
  EXPECT_EQ(ssib("take").exit, 0);
}

TEST_F(Change, AWriteThatFailsIsReportedAndKeepsTheOldFile) {
  for (const std::string &queue : kQueues) {
    SCOPED_TRACE(queue);
    fill(queue, {"A", "B"});
    const std::string before = bytes(queue);
    const std::string shown = ssib("peek -q " + queue).out;
    const auto limited = [&](const std::string &line) {
      return ssibAfter("trap '' XFSZ; ulimit -f 0", joined({line, " -q ", queue}));
    };
    const std::string err = joined({"ssib: cannot write ", queue, ": EFI_DEVICE_ERROR\n"});
    expectOutcome(limited("add --job-id C"), 3, "", err);
    expectOutcome(limited("replace 1 --job-id C"), 3, "", err);
    expectRefused(limited("remove 2"), 3, queue + ": EFI_DEVICE_ERROR\n");
    expectOutcome(
        limited("take"), 3, shown,
        joined({"ssib: cannot take entry 1 of ", queue, ": EFI_DEVICE_ERROR; the job shown was not removed\n"}));
    EXPECT_EQ(bytes(queue), before);
  }
}

}  // namespace
}  // namespace vyx::test
