// SPDX-License-Identifier: MIT
// What is put in comes back, or is refused before the file is touched.
#include "tool.h"

namespace vyx::test {
namespace {

using Values = ToolTest;

TEST_F(Values, AnXmlQueueGivesBackWhatItTook) {
  const std::string texts[] = {
      "",   " ",     "<a/>", "&amp;", "]]>",        "it's \"quoted\"", " \t\r\n", "--json",
      "-q", "[a,b]", "{}",   "\\",    "☃ü\xC2\x85", "\xEF\xBF\xBE",    "a=b",     std::string(70000, 'x')};
  std::size_t number = 0;
  for (const std::string &text : texts) {
    SCOPED_TRACE("text of " + std::to_string(text.size()) + ": " + text.substr(0, 40));
    done("add", {"--cmd-line", text, "--task-name", text, "--lu-category", text, "--job-id", text});
    const Json entry = list().at(number++);
    for (const char *field : {"Cmd_Line", "Task_Name", "LU_Category", "Job_ID"}) EXPECT_EQ(entry.at(field), text);
  }
  EXPECT_EQ(list().size(), std::size(texts));
}

TEST_F(Values, ATaskListGivesBackWhatItTook) {
  const std::string texts[] = {" ",  "<a/>", "it's",    "☃ü",       "a:b,c",
                               "-q", "\x7F", "jobtype", "JobTypes", std::string(4095, 'x')};
  std::size_t number = 0;
  for (const std::string &text : texts) {
    SCOPED_TRACE(text.substr(0, 40));
    done("add -q BIOS_task_list.json",
         {"--display-name", text, "--job-type", text, "--fqdd", text, "--job-id", text, "--resource-uri", text,
          "--resource-type", text, "--resource-namespace", text, "--target-version", text});
    const Json entry = list(kTaskList).at(number++);
    EXPECT_EQ(entry.size(), 8U);
    for (const auto &[field, value] : entry.items()) EXPECT_EQ(value, text) << field;
  }
}

TEST_F(Values, WhatAFormWouldNotGiveBackIsRefused) {
  struct Row {
    const char *queue, *option;
    std::string value;
    const char *reason;
  };
  const Row rows[] = {
      {"Main.ssib", "--cmd-line", "\x1B[2J", "control character"},
      {"Main.ssib", "--task-name", "\x01", "control character"},
      {"Main.ssib", "--job-id", "a\vb", "control character"},
      {"Main.ssib", "--cmd-line", "\"", "double quote"},
      {"Main.ssib", "--cmd-line", "\"abc", "double quote"},
      {"Main.ssib", "--cmd-line", "\"\"abc\"", "double quote"},
      {"Main.ssib", "--fqdd", "x", "does not store"},
      {"Main.ssib", "--target-version", "x", "does not store"},
      {"Main.ssib", "--version-number", "4294967296", "0 to 4294967295"},
      {"Main.ssib", "--block-id", "65536", "0 to 65535"},
      {"Main.ssib", "--rb-type", "256", "0 to 255"},
      {"Main.ssib", "--rb-req", "0x100", "0 to 255"},
      {"Main.ssib", "--timeout", "65536", "0 to 65535"},
      {"Main.ssib", "--rt-count", "65536", "0 to 65535"},
      {"Main.ssib", "--rtn-code", "-1", "0 to 4294967295"},
      {"Main.ssib", "--rtn-code", "+1", "0 to"},
      {"Main.ssib", "--rtn-code", "", "0 to"},
      {"Main.ssib", "--rtn-code", "0x", "0 to"},
      {"Main.ssib", "--rtn-code", "1 ", "0 to"},
      {"Main.ssib", "--rtn-code", "ten", "0 to"},
      {"BIOS_task_list.json", "--cmd-line", "x", "does not store"},
      {"BIOS_task_list.json", "--timeout", "1", "does not store"},
      {"BIOS_task_list.json", "--fqdd", "", "no characters"},
      {"BIOS_task_list.json", "--fqdd", "a\"b", "one of the characters"},
      {"BIOS_task_list.json", "--fqdd", "{", "one of the characters"},
      {"BIOS_task_list.json", "--fqdd", "}", "one of the characters"},
      {"BIOS_task_list.json", "--fqdd", "[", "one of the characters"},
      {"BIOS_task_list.json", "--fqdd", "]", "one of the characters"},
      {"BIOS_task_list.json", "--fqdd", "a\\n", "one of the characters"},
      {"BIOS_task_list.json", "--job-id", "a\nb", "control character"},
      {"BIOS_task_list.json", "--job-id", "JOBID", "name of a key"},
      {"BIOS_task_list.json", "--job-type", "TargetVersion", "name of a key"},
      {"BIOS_task_list.json", "--resource-uri", std::string(4096, 'x'), "4095 bytes"},
  };
  done("add");
  done("add -q BIOS_task_list.json", taskNamed("x"));
  const std::string before = bytes("Main.ssib") + bytes(kTaskList);
  for (const Row &row : rows) {
    SCOPED_TRACE(std::string(row.option) + " " + row.value.substr(0, 20));
    for (const char *line : {"add", "replace 1"}) {
      const Outcome outcome = ssib(line, {"-q", row.queue, row.option, row.value});
      expectRefused(outcome, 2, std::string(row.option) + ": ");
      EXPECT_NE(outcome.err.find(row.reason), std::string::npos) << outcome.err;
    }
  }
  EXPECT_EQ(bytes("Main.ssib") + bytes(kTaskList), before);
}

TEST_F(Values, QuotesAroundACommandLineAreNotStored) {
  done("add --cmd-line", {"\"run \"now\" \""});
  done("add --cmd-line", {"\"\""});
  done("add --job-id last");
  EXPECT_EQ(list().at(0).at("Cmd_Line"), "run \"now\" ");
  EXPECT_EQ(list().at(1).at("Cmd_Line"), "");
}

TEST_F(Values, ATimeoutOfZeroIsAddedAsTenMinutes) {
  done("add --timeout 0");
  done("add --timeout 1");
  done("add");
  EXPECT_EQ(column("Timeout"), "600 1 -");
}

}  // namespace
}  // namespace vyx::test
