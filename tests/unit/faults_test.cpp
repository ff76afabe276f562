// SPDX-License-Identifier: MIT
// Every allocation (once, and with all that follow), every platform call and all writing fail, in every operation on
// both forms. What can come of it is listed whole: what is not listed must not happen, what is listed must.
#include <map>
#include <set>

#include "support/library_test.h"

namespace test {
namespace {

// How all writing and all calls can fail: which, and with which status.
const std::pair<const char *, const char *> kFailures[] = {
    {"allocation", ""}, {"allocations", ""}, {"write", ""}, {"any", "80000007"}, {"any", "8000000f"}};

void replaceAll(std::string &text, const std::string &found, const std::string &shorter) {
  for (std::size_t at = 0; (at = text.find(found, at)) != std::string::npos; at += shorter.size())
    text.replace(at, found.size(), shorter);
}

const std::string kNode = " Node=", kWhole = "<n x=\"1\">t<m/></n>";
// The copy of it whose second, third, ... allocation failed; the first is the node's own.
const std::string kHoles[] = {
    "< x=\"1\">t<m/></>",   "<~ x=\"1\">t<m/></~>", "<n x=\"1\"><m/></n>",  "<n x=\"1\">~<m/></n>",
    "<n>t<m/></n>",         "<n =\"1\">t<m/></n>",  "<n ~=\"1\">t<m/></n>", "<n x=\"\">t<m/></n>",
    "<n x=\"~\">t<m/></n>", "<n x=\"1\">t</n>",     "<n x=\"1\">t</></n>",  "<n x=\"1\">t<~/></n>",
};
// The copies beside these for which memory ended there.
const std::string kRemains[] = {
    "</>",
    "<~/>",
    "<n/>",
    "<n>~</n>",
    "<n>t</n>",
    "<n =\"\">t</n>",
    "<n ~=\"\">t</n>",
    "<n x=\"\">t</n>",
    "<n x=\"~\">t</n>",
};

// Jobs in short: "[ a a+]" has a command, a display name and extra content, "*" in its place is one with a hole, "[?]"
// lacks a text. Of a file that has something else than jobs the frame is left out.
std::string inShort(std::string text) {
  if (const std::size_t at = text.find("{\n"); at != std::string::npos)
    text.replace(at, text.find("\n}\n") + 3 - at, "a text missing");
  for (const char *usual :
       {" Timeout=600", " Job_Type=UPDATE", " priority=5", "\n", "<SSIB_INFO>", "</SSIB_INFO>", "</SSIB_BLOCK>",
        "<SSIB_BLOCK Version=\"0\" BLOCK_ID=\"0\" LU_CATEGORY=\"cat\" TASK_NAME=\"task\">", "<CMD_LINE>",
        "</CMD_LINE>"})
    replaceAll(text, usual, "");
  for (const char *name : {" Cmd_Line=", " Display_Name="}) replaceAll(text, name, " ");
  replaceAll(text, kNode + kWhole, "+");
  for (const std::string &hole : kHoles) replaceAll(text, kNode + hole, "*");
  for (const std::string &remains : kRemains) replaceAll(text, kNode + remains, "*");
  for (std::size_t at = 0; (at = text.find('[', at)) != std::string::npos; ++at) {
    const std::size_t length = text.find(']', at) + 1 - at;
    if (text.substr(at, length).find('=') != std::string::npos) text.replace(at, length, "[?]");
  }
  return text;
}

class Faults : public LibraryTest {
 protected:
  // What comes of an operation when one thing fails, whichever it is: what handle and files are like afterwards, and
  // the statuses (with what was handed out) with which the operation leaves them so, a line each: "0 80000009: STATE".
  std::string outcomesOf(const std::string &before, const std::string &operation) {
    std::map<std::string, std::set<std::string>> outcomes;
    for (const auto &[kind, status] : kFailures) {
      bool happened = true;
      for (std::size_t nth = 1; happened; ++nth) {
        const std::string fault = std::string("fail ") + kind + " " + std::to_string(nth) + " " + status + "; ";
        host() = Platform();
        outcome(before);
        const std::string found = inShort(outcome(fault + operation));
        happened = faultHappened;
        const std::size_t end = found.find("; ");
        if (happened) outcomes[found.substr(end + 2)].insert(found.substr(0, end));
        tidy();
      }
    }
    std::string text;
    for (const auto &[state, statuses] : outcomes) {
      for (const std::string &status : statuses) text += status + " ";
      text.back() = ':';
      text += " " + state + "\n";
    }
    return text;
  }
};

TEST_F(Faults, ACopyLacksOnlyWhatCouldNotBeAllocated) {
  const std::string job = " Timeout=600 Display_Name=n", queue = "; 1 mode 1 a.json ";
  const struct {
    const char *operation;
    std::size_t allocationsBefore;
    const char *withoutNode;
    std::string outcome;  // "+" is the whole node, "*" its copy
  } rows[] = {
      {"get", 1, "0", "0" + job + "*" + queue + "[" + job + "+ priority=5]"},
      {"peek", 8, "0", "0" + job + "*" + queue + ">[" + job + "+ priority=5]"},
      {"add n 1", 9, "0", "0" + queue + "[" + job + "* priority=1]>[" + job + "+ priority=5]"},
      {"replace n n", 8, "80000009", "0" + queue + ">[" + job + "* priority=5]"},
  };
  for (const auto &[operation, before, withoutNode, withNode] : rows) {
    for (std::size_t hole = 0; hole <= std::size(kHoles); ++hole) {
      std::string expected = withNode;
      if (hole == 0) expected.replace(0, 1, withoutNode);
      replaceAll(expected, "*", hole == 0 ? "" : kNode + kHoles[hole - 1]);
      replaceAll(expected, "+", kNode + kWhole);
      host() = Platform();
      outcome("open a.json; add n; cursor");
      EXPECT_EQ(outcome("fail allocation " + std::to_string(before + hole + 1) + "; " + operation), expected);
      tidy();
    }
  }
}

TEST_F(Faults, EachAloneHasAKnownOutcome) {
  const struct {
    const char *before, *operation, *outcomes;
  } rows[] = {
      {"service on", "init", "0 80000015: 0\n0: 0 CHANGED\n"},
      {"file Main.ssib nac", "open Main.ssib",
       "80000007 80000009 8000000f: 0 | Main.ssib=nac\n0: 1 Main.ssib >[*][a][c] | Main.ssib=nac\n"
       "0: 1 Main.ssib >[+][a][c] | Main.ssib=nac\n0: 1 Main.ssib | Main.ssib=nac\n"},
      {"service on", "open Main.ssib", "80000007 80000009 8000000f: 0\n0: 1 Main.ssib\n"},
      {"file Main.ssib nac; open Main.ssib", "get",
       "0 0 LU_Category=cat+ 0 Task_Name=task 0 Task_Name=task* 0 Task_Name=task+ 0* 0+: 1 Main.ssib [+]>[a][c] | "
       "Main.ssib=nac\n"},
      {"file Main.ssib nac; open Main.ssib", "peek",
       "0 0 LU_Category=cat+ 0 Task_Name=task 0 Task_Name=task+ 0* 0+: 1 Main.ssib >[+][a][c] | Main.ssib=nac\n"},
      {"file Main.ssib a; open Main.ssib", "add nx",
       "80000009: 1 Main.ssib >[a] | Main.ssib=a\n80000009: 1 Main.ssib >[a][ n*] | Main.ssib=a\n"
       "0: 1 Main.ssib >[a][ n*][x5] | Main.ssib=a\n80000009: 1 Main.ssib >[a][ n+] | Main.ssib=a\n"
       "0: 1 Main.ssib >[a][ n+][ x] | Main.ssib=a\n0: 1 Main.ssib >[a][ n+][?] | Main.ssib=a\n"
       "0: 1 Main.ssib >[a][ n+][] | Main.ssib=a\n0: 1 Main.ssib >[a][ n+][x5] | Main.ssib=a\n"
       "80000009: 1 Main.ssib >[a][ n] | Main.ssib=a\n0: 1 Main.ssib >[a][ n][x5] | Main.ssib=a\n"
       "0: 1 Main.ssib >[a][+][x5] | Main.ssib=a\n80000009: 1 Main.ssib >[a][?] | Main.ssib=a\n"
       "0: 1 Main.ssib >[a][?][x5] | Main.ssib=a\n80000009: 1 Main.ssib >[a][] | Main.ssib=a\n"},
      {"file Main.ssib xac; open Main.ssib", "remove a",
       "0 300004 300009 80000007: 1 Main.ssib >[x][c] | Main.ssib=xac\n0: 1 Main.ssib >[x][c] | Main.ssib=xc\n"},
      {"file Main.ssib an; open Main.ssib; add b", "flush",
       "0: 1 Main.ssib >[a][+][b5] | Main.ssib=a<n x=\"\">t<m/></n>b\n"
       "0: 1 Main.ssib >[a][+][b5] | Main.ssib=a<n x=\"1\"><m/></n>b\n"
       "0: 1 Main.ssib >[a][+][b5] | Main.ssib=a<n x=\"1\">t</n>b\n"
       "0: 1 Main.ssib >[a][+][b5] | Main.ssib=a<n>t<m/></n>b\n"
       "0 300004 300009 80000007: 1 Main.ssib >[a][+][b5] | Main.ssib=an\n"
       "0: 1 Main.ssib >[a][+][b5] | Main.ssib=anb\n"},
      {"file Main.ssib ac; open Main.ssib; add b", "close",
       "0 300004 300009 80000007: 0 | Main.ssib=ac\n0: 0 | Main.ssib=acb\n"},
      {"open Main.ssib; add n", "replace n x",
       "8000000e: 1 Main.ssib [ n+]\n80000009: 1 Main.ssib [ x]\n80000009: 1 Main.ssib [?]\n80000009: 1 Main.ssib []\n"
       "0 80000009: 1 Main.ssib [x5]\n"},
      {"file Main.ssib a", "delete-file Main.ssib", "0: 0\n0 8000000e: 0 | Main.ssib=a\n"},
      {"service on", "compare n n", "0 ffffffff: 0\n"},
      {"file Main.ssib ab; file sub.ssib c", "merge sub.ssib 0",
       "0: 0 | Main.ssib=ab | sub.ssib=\n0 80000007 80000009 8000000e 8000000f: 0 | Main.ssib=ab | sub.ssib=c\n"
       "0: 0 | Main.ssib=abc | sub.ssib=\n0: 0 | Main.ssib=abc | sub.ssib=c\n0: 0 | Main.ssib=c | sub.ssib=\n"},
      {"file Main.ssib ab; file sub.ssib c", "merge sub.ssib 1",
       "0: 0 | Main.ssib=ab\n80000007 80000009 8000000e 8000000f: 0 | Main.ssib=ab | sub.ssib=c\n0: 0 | Main.ssib=abc\n"
       "0: 0 | Main.ssib=abc | sub.ssib=\n0: 0 | Main.ssib=c\n"},
      {"file a.json ub", "open a.json",
       "80000015: 0 mode 1 a.json | a.json=ub\n80000009 8000000f: 0 mode 1 | a.json=ub\n"
       "0: 1 mode 1 a.json >[ u][?] | a.json=ub\n0: 1 mode 1 a.json >[ u][] | a.json=ub\n"
       "0: 1 mode 1 a.json >[ u][b] | a.json=ub\n0: 1 mode 1 a.json >[?][b] | a.json=ub\n"
       "0: 1 mode 1 a.json >[][b] | a.json=ub\n0: 1 mode 1 a.json >[u][b] | a.json=ub\n"
       "0 80000009: 1 mode 1 a.json | a.json=ub\n"},
      {"open a.json", "parse [{\"FQDD\":\"f\",\"JobType\":\"t\"}{\"FQDD\":\"g\"}]",
       "80000009: 1 mode 1 a.json\n80000009: 1 mode 1 a.json >[?]\n0: 1 mode 1 a.json >[?][?]\n"
       "0: 1 mode 1 a.json >[?][]\n80000009: 1 mode 1 a.json >[]\n"},
      {"open a.json", "add u",
       "80000009: 1 mode 1 a.json\n0: 1 mode 1 a.json [ u u]\n0: 1 mode 1 a.json [ u]\n0: 1 mode 1 a.json [?]\n"
       "0: 1 mode 1 a.json []\n0: 1 mode 1 a.json [u5]\n"},
      {"file a.json ub; open a.json", "remove u",
       "0: 1 mode 1 a.json >[b] | a.json=b\n0 80000015: 1 mode 1 a.json >[b] | a.json=ub\n"},
      {"file a.json ub; open a.json; add c", "flush",
       "0 80000015: 1 mode 1 a.json >[ u][b][c5] | a.json=ub\n0: 1 mode 1 a.json >[ u][b][c5] | a.json=ubc\n"},
      {"file a.json ub; open a.json; add c", "close", "0 80000015: 0 | a.json=ub\n0: 0 | a.json=ubc\n"},
      {"file BIOS_task_list.json ab; file sub.json c", "merge sub.json 0",
       "0: 0 | BIOS_task_list.json=a text missing | sub.json=c\n"
       "80000009: 0 | BIOS_task_list.json=ab | sub.json=a text missing\n"
       "0 80000009 8000000e 8000000f 80000015: 0 | BIOS_task_list.json=ab | sub.json=c\n"
       "0: 0 | BIOS_task_list.json=abc | sub.json=c\n0: 0 | BIOS_task_list.json=c | sub.json=c\n"},
      {"file BIOS_task_list.json ab; file sub.json c", "merge sub.json 1",
       "0: 0 | BIOS_task_list.json=a text missing\n0: 0 | BIOS_task_list.json=ab\n"
       "80000009: 0 | BIOS_task_list.json=ab | sub.json=a text missing\n"
       "80000009 8000000e 8000000f 80000015: 0 | BIOS_task_list.json=ab | sub.json=c\n0: 0 | BIOS_task_list.json=abc\n"
       "0: 0 | BIOS_task_list.json=abc | sub.json=c\n0: 0 | BIOS_task_list.json=c\n"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(std::string(row.before) + "; " + row.operation);
    EXPECT_EQ(outcomesOf(row.before, row.operation), row.outcomes);
  }
}

}  // namespace
}  // namespace test
