// SPDX-License-Identifier: MIT
// Wrong usage, values that no file would give back, nothing to do it to, refused files: statuses and messages. What is
// refused changes no file.
#include <map>

#include "tool.h"

namespace vyx::test {
namespace {

using std::string;

struct Refused {
  string line, message;
  Arguments more = {};
};

class Usage : public ToolTest {
 protected:
  // The queues' names and contents.
  std::map<string, string> queues() const {
    std::map<string, string> found;
    for (const auto &item : std::filesystem::directory_iterator(partition))
      found[item.path().filename()] = item.is_regular_file() ? bytes(item.path().filename()) : "";
    found.erase(".lock");
    return found;
  }

  void expectAllRefused(int exit, const std::vector<Refused> &commands) const {
    write("Sub.ssib", "");
    const auto before = queues();
    for (const auto &[line, message, more] : commands) {
      SCOPED_TRACE(line + " " + testing::PrintToString(more));
      expectRefused(ssib(line, more), exit, message);
    }
    EXPECT_EQ(queues(), before);
  }
};

TEST_F(Usage, WhatIsWrongIsSaidBeforeAnythingIsTouched) {
  const std::vector<Refused> commands = {
      {"", "subcommand"},
      {"frobnicate", "frobnicate is neither a command nor an option"},
      {"add --job-id x --version 3", "--version-number"},
      {"list --frobnicate", "--frobnicate"},
      {"list -q", "--queue"},
      {"list -q \x1B[2J\xC3", "--queue: \\x1B[2J\\xC3 is not UTF-8"},
      {"list \x1B[2J", "\\x1B[2J"},
      {"show", "N"},
      {"show 0", "0 is not a number of an entry"},
      {"show 1x", "1x is not a number of an entry"},
      {"show -1", "-1 is not a number of an entry"},
      {"show 1 2", "2"},
      {"add --at top", "top"},
      {"add --cmd-line a --cmd-line b", "--cmd-line"},
      {"replace 1", "no field"},
      {"merge", "Main.ssib is the main queue"},
      {"merge -q BIOS_task_list.json", "BIOS_task_list.json is the main queue"},
  };
  expectAllRefused(2, commands);
  EXPECT_FALSE(std::filesystem::exists(file(".lock")));
}

TEST_F(Usage, NothingToDoItToIsExitStatusOne) {
  fill("Main.ssib", {"A"});
  fill("Empty.ssib", {});
  const std::vector<Refused> commands = {
      {"peek -q None.ssib", "ssib: None.ssib is empty, or there is no such file\n"},
      {"take -q None.json", "ssib: None.json is empty, or there is no such file\n"},
      {"show -q Empty.ssib 1", "ssib: Empty.ssib is empty, or there is no such file\n"},
      {"show 2", "ssib: Main.ssib has only 1 entry\n"},
      {"remove 99999999999999999999", "ssib: Main.ssib has only 1 entry\n"},
      {"replace 2 --job-id x", "ssib: Main.ssib has only 1 entry\n"},
      {"merge -q None.ssib", "ssib: there is no None.ssib\n"},
      {"merge -q None.json", "ssib: there is no None.json\n"},
      {"delete -q None.ssib", "ssib: there is no None.ssib\n"},
  };
  expectAllRefused(1, commands);
}

TEST_F(Usage, TheMessageNamesOperationFileAndStatus) {
  std::filesystem::create_directories(file("directory.ssib"));
  std::filesystem::create_symlink("/etc/passwd", file("link.json"));
  write("a\x1B]2;x\x07\\", "damaged");
  const std::vector<Refused> commands = {
      {"add -q directory.ssib", "ssib: cannot open directory.ssib: EFI_ACCESS_DENIED\n"},
      {"peek -q ../etc/passwd", "ssib: cannot open ../etc/passwd: EFI_ACCESS_DENIED\n"},
      {"list -q link.json", "ssib: cannot open link.json: EFI_"},
      {"delete -q directory.ssib", "ssib: cannot delete directory.ssib: EFI_ACCESS_DENIED\n"},
      {"merge -q directory.ssib", "ssib: cannot open directory.ssib: EFI_ACCESS_DENIED\n"},
      {"list -q a\x1B]2;x\x07\\", "ssib: cannot open a\\x1B]2;x\\x07\\\\: EFI_"},
  };
  expectAllRefused(3, commands);
}

TEST_F(Usage, ADamagedFileIsRefusedByEveryCommand) {
  write("cut.ssib", "<SSIB_INFO><SSIB_BLOCK Version=\"1\"");
  write("text.json", "no list at all");
  for (const string name : {"cut.ssib", "text.json"}) {
    for (const char *line :
         {"list", "show 1", "take", "add --job-id x", "remove 1", "replace 1 --job-id x", "merge --delete"})
      expectAllRefused(3, {{line, "ssib: cannot open " + name + ": ", {"-q", name}}});
  }
}

TEST_F(Usage, WithoutTheLockNothingIsChanged) {
  fill("Main.ssib", {"A"});
  std::filesystem::create_symlink("elsewhere", file(".lock"));
  for (const char *line : {"add", "take", "remove 1", "replace 1 --job-id x", "merge -q Sub.ssib", "delete"})
    expectAllRefused(3, {{line, "cannot lock the queues: " + file(".lock").string() + ": "}});
  EXPECT_EQ(column("Job_ID"), "A");
}

// Half of the values are given to one command, half to the other.
TEST_F(Usage, WhatAFormWouldNotGiveBackIsRefused) {
  const struct {
    const char *queue, *option;
    Arguments values;
    const char *reason;
  } rows[] = {
      {"Main.ssib", "--cmd-line", {"\x1B[2J", "\x1F"}, "control character"},
      {"Main.ssib", "--job-id", {"a\vb", "\x01"}, "--job-id: the value has a control character"},
      {"Main.ssib", "--cmd-line", {"\"", "\"abc", "\"\"abc\""}, "double quote"},
      {"Main.ssib", "--fqdd", {"x"}, "--fqdd: an XML queue file does not store this field"},
      {"Main.ssib", "--target-version", {"x"}, "does not store"},
      {"Main.ssib", "--version-number", {"4294967296"}, "is not a number from 0 to 4294967295"},
      {"Main.ssib", "--block-id", {"65536"}, "is not a number from 0 to 65535"},
      {"Main.ssib", "--rb-type", {"256"}, "is not a number from 0 to 255"},
      {"Main.ssib", "--rb-req", {"0x100"}, "is not a number from 0 to 255"},
      {"Main.ssib", "--timeout", {"65536"}, "is not a number from 0 to 65535"},
      {"Main.ssib", "--rt-count", {"65536"}, "is not a number from 0 to 65535"},
      {"Main.ssib", "--rtn-code", {"-1", "+1", "", "0x", "1 ", "ten"}, "is not a number from 0 to 4294967295"},
      {"BIOS_task_list.json", "--cmd-line", {"x"}, "does not store"},
      {"BIOS_task_list.json", "--timeout", {"1"}, "does not store"},
      {"BIOS_task_list.json", "--fqdd", {"", ""}, "no characters"},
      {"BIOS_task_list.json", "--fqdd", {"a\"b", "{", "}", "[", "]", "a\\n"}, "one of the characters"},
      {"BIOS_task_list.json", "--job-id", {"a\nb", "\t"}, "control character"},
      {"BIOS_task_list.json", "--job-id", {"JOBID", "TargetVersion"}, "name of a key"},
      {"BIOS_task_list.json", "--resource-uri", {string(4096, 'x')}, "4095 bytes"},
  };
  for (const string &queue : kQueues) fill(queue, {"A"});
  std::vector<Refused> commands;
  for (const auto &row : rows) {
    for (const string &value : row.values) {
      commands.push_back(
          {commands.size() % 2 == 0 ? "add" : "replace 1", row.reason, {"-q", row.queue, row.option, value}});
    }
  }
  expectAllRefused(2, commands);
}

TEST_F(Usage, HelpAndVersionSucceed) {
  const Outcome help = ssib("add --help");
  EXPECT_EQ(help.exit, 0);
  EXPECT_NE(help.out.find("--resource-namespace TEXT"), string::npos) << help.out;
  expectOutcome(ssib("--version"), 0, "ssib " SSIB_VERSION "\n", "");
}

TEST_F(Usage, TheQueueIsNamedOnEitherSideOfTheCommand) {
  done("-q Größe☃.ssib add --job-id before");
  done("add --queue Größe☃.ssib --job-id behind");
  EXPECT_EQ(column("Job_ID", "Größe☃.ssib"), "before behind");
  EXPECT_TRUE(std::filesystem::exists(file("Größe☃.ssib")));
}

}  // namespace
}  // namespace vyx::test
