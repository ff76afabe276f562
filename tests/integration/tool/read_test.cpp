// SPDX-License-Identifier: MIT
// What list, show and peek print, and that they change nothing.
#include <sys/stat.h>

#include <algorithm>

#include "tool.h"

namespace vyx::test {
namespace {

using Read = ToolTest;

const Arguments kFullXml = {"--version-number", "4294967295", "--block-id",    "65535", "--rb-type",  "0xFF",
                            "--rb-req",         "0",          "--timeout",     "65535", "--rtn-code", "0x80000000",
                            "--rt-count",       "7",          "--job-id",      "JID_1", "--cmd-line", "run --now",
                            "--task-name",      "Update",     "--lu-category", "BIOS"};

TEST_F(Read, AnEntryIsShownWithAllFieldsThatItsFormStores) {
  done("add", kFullXml);
  done("add --job-id JID_2 -q BIOS_task_list.json --target-version 1.2", taskNamed("Firmware"));
  EXPECT_EQ(Json::parse(ssib("show 1 --json").out),
            Json::parse(R"({"Version": 4294967295, "Block_ID": 65535, "RB_Type": 255, "RB_Req": 0, "Timeout": 65535,
                            "Rtn_Code": 2147483648, "RT_Count": 7, "Job_ID": "JID_1", "Cmd_Line": "run --now",
                            "Task_Name": "Update", "LU_Category": "BIOS"})"));
  expectOutcome(ssib("show 1"), 0,
                "Version: 4294967295\nBlock_ID: 65535\nRB_Type: 255\nRB_Req: 0\nTimeout: 65535\nRtn_Code: 2147483648\n"
                "RT_Count: 7\nJob_ID: JID_1\nCmd_Line: run --now\nTask_Name: Update\nLU_Category: BIOS\n",
                "");
  expectOutcome(ssib("peek -q", {kTaskList}), 0,
                "Job_ID: JID_2\nDisplay_Name: Firmware\nJob_Type: UPDATE\nFQDD: dev\nResource_URI: /fw.bin\n"
                "Resource_Type: image\nResource_Namespace: main\nTarget_Version: 1.2\n",
                "");
}

TEST_F(Read, WhatAnEntryHasNotIsLeftOut) {
  done("add");
  done("add --display-name x -q", {kTaskList});
  expectOutcome(ssib("peek --json"), 0,
                "{\n  \"Version\": 0,\n  \"Block_ID\": 0,\n  \"Cmd_Line\": \"\",\n  \"Task_Name\": \"\",\n"
                "  \"LU_Category\": \"\"\n}\n",
                "");
  expectOutcome(ssib("peek --json -q", {kTaskList}), 0, "{\n  \"Display_Name\": \"x\"\n}\n", "");
}

TEST_F(Read, ListAlignsWhatIsDisplayed) {
  done("add", kFullXml);
  done("add --task-name Größe☃ --cmd-line", {"a\tb\\c\n"});
  done("add --job-id JID_2 -q BIOS_task_list.json", taskNamed("Firmware"));
  done("add -q BIOS_task_list.json", taskNamed("ü"));
  expectOutcome(ssib("list"), 0,
                "#  Job_ID  Task_Name  LU_Category  Block_ID  Version     Timeout  Cmd_Line\n"
                "1  JID_1   Update     BIOS         65535     4294967295  65535    run --now\n"
                "2  -       Größe☃                  0         0           -        a\\tb\\\\c\\n\n",
                "");
  expectOutcome(ssib("list -q", {kTaskList}), 0,
                "#  Job_ID  Job_Type  Display_Name  FQDD  Target_Version\n"
                "1  JID_2   UPDATE    Firmware      dev   -\n"
                "2  -       UPDATE    ü             dev   -\n",
                "");
}

TEST_F(Read, ATerminalIsNotDriven) {
  const std::string hostile = "\x1BP\x07\x7F\xC2\x9Bz\xFF\r\xE2\x82";
  write(kTaskList, "[{\"JobType\":\"" + hostile + "\",\"FQDD\":\"" + hostile + "\"}]");
  done("add --cmd-line", {"\x7F\xC2\x9Bz\xFF\r\n\t\xED\xA0\x80"});
  EXPECT_EQ(ssib("peek -q", {kTaskList}).out,
            "Job_Type: \\x1BP\\x07\\x7F\\xC2\\x9Bz\\xFF\\r\\xE2\\x82\n"
            "FQDD: \\x1BP\\x07\\x7F\\xC2\\x9Bz\\xFF\\r\\xE2\\x82\n");
  const std::string shown = "\\x7F\\xC2\\x9Bz\\xFF\\r\\n\\t\\xED\\xA0\\x80\n";
  EXPECT_NE(ssib("show 1").out.find("Cmd_Line: " + shown), std::string::npos);
  EXPECT_NE(ssib("list").out.find(shown), std::string::npos);
  const std::string printed = ssib("list -q", {kTaskList}).out + ssib("list --json -q", {kTaskList}).out;
  EXPECT_TRUE(
      std::all_of(printed.begin(), printed.end(), [](char ch) { return ch == '\n' || (ch >= ' ' && ch < '\x7F'); }));
}

TEST_F(Read, BytesThatAreNoUtf8AreReplacedInJson) {
  done("add --task-name", {"a\xFFz☃"});
  EXPECT_NE(ssib("list --json").out.find("\"a\\ufffdz\\u2603\""), std::string::npos);
}

TEST_F(Read, ExtraContentIsShownAsXml) {
  write("Main.ssib", "<SSIB_INFO><SSIB_BLOCK><EXTRA a=\"1\"><B>text</B></EXTRA></SSIB_BLOCK></SSIB_INFO>");
  const Json entry = list().at(0);
  EXPECT_EQ(entry.size(), 3U) << entry;
  EXPECT_NE(entry.value("Node", "").find("<EXTRA a=\"1\">\n<B>text</B>\n</EXTRA>"), std::string::npos) << entry;
  EXPECT_NE(ssib("show 1").out.find("Node: <EXTRA a=\"1\">\\n"), std::string::npos);
}

TEST_F(Read, BytesAndTimeOfTheFileStay) {
  write("Main.ssib", "<X ><Y TASK_NAME='t'/> <Y/></X>");
  write(kTaskList, "[{\"JobType\":\"UPDATE\"},{}]");
  for (const std::string &queue : {std::string("Main.ssib"), kTaskList}) {
    const std::string before = bytes(queue);
    struct stat old {
    }, now{};
    ASSERT_EQ(stat(file(queue).c_str(), &old), 0);
    for (const char *line : {"list", "list --json", "show 2", "peek", "peek --json"}) {
      SCOPED_TRACE(queue + " " + line);
      EXPECT_EQ(ssib(line, {"-q", queue}).exit, 0);
      ASSERT_EQ(stat(file(queue).c_str(), &now), 0);
      EXPECT_EQ(bytes(queue), before);
      EXPECT_EQ(now.st_ino, old.st_ino);
      EXPECT_EQ(std::pair(now.st_mtim.tv_sec, now.st_mtim.tv_nsec), std::pair(old.st_mtim.tv_sec, old.st_mtim.tv_nsec));
    }
  }
  EXPECT_FALSE(std::filesystem::exists(file(".lock")));
}

TEST_F(Read, AnOutputThatFailsIsRefused) {
  done("add");
  for (const char *line : {"list", "show 1", "peek --json"}) {
    SCOPED_TRACE(line);
    expectRefused(start(line, {}, "/dev/full").wait(), 3, "cannot write to standard output: ");
    expectRefused(ssibAfter("exec >&-", line), 3, "cannot write to standard output: ");
  }
}

TEST_F(Read, OtherToolsReadWhatIsWrittenAndPrinted) {
  if (!isInstalled("xmllint") || !isInstalled("jq")) GTEST_SKIP() << "needs xmllint and jq";
  done("add --cmd-line", {"<a & \"b\"> ]]> \r\n\t 'c' ", "--task-name", " \t\n\r\xFFü", "--job-id", "--&amp;"});
  done("add", kFullXml);
  const std::string path = file("Main.ssib");
  const Outcome format = Process({"xmllint", "--format", path}).wait();
  EXPECT_EQ(format.exit, 0) << format.err;
  write("Formatted.ssib", format.out);
  EXPECT_EQ(list("Formatted.ssib"), list());
  write("list", ssib("list --json").out);
  expectOutcome(Process({"jq", "-r", ".[0].Job_ID, .[1].Timeout", file("list")}).wait(), 0, "--&amp;\n65535\n", "");
}

}  // namespace
}  // namespace vyx::test
