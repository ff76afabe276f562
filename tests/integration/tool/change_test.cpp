// SPDX-License-Identifier: MIT
// The commands that change queues: what these hold afterwards, and what they keep when a command fails.
#include <sys/stat.h>

#include "tool.h"

namespace vyx::test {
namespace {

using Change = ToolTest;
using std::string;

TEST_F(Change, AnEntryGoesWhereItsPriorityPutsIt) {
  fill("Main.ssib", {"stored1", "stored2"});
  for (const char *place : {"append-lo", "prepend-lo", "append-hi", "prepend-hi"})
    done("add --at", {place, "--job-id", place});
  done("add --job-id default");
  EXPECT_EQ(column("Job_ID"), "prepend-hi append-hi stored1 stored2 append-lo prepend-lo default");
}

TEST_F(Change, TakeAndRemoveTakeOutTheEntryThatTheySay) {
  for (const string &queue : kQueues) {
    SCOPED_TRACE(queue);
    fill(queue, {"A", "B", "C", "D", "E"});
    const string first = ssib("peek -q", {queue}).out, second = ssib("show 2 --json -q", {queue}).out;
    expectOutcome(ssib("take -q", {queue}), 0, first, "");
    expectOutcome(ssib("take --json -q", {queue}), 0, second, "");
    done("remove 2 -q", {queue});
    EXPECT_EQ(column("Job_ID", queue), "C E");
    done("remove 1 -q", {queue});
    EXPECT_EQ(column("Job_ID", queue), "E");
  }
  done("remove 1");
  EXPECT_EQ(list(), Json::array());
}

TEST_F(Change, TheLastEntryOfATaskListStaysAndSaysHowToDeleteIt) {
  fill(kTaskList, {"A"});
  const string cannot = " entry 1 of BIOS_task_list.json: EFI_INVALID_PARAMETER; ";
  const string why = "a task list keeps its last entry, 'ssib delete' deletes the file\n";
  expectOutcome(ssib("take -q", {kTaskList}), 3, ssib("peek -q", {kTaskList}).out,
                "ssib: cannot take" + cannot + "the job shown was not removed; " + why);
  expectOutcome(ssib("remove 1 -q", {kTaskList}), 3, "", "ssib: cannot remove" + cannot + why);
  EXPECT_EQ(column("Job_ID", kTaskList), "A");
}

TEST_F(Change, AnOutputThatFailsIsRefusedAndTakesNothing) {
  fill("Main.ssib", {"A", "B"});
  for (const char *output : {"exec >/dev/full", "exec >&-"}) {
    for (const char *line : {"take", "list", "peek --json", "add --help", "--version"}) {
      SCOPED_TRACE(output);
      expectRefused(ssibAfter(output, line), 3, "cannot write to standard output: ");
    }
  }
  const string brokenPipe = "p=$VARSK_ROOT/pipe; mkfifo $p; exec 3<>$p >$p 3<&-";
  expectRefused(ssibAfter(brokenPipe, "take"), 3, "cannot write to standard output: ");
  EXPECT_EQ(column("Job_ID"), "A B");
}

TEST_F(Change, ReplaceKeepsThePlaceAndTheOtherFields) {
  for (const string &queue : kQueues) {
    fill(queue, {"A", "B", "C"});
    Json expected = list(queue);
    done(queue == kTaskList ? "replace 2 --job-id N" : "replace 2 --job-id N --timeout 0", {"-q", queue});
    expected[1]["Job_ID"] = "N";
    if (queue != kTaskList) expected[1]["Timeout"] = 0;
    EXPECT_EQ(nlohmann::json(list(queue)), nlohmann::json(expected));
  }
}

// Three entries that differ in one place: whether the library tells them apart by it depends on form and operation.
TEST_F(Change, AnEntryThatOthersMatchIsNotTouched) {
  const struct {
    const char *queue, *line, *difference;
    bool isTwin;
  } rows[] = {
      {"Main.ssib", "remove 2", "RT_COUNT=\"", true},
      {"Main.ssib", "remove 2", "Version=\"", false},
      {"Main.ssib", "remove 2", "JOB_ID=\"", false},
      {"Main.ssib", "replace 2 --task-name new", "RT_COUNT=\"", false},
      {"Main.ssib", "replace 2 --task-name new", "<CMD_LINE>", false},
      {"a.json", "remove 2", "JOBID\":\"", true},
      {"a.json", "remove 2", "ResourceURI\":\"", false},
      {"a.json", "remove 2", "FQDD\":\"", false},
      {"a.json", "remove 2", "TargetVersion\":\"", true},
      {"a.json", "replace 2 --job-type new", "ResourceURI\":\"", true},
      {"a.json", "replace 2 --job-type new", "JOBID\":\"", true},
      {"a.json", "replace 2 --job-type new", "FQDD\":\"", false},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(string(row.line) + ", different " + row.difference);
    fill(row.queue, {"0", "1", "2"}, {row.difference});
    const string before = bytes(row.queue);
    const Outcome outcome = ssib(row.line, {"-q", row.queue});
    if (row.isTwin) {
      expectRefused(outcome, 3, string(" entry 2 of ") + row.queue + ": the library cannot tell it from 1, 3\n");
    } else {
      expectOutcome(outcome, 0, "", "");
    }
    EXPECT_EQ(bytes(row.queue) == before, row.isTwin);
  }
}

TEST_F(Change, AnEntryThatIsNeverFoundIsNeitherShownNorRemoved) {
  write("Main.ssib", "<SSIB_INFO><SSIB_BLOCK LU_CATEGORY=\"\" TASK_NAME=\"t\"/></SSIB_INFO>");
  write(kTaskList, R"([{"JobType":"y","DisplayName":"x"},{"JobType":"second"}])");
  for (const string &queue : kQueues) {
    const string before = bytes(queue);
    const string why = " entry 1 of " + queue + (queue == kTaskList ? ": it has no FQDD" : ": it has no Cmd_Line");
    expectRefused(ssib("take -q", {queue}), 3, "cannot take" + why);
    expectRefused(ssib("remove 1 -q", {queue}), 3, "cannot remove" + why);
    EXPECT_EQ(bytes(queue), before);
  }
  done("replace 1 --cmd-line found");
  EXPECT_EQ(ssib("take").exit, 0);
}

// Either nothing can be written, or what was written cannot take the old file's place: in a directory with the sticky bit
// only the owner of a file may replace it.
TEST_F(Change, AWriteThatFailsIsReportedAndKeepsTheOldFile) {
  const string full = "trap '' XFSZ; ulimit -f 0", asNobody = "exec setpriv --reuid=65534 --clear-groups \"$@\"";
  write(".lock", "");
  for (const auto &[path, mode] : {std::pair(root, 0755), {partition, 01777}, {file(".lock"), 0666}})
    chmod(path.c_str(), static_cast<mode_t>(mode));
  const bool hasNobody = ssibAfter(asNobody, "--version").exit == 0;
  for (const string &queue : kQueues) {
    SCOPED_TRACE(queue);
    fill(queue, {"A", "B"});
    chmod(file(queue).c_str(), 0666);
    const string before = bytes(queue), shown = ssib("peek -q", {queue}).out;
    const string error = queue + ": EFI_DEVICE_ERROR";
    const std::pair<const char *, string> rows[] = {
        {"add --job-id C", "ssib: cannot write " + error + "\n"},
        {"replace 1 --job-id C", "ssib: cannot write " + error + "\n"},
        {"remove 2", "ssib: cannot remove entry 2 of " + error + "\n"},
        {"take", "ssib: cannot take entry 1 of " + error + "; the job shown was not removed\n"},
    };
    for (const auto &[line, message] : rows) {
      for (const string &obstacle : {full, asNobody}) {
        if (obstacle == asNobody && !hasNobody) continue;
        const Outcome outcome = ssibAfter(obstacle, line, {"-q", queue});
        expectOutcome(outcome, 3, outcome.err.find("take") == string::npos ? "" : shown, message);
      }
    }
    EXPECT_EQ(bytes(queue), before);
  }
}

string mainOf(const string &sub) {
  return sub.find("json") == string::npos ? "Main.ssib" : kTaskList;
}

TEST_F(Change, MergeMovesTheEntriesBehindThoseOfTheMainQueue) {
  const struct {
    const char *sub, *line, *message, *left;  // what the sub-queue holds afterwards; null: its file is gone
    Arguments entries = {"C", "D"}, main = {"A", "B"};
  } rows[] = {
      {"Sub.ssib", "merge", "moved 2 entries from Sub.ssib to Main.ssib\n", ""},
      {"Sub.ssib", "merge --delete", "moved 2 entries from Sub.ssib to Main.ssib\n", nullptr},
      {"sub.json", "merge",
       "copied 2 entries from sub.json to BIOS_task_list.json; sub.json keeps them, 'ssib delete' deletes it\n", "C D"},
      {"sub.json", "merge --delete", "moved 2 entries from sub.json to BIOS_task_list.json\n", nullptr},
      {"One.ssib", "merge", "moved 1 entry from One.ssib to Main.ssib\n", "", {"A B C D"}, {}},
      {"Empty.ssib", "merge", "moved 0 entries from Empty.ssib to Main.ssib\n", "", {}, {"A B C D"}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.message);
    std::filesystem::remove_all(partition);
    fill(row.sub, row.entries);
    if (!row.main.empty()) fill(mainOf(row.sub), row.main);
    expectOutcome(ssib(row.line, {"-q", row.sub}), 0, row.message, "");
    EXPECT_EQ(column("Job_ID", mainOf(row.sub)), "A B C D");
    EXPECT_EQ(std::filesystem::exists(file(row.sub)), row.left != nullptr);
    EXPECT_EQ(column("Job_ID", row.sub), row.left != nullptr ? row.left : "");
  }
}

// The sub-queue's file is small enough to be written under the limit, the main queue's is not.
TEST_F(Change, AMergeThatCannotWriteTheMainQueueLosesNoEntry) {
  for (const string line : {"merge -q Sub.ssib", "merge -q Sub.ssib --delete", "merge -q sub.json --delete"}) {
    SCOPED_TRACE(line);
    const string sub = words(line)[2], main = mainOf(sub);
    fill(sub, {"A", "B"});
    fill(main, {string(3000, 'x')});
    const string before = bytes(main);
    expectRefused(ssibAfter("trap '' XFSZ; ulimit -f 2", line), 3,
                  "cannot write " + main + (": EFI_DEVICE_ERROR; " + sub) + " has its entries as before\n");
    EXPECT_EQ(bytes(main), before);
    EXPECT_EQ(column("Job_ID", sub), "A B");
  }
  write("Main.ssib", "<damaged");
  expectRefused(ssib("merge -q Sub.ssib --delete"), 3, "cannot open Main.ssib: ");
  EXPECT_EQ(bytes("Main.ssib"), "<damaged");
  EXPECT_EQ(column("Job_ID", "Sub.ssib"), "A B");
}

TEST_F(Change, DeleteDeletesTheFileNamedAndNoOther) {
  fill("Main.ssib", {"A"});
  write("damaged.json", "[");
  done("delete -q damaged.json");
  EXPECT_FALSE(std::filesystem::exists(file("damaged.json")));
  EXPECT_EQ(column("Job_ID"), "A");
}

}  // namespace
}  // namespace vyx::test
