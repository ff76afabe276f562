// SPDX-License-Identifier: MIT
// Wrong usage, nothing to do it to, refused files: exit statuses and messages.
#include "tool.h"

namespace vyx::test {
namespace {

using Usage = ToolTest;

struct Case {
  const char *line;
  const char *message;
};

TEST_F(Usage, WhatIsWrongIsSaidBeforeAnythingIsTouched) {
  const Case cases[] = {
      {"", "subcommand"},
      {"frobnicate", "subcommand"},
      {"list list", "list"},
      {"list --frobnicate", "--frobnicate"},
      {"list -q", "--queue"},
      {"list -q \xC3", "--queue: \\xC3 is not UTF-8"},
      {"list -q \x1B[2J\xFF", "--queue: \\x1B[2J\\xFF is not UTF-8"},
      {"list \x1B[2J", "\\x1B[2J"},
      {"show", "N"},
      {"show 0", "0 is no number of an entry"},
      {"show 1x", "1x is no number of an entry"},
      {"show -1", "-1 is no number of an entry"},
      {"show 1 2", "2"},
      {"add --at top", "top"},
      {"add --cmd-line a --cmd-line b", "--cmd-line"},
      {"replace 1", "no field"},
      {"merge", "Main.ssib is the main queue"},
      {"merge -q BIOS_task_list.json", "BIOS_task_list.json is the main queue"},
  };
  for (const Case &row : cases) {
    SCOPED_TRACE(row.line);
    expectRefused(ssib(row.line), 2, row.message);
  }
  EXPECT_TRUE(std::filesystem::is_empty(root_));
}

TEST_F(Usage, HelpSaysWhatTheCommandIsAndSucceeds) {
  const Case cases[] = {{"--version", "ssib " SSIB_VERSION "\n"},
                        {"--help", "VARSK_ROOT"},
                        {"add --help", "--resource-namespace TEXT"},
                        {"list --help", "--json"},
                        {"show --help", "N REQUIRED"},
                        {"peek --help", "Show the first entry"},
                        {"take --help", "removed only after"},
                        {"remove --help", "'ssib take'"},
                        {"replace --help", "--timeout NUMBER"},
                        {"merge --help", "--delete"},
                        {"delete --help", "exit statuses"}};
  for (const Case &row : cases) {
    SCOPED_TRACE(row.line);
    const Outcome outcome = ssib(row.line);
    EXPECT_EQ(outcome.exit, 0);
    EXPECT_NE(outcome.out.find(row.message), std::string::npos) << outcome.out;
  }
}

TEST_F(Usage, TheQueueIsNamedOnEitherSideOfTheCommand) {
  done("-q Sub.ssib add --job-id before");
  done("add --queue Sub.ssib --job-id behind");
  done("add -q Größe☃.ssib --job-id wide");
  EXPECT_EQ(column("Job_ID", "Sub.ssib"), "before behind");
  EXPECT_TRUE(std::filesystem::exists(file("Größe☃.ssib")));
  EXPECT_FALSE(std::filesystem::exists(file("Main.ssib")));
}

TEST_F(Usage, NothingToDoItToIsExitStatusOne) {
  done("add");
  done("add -q json", taskNamed("one"));
  write("Empty.ssib", "<SSIB_INFO></SSIB_INFO>");
  const Case cases[] = {
      {"peek -q None.ssib", "ssib: None.ssib is empty\n"},
      {"take -q None.ssib", "ssib: None.ssib is empty\n"},
      {"take -q None.json", "ssib: None.json is empty\n"},
      {"show -q Empty.ssib 1", "ssib: Empty.ssib is empty\n"},
      {"show 2", "ssib: Main.ssib has no entry 2\n"},
      {"remove 2", "ssib: Main.ssib has no entry 2\n"},
      {"remove -q json 99999999999999999999", "ssib: json has no entry"},
      {"replace 2 --job-id x", "ssib: Main.ssib has no entry 2\n"},
      {"merge -q None.ssib", "ssib: there is no None.ssib\n"},
      {"merge -q None.json", "ssib: there is no None.json\n"},
      {"delete -q None.ssib", "ssib: there is no None.ssib\n"},
  };
  for (const Case &row : cases) {
    SCOPED_TRACE(row.line);
    expectRefused(ssib(row.line), 1, row.message);
  }
  expectOutcome(ssib("list -q None.ssib"), 0, "None.ssib is empty\n", "");
  expectOutcome(ssib("list -q None.json --json"), 0, "[]\n", "");
  EXPECT_FALSE(std::filesystem::exists(file("None.ssib")) || std::filesystem::exists(file("None.json")));
}

// Each command against files that cannot be read; every one of them is left as it was.
TEST_F(Usage, ADamagedFileIsRefusedByEveryCommandAndKeepsItsBytes) {
  const std::pair<const char *, const char *> files[] = {
      {"cut.ssib", "<SSIB_INFO><SSIB_BLOCK Version=\"1\""},
      {"text.ssib", "no document at all"},
      {"doctype.ssib", "<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>"},
      {"cut.json", "{ \"SMAJob\": [ { \"JobType\" : \"UPDATE\""},
      {"behind.json", "{ \"SMAJob\": [ ] , \"more\": { } }"},
      {"text.json", "no list at all"},
  };
  for (const auto &[name, content] : files) {
    write(name, content);
    for (const char *line : {"list", "list --json", "show 1", "peek", "take", "add --job-id x", "remove 1",
                             "replace 1 --job-id x", "merge", "merge --delete"}) {
      SCOPED_TRACE(std::string(line) + " " + name);
      expectRefused(ssib(line, {"-q", name}), 3, std::string("ssib: cannot open ") + name + ": ");
      EXPECT_EQ(bytes(name), content);
    }
  }
}

TEST_F(Usage, TheMessageNamesOperationFileAndStatus) {
  std::filesystem::create_directories(file("directory.ssib"));
  std::filesystem::create_symlink("/etc/passwd", file("link.json"));
  const Case cases[] = {
      {"list -q directory.ssib", "ssib: cannot open directory.ssib: EFI_ACCESS_DENIED\n"},
      {"add -q directory.ssib", "ssib: cannot open directory.ssib: EFI_ACCESS_DENIED\n"},
      {"peek -q ../etc/passwd", "ssib: cannot open ../etc/passwd: EFI_ACCESS_DENIED\n"},
      {"list -q link.json", "ssib: cannot open link.json: EFI_"},
      {"delete -q directory.ssib", "ssib: cannot delete directory.ssib: EFI_ACCESS_DENIED\n"},
      {"merge -q directory.ssib", "ssib: cannot open directory.ssib: EFI_ACCESS_DENIED\n"},
      {"list -q a\x1B]2;x\x07\\", "ssib: cannot open a\\x1B]2;x\\x07\\\\: EFI_"},
  };
  for (const Case &row : cases) {
    SCOPED_TRACE(row.line);
    if (std::string(row.line).find('\x1B') != std::string::npos) write("a\x1B]2;x\x07\\", "damaged");
    expectRefused(ssib(row.line), 3, row.message);
  }
}

TEST_F(Usage, WithoutTheLockNothingIsChanged) {
  done("add --job-id first");
  const std::string before = bytes("Main.ssib");
  std::filesystem::remove(file(".lock"));
  std::filesystem::create_symlink("elsewhere", file(".lock"));
  for (const char *line : {"add", "take", "remove 1", "replace 1 --job-id x", "merge -q Sub.ssib", "delete"}) {
    SCOPED_TRACE(line);
    expectRefused(ssib(line), 3, "cannot lock the queues: " + file(".lock").string() + ": ");
  }
  EXPECT_EQ(bytes("Main.ssib"), before);
  EXPECT_FALSE(std::filesystem::exists(file("elsewhere")));
  EXPECT_EQ(column("Job_ID"), "first");
}

}  // namespace
}  // namespace vyx::test
