// SPDX-License-Identifier: MIT
// Every allocation and every platform call of every operation fails once. What can come of it is listed whole: what is
// not listed must not happen, what is listed must.
#include <functional>
#include <set>
#include <sstream>

#include "ssib_if2_backend/xml_tree.h"
#include "support/describe.h"
#include "support/library_test.h"

namespace test {
namespace {

constexpr char kNode[] = "<n x=\"1\">t<m/></n>";
const std::string kOldFile =
    "<SSIB_INFO><SSIB_BLOCK TASK_NAME='task' LU_CATEGORY='cat'><CMD_LINE>a</CMD_LINE><n x='1'>t<m/></n></SSIB_BLOCK>"
    "<SSIB_BLOCK><n x='1'>t<m/></n></SSIB_BLOCK><SSIB_BLOCK><CMD_LINE>c</CMD_LINE></SSIB_BLOCK></SSIB_INFO>";

// An entry in short: its command, and "n" for its Node or "?" for one with a hole; "-" for an entry that has neither.
std::string inShort(const SSIB_ENTRY &entry) {
  std::string text = entry.Cmd_Line == nullptr ? "" : static_cast<const char *>(entry.Cmd_Line);
  if (entry.Node != nullptr) text += textOf(entry.Node) == kNode ? "n" : "?";
  return text.empty() ? "-" : text;
}

std::string inShort(const SSIB_ENTRY_LIST *first) {
  std::string text;
  for (const SSIB_ENTRY_LIST *element = first; element != nullptr; element = element->next)
    text += inShort(element->entry);
  return text;
}

std::string fileInShort(const std::string &contents) {
  if (contents == kOldFile) return "old";
  if (!contents.ends_with("</SSIB_INFO>\n")) return contents;
  std::string text;
  for (std::size_t at = 0; (at = contents.find('<', at)) != std::string::npos; ++at) {
    if (contents.compare(at, 10, "<CMD_LINE>") == 0) text += contents[at + 10];
    if (contents.compare(at, 3, "<n ") == 0) text += "n";
  }
  return text;
}

struct Operation {
  const char *label;
  bool onOpenQueue;
  std::function<EFI_STATUS(SSIB2_PRIVATE_DATA &, SSIB_ENTRY &taken)> run;
  std::string outcomes;  // status and what was taken, list, file
};

class Faults : public LibraryTest {
 protected:
  // Adds what comes of the operation when the nth of a kind fails; false when it does not come to that.
  bool seen(const Operation &operation, const std::string &kind, std::size_t nth, std::set<std::string> &outcomes) {
    host() = Platform();
    host().setFile(L"Main.ssib", kOldFile);
    const std::size_t blocks = heap::live();
    if (operation.onOpenQueue) open();
    SSIB_ENTRY taken = {};
    EFI_STATUS status = 0;
    const bool happened = fails(kind, nth, [&] { status = operation.run(handle, taken); });
    std::ostringstream outcome;
    outcome << std::hex << status << " " << inShort(taken) << ", " << inShort(handle.ssibEntryListHead) << ", "
            << fileInShort(host().file(L"Main.ssib"));
    outcomes.insert(outcome.str());
    release(taken);
    while (handle.openCount != 0) iCloseSSIB(&handle);
    EXPECT_EQ(heap::live(), blocks) << kind << " " << nth;
    return happened;
  }
};

TEST_F(Faults, EachOneAloneHasAKnownOutcome) {
  const ssib::XmlTree node(treeOf(kNode), {handle.XMLProto});
  const auto adding = [&](SSIB2_PRIVATE_DATA &queue, SSIB_ENTRY &) {
    Job x = xmlJob("x"), y = xmlJob("y");
    x.Node = node.get();
    SSIB_ENTRY *entries[] = {&x, &y};
    return iAddToSSIBQueue(&queue, 2, entries, 0, SSIB_ADD_APPEND_LO);
  };
  const Job key = xmlJob("a");
  const Operation operations[] = {
      {"construct", false, [](auto &, auto &) { return vyxSSIB2LinuxInitBackend(); }, "0 -, , old; 80000015 -, , old"},
      {"open", false, [](auto &queue, auto &) { return iOpenSSIB(&queue, L"Main.ssib"); },
       "0 -, , old; 0 -, a?nc, old; 0 -, an?c, old; 0 -, annc, old; 80000007 -, , old; 80000009 -, , old; 8000000f -, "
       ", "
       "old"},
      {"open a new queue", false, [](auto &queue, auto &) { return iOpenSSIB(&queue, L"New.ssib"); },
       "0 -, , old; 80000007 -, , old; 80000009 -, , old"},
      {"get", true, [](auto &queue, auto &taken) { return iGetSSIBNextEntry(&queue, &taken); },
       "0 a, annc, old; 0 a?, annc, old; 0 an, annc, old; 0 n, annc, old"},
      {"peek", true, [](auto &queue, auto &taken) { return iPeekSSIBNextEntry(&queue, &taken); },
       "0 a, annc, old; 0 a?, annc, old; 0 an, annc, old; 0 n, annc, old"},
      {"add", true, adding,
       "0 -, anncny, old; 0 -, anncx?y, old; 0 -, anncxn-, old; 0 -, anncxny, old; 0 -, anncxy, old; 80000009 -, annc, "
       "old; 80000009 -, "
       "anncxn, old"},
      {"delete", true, [&](auto &queue, auto &) { return iDeleteSSIBEntry(&queue, &key); }, "0 -, nc, old"},
      {"remove", true, [&](auto &queue, auto &) { return iRemoveFromSSIBQueue(&queue, &key); },
       "0 -, nc, c; 0 -, nc, nc; 0 -, nc, old; 300004 -, nc, old; 300009 -, nc, old; 80000007 -, nc, old"},
      {"flush", true, [](auto &queue, auto &) { return iFlushSSIBQueue(&queue); },
       "0 -, annc, ac; 0 -, annc, anc; 0 -, annc, old; 300004 -, annc, old; 300009 -, annc, old; 80000007 -, annc, "
       "old"},
      {"close", true, [](auto &queue, auto &) { return iCloseSSIB(&queue); },
       "0 -, , ac; 0 -, , anc; 0 -, , old; 300004 -, , old; 300009 -, , old; 80000007 -, , old"},
      {"delete the file", true, [](auto &queue, auto &) { return iDeleteSSIB(&queue, L"Main.ssib"); },
       "0 -, annc, <none>; 0 -, annc, old; 8000000e -, annc, old"},
  };
  for (const Operation &operation : operations) {
    SCOPED_TRACE(operation.label);
    std::set<std::string> outcomes;
    for (const char *kind : {"allocation", "open", "close", "delete", "write", "Parse", "Serialize", "Create"}) {
      for (std::size_t nth = 1; seen(operation, kind, nth, outcomes);) ++nth;
    }
    std::string all;
    for (const std::string &outcome : outcomes) all += (all.empty() ? "" : "; ") + outcome;
    EXPECT_EQ(all, operation.outcomes);
  }
}

}  // namespace
}  // namespace test
