// SPDX-License-Identifier: MIT
// What list, show and peek print: what was put in, as people and programs read it. They change nothing.
#include <algorithm>

#include "tool.h"

namespace vyx::test {
namespace {

using Read = ToolTest;
using std::string;

TEST_F(Read, AnEntryIsShownWithTheFieldsThatItHas) {
  write("Node.ssib", "<X><Y><EXTRA a=\"1\"><B>text</B></EXTRA></Y></X>");
  done(
      "add --version-number 4294967295 --block-id 65535 --rb-type 0xFF --rb-req 0 --timeout 65535 --rt-count 7 "
      "--rtn-code 0x80000000 --job-id JID_1 --task-name Update --lu-category BIOS --cmd-line",
      {"run --now"});
  done("add --task-name Größe☃ --cmd-line", {"a\tb\\c\n\xFF"});
  done(
      "add --job-id JID_2 --display-name Firmware --job-type UPDATE --fqdd dev --resource-uri /fw.bin "
      "--resource-type image --resource-namespace main --target-version 1.2 -q BIOS_task_list.json");
  done("add --display-name ü -q BIOS_task_list.json");
  const std::pair<const char *, const char *> rows[] = {
      {"show 1",
       "Version: 4294967295\nBlock_ID: 65535\nRB_Type: 255\nRB_Req: 0\nTimeout: 65535\nRtn_Code: 2147483648\n"
       "RT_Count: 7\nJob_ID: JID_1\nCmd_Line: run --now\nTask_Name: Update\nLU_Category: BIOS\n"},
      {"show 2 --json",
       "{\n  \"Version\": 0,\n  \"Block_ID\": 0,\n  \"Cmd_Line\": \"a\\tb\\\\c\\n\\ufffd\",\n"
       "  \"Task_Name\": \"Gr\\u00f6\\u00dfe\\u2603\",\n  \"LU_Category\": \"\"\n}\n"},
      {"list",
       "#  Job_ID  Task_Name  LU_Category  Block_ID  Version     Timeout  Cmd_Line\n"
       "1  JID_1   Update     BIOS         65535     4294967295  65535    run --now\n"
       "2  -       Größe☃     \"\"           0         0           -        a\\tb\\\\c\\n\\xFF\n"},
      {"peek -q BIOS_task_list.json",
       "Job_ID: JID_2\nDisplay_Name: Firmware\nJob_Type: UPDATE\nFQDD: dev\nResource_URI: /fw.bin\n"
       "Resource_Type: image\nResource_Namespace: main\nTarget_Version: 1.2\n"},
      {"show 2 --json -q BIOS_task_list.json", "{\n  \"Display_Name\": \"\\u00fc\"\n}\n"},
      {"list -q BIOS_task_list.json",
       "#  Job_ID  Job_Type  Display_Name  FQDD  Target_Version\n"
       "1  JID_2   UPDATE    Firmware      dev   1.2\n"
       "2  -       -         ü             -     -\n"},
      {"show 1 -q Node.ssib", "Version: 0\nBlock_ID: 0\nNode: <EXTRA a=\"1\">\\n<B>text</B>\\n</EXTRA>\\n\n"},
      {"list -q None.ssib", "None.ssib is empty, or there is no such file\n"},
      {"list -q None.json --json", "[]\n"},
  };
  for (const auto &[line, printed] : rows) {
    SCOPED_TRACE(line);
    expectOutcome(ssib(line), 0, printed, "");
  }
}

TEST_F(Read, ATerminalIsNotDriven) {
  const string hostile = "\x1BP\x07\x7F\xC2\x9Bz\xFF\r\xED\xA0\x80\xE2\x82";
  const string shown = "\\x1BP\\x07\\x7F\\xC2\\x9Bz\\xFF\\r\\xED\\xA0\\x80\\xE2\\x82";
  write(kTaskList, "[{\"JobType\":\"" + hostile + "\",\"FQDD\":\"" + hostile + "\"}]");
  EXPECT_EQ(ssib("peek -q", {kTaskList}).out, "Job_Type: " + shown + "\nFQDD: " + shown + "\n");
  const string printed = ssib("list -q", {kTaskList}).out + ssib("list --json -q", {kTaskList}).out;
  EXPECT_NE(printed.find(shown), string::npos);
  EXPECT_TRUE(std::ranges::all_of(printed, [](char ch) { return ch == '\n' || (ch >= ' ' && ch < '\x7F'); }));
}

TEST_F(Read, BytesAndTimeOfTheFileStay) {
  for (const string &queue : kQueues) {
    fill(queue, {"A", "B"});
    const string before = bytes(queue);
    const auto time = std::filesystem::last_write_time(file(queue));
    for (const char *line : {"list", "show 2", "peek --json"}) EXPECT_EQ(ssib(line, {"-q", queue}).exit, 0);
    EXPECT_EQ(bytes(queue), before);
    EXPECT_EQ(std::filesystem::last_write_time(file(queue)), time);
  }
  EXPECT_FALSE(std::filesystem::exists(file(".lock")));
}

TEST_F(Read, OtherToolsReadWhatIsWrittenAndPrinted) {
  for (const char *program : {"xmllint", "jq"})
    if (wait(startProgram({program, "--version"})).exit == 127) GTEST_SKIP() << "needs " << program;
  done("add --cmd-line", {"<a & \"b\"> ]]> \r\n\t 'c' ", "--task-name", " \t\n\r\xFFü", "--job-id", "--&amp;"});
  const Outcome format = wait(startProgram({"xmllint", "--format", file("Main.ssib")}));
  EXPECT_EQ(format.exit, 0) << format.err;
  write("Formatted.ssib", format.out);
  EXPECT_EQ(list("Formatted.ssib"), list());
  write("list", ssib("list --json").out);
  expectOutcome(wait(startProgram({"jq", "-r", ".[0].Job_ID", file("list")})), 0, "--&amp;\n", "");
}

TEST_F(Read, AQueueGivesBackWhatItTook) {
  const struct {
    string queue;
    Arguments options, texts;
    std::size_t numbers;  // that an entry has beside the texts
  } rows[] = {
      {"Main.ssib",
       {"--cmd-line", "--task-name", "--lu-category", "--job-id"},
       {"", " ", "<a/>", "&amp;", "]]>", "it's \"quoted\"", " \t\r\n", "--json", "-q", "[a,b]", "{}", "\\",
        "☃ü\xC2\x85", "\xEF\xBF\xBE", "a=b", string(70000, 'x')},
       2},
      {kTaskList,
       {"--display-name", "--job-type", "--fqdd", "--job-id", "--resource-uri", "--resource-type",
        "--resource-namespace", "--target-version"},
       {" ", "<a/>", "it's", "☃ü", "a:b,c", "-q", "\x7F", "jobtype", "JobTypes", string(4095, 'x')},
       0},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.queue);
    for (const string &text : row.texts) {
      Arguments given = {"-q", row.queue};
      for (const string &option : row.options) given.insert(given.end(), {option, text});
      done("add", given);
    }
    const Json entries = list(row.queue);
    ASSERT_EQ(entries.size(), row.texts.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
      EXPECT_EQ(entries[i].size(), row.options.size() + row.numbers);
      for (const auto &[field, value] : entries[i].items())
        EXPECT_TRUE(!value.is_string() || value == row.texts[i]) << field << ": " << value;
    }
  }
}

TEST_F(Read, QuotesAroundACommandLineAndATimeoutOfZeroAreStoredOtherwise) {
  done("add --timeout 0 --cmd-line", {"\"run \"now\" \""});
  done("add --timeout 1 --cmd-line", {"\"\""});
  done("add --cmd-line last");
  EXPECT_EQ(column("Cmd_Line"), "run \"now\"   last");
  EXPECT_EQ(column("Timeout"), "600 1 -");
}

TEST_F(Read, ATaskListTravelsThroughOtherProgramsUnchanged) {
  const string python = "import json, sys; json.dump(json.load(open(sys.argv[1])), sys.stdout, ";
  const Arguments programs[] = {
      {"jq", "-c", "."},
      {"jq", "."},
      {"jq", "-S", "--tab", "."},
      {"python3", "-c", python + "separators=(',', ':'))"},
      {"python3", "-c", python + "indent=1, sort_keys=True)"},
  };
  fill(kTaskList, {"A", "B", "a/b: 'c', d"});
  for (Arguments program : programs) {
    SCOPED_TRACE(program.back());
    program.push_back(file(kTaskList));
    const Outcome outcome = wait(startProgram(program));
    if (outcome.exit == 127) GTEST_SKIP() << "needs " << program.front();
    ASSERT_EQ(outcome.exit, 0) << outcome.err;
    write("other.json", outcome.out);
    EXPECT_EQ(list("other.json"), list(kTaskList));
  }
}

}  // namespace
}  // namespace vyx::test
