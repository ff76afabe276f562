// SPDX-License-Identifier: MIT
// merge and delete: whole files.
#include "tool.h"

namespace vyx::test {
namespace {

using Files = ToolTest;

TEST_F(Files, MergeMovesTheEntriesBehindThoseOfTheMainQueue) {
  struct Row {
    const char *sub, *options, *message, *left;  // what the sub-queue holds afterwards; null: its file is gone
  };
  const Row rows[] = {
      {"Sub.ssib", "", "moved 2 entries from Sub.ssib to Main.ssib\n", ""},
      {"Sub.ssib", "--delete", "moved 2 entries from Sub.ssib to Main.ssib\n", nullptr},
      {"sub.json", "", "moved 2 entries from sub.json to BIOS_task_list.json; sub.json keeps its entries\n", "C D"},
      {"sub.json", "--delete", "moved 2 entries from sub.json to BIOS_task_list.json\n", nullptr},
  };
  for (const Row &row : rows) {
    SCOPED_TRACE(std::string(row.sub) + " " + row.options);
    const std::string main = std::string(row.sub) == "Sub.ssib" ? "Main.ssib" : kTaskList;
    std::filesystem::remove_all(partition());
    fill(row.sub, {"C", "D"});
    fill(main, {"A", "B"});
    expectOutcome(ssib(std::string("merge -q ") + row.sub + " " + row.options), 0, row.message, "");
    EXPECT_EQ(column("Job_ID", main), "A B C D");
    EXPECT_EQ(std::filesystem::exists(file(row.sub)), row.left != nullptr);
    if (row.left != nullptr) {
      EXPECT_EQ(column("Job_ID", row.sub), row.left);
    }
  }
}

TEST_F(Files, MergeCreatesTheMainQueue) {
  fill("Sub.ssib", {"A"});
  expectOutcome(ssib("merge -q Sub.ssib --delete"), 0, "moved 1 entry from Sub.ssib to Main.ssib\n", "");
  EXPECT_EQ(column("Job_ID"), "A");
  write("Empty.ssib", "");
  expectOutcome(ssib("merge -q Empty.ssib"), 0, "moved 0 entries from Empty.ssib to Main.ssib\n", "");
  EXPECT_EQ(column("Job_ID"), "A");
}

TEST_F(Files, AMergeThatIsRefusedKeepsBothFiles) {
  fill("Sub.ssib", {"A"});
  write("Main.ssib", "<damaged");
  const std::string before = bytes("Sub.ssib");
  expectRefused(ssib("merge -q Sub.ssib --delete"), 3, "cannot open Main.ssib: ");
  EXPECT_EQ(bytes("Sub.ssib") + bytes("Main.ssib"), before + "<damaged");
}

// The sub-queue's file is small enough to be written under the limit, the main queue's is not.
TEST_F(Files, AMergeThatCannotWriteTheMainQueueLosesNoEntry) {
  for (const char *line : {"merge -q Sub.ssib", "merge -q Sub.ssib --delete", "merge -q sub.json --delete"}) {
    SCOPED_TRACE(line);
    const std::string sub = std::string(line).find("json") == std::string::npos ? "Sub.ssib" : "sub.json";
    const std::string main = sub == "Sub.ssib" ? "Main.ssib" : kTaskList;
    fill(sub, {"A", std::string(40, 'b')});
    fill(main, {std::string(3000, 'x')});
    const std::string before = bytes(main), entries = column("Job_ID", sub);
    expectRefused(ssibAfter("trap '' XFSZ; ulimit -f 2", line), 3,
                  joined({"cannot write ", main, ": EFI_DEVICE_ERROR; ", sub, " has its entries as before\n"}));
    EXPECT_EQ(bytes(main), before);
    EXPECT_EQ(column("Job_ID", sub), entries);
    std::filesystem::remove_all(partition());
  }
}

TEST_F(Files, DeleteDeletesTheFileNamedAndNoOther) {
  fill("Main.ssib", {"A"});
  fill("Sub.ssib", {"B"});
  write("damaged.json", "[");
  done("delete -q Sub.ssib");
  done("delete -q damaged.json");
  EXPECT_FALSE(std::filesystem::exists(file("Sub.ssib")) || std::filesystem::exists(file("damaged.json")));
  EXPECT_EQ(column("Job_ID"), "A");
}

}  // namespace
}  // namespace vyx::test
