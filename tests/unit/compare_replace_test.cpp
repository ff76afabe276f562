// SPDX-License-Identifier: MIT
// Whether two entries are the same job, and putting another job in an entry's place.
#include "support/library_test.h"

namespace test {
namespace {

using Lines = std::vector<std::string>;

// What comparing makes of a text.
const struct {
  const char *label;
  SSIB_TEXT SSIB_ENTRY::*member;
  std::size_t counted;   // bytes
  bool oneSidedDiffers;  // in an XML queue
  bool inTaskList;
} kTexts[] = {
    {"Job_ID", &SSIB_ENTRY::Job_ID, 64, true, false},
    {"Cmd_Line", &SSIB_ENTRY::Cmd_Line, 256, true, false},
    {"Task_Name", &SSIB_ENTRY::Task_Name, 256, true, false},
    {"LU_Category", &SSIB_ENTRY::LU_Category, 16, true, false},
    {"Display_Name", &SSIB_ENTRY::Display_Name, 256, false, true},
    {"Job_Type", &SSIB_ENTRY::Job_Type, 16, false, true},
    {"FQDD", &SSIB_ENTRY::FQDD, 256, false, true},
    {"Resource_URI", &SSIB_ENTRY::Resource_URI, 256, false, false},
    {"Resource_Type", &SSIB_ENTRY::Resource_Type, 256, false, false},
    {"Resource_Namespace", &SSIB_ENTRY::Resource_Namespace, 256, false, true},
    {"Target_Version", &SSIB_ENTRY::Target_Version, 256, false, false},
};

// An element without content.
struct Node {
  explicit Node(const char *text) : name{1, const_cast<char *>(text)}, node{} { node.name = &name; }
  XML_STRING name;
  XML_NODE node;
};

class Compare : public LibraryTest {
 protected:
  std::uint32_t inMode(unsigned mode, const SSIB_ENTRY *e1, const SSIB_ENTRY *e2) {
    host().forgetEvents();
    SSIB2_PRIVATE_DATA open = handle;
    open.mode = static_cast<std::uint8_t>(mode);
    return SSIBEntryCmp(&open, e1, e2);
  }
};

TEST_F(Compare, TextsCountToTheirLastByte) {
  for (const auto &row : kTexts) {
    SCOPED_TRACE(row.label);
    const std::string head(row.counted - 1, 'x'), a = head + "a", b = head + "b", beyondA = a + "a", beyondB = a + "b";
    const auto expect = [&](const char *text, const char *otherText, bool differInXml, bool differInTaskList) {
      const Job one = Job().text(row.member, text), other = Job().text(row.member, otherText);
      EXPECT_EQ(inMode(SSIB_MODE_DEFAULT, &one, &other), differInXml ? 1U : 0U);
      EXPECT_EQ(inMode(SSIB_MODE_BIOS_SMA, &one, &other), differInTaskList ? 1U : 0U);
    };
    expect(a.c_str(), b.c_str(), true, row.inTaskList);
    expect(beyondA.c_str(), beyondB.c_str(), false, false);
    expect(a.c_str(), nullptr, row.oneSidedDiffers, false);
    expect(nullptr, "", row.oneSidedDiffers, false);
    expect("", a.c_str(), true, row.inTaskList);
  }
}

TEST_F(Compare, NodesAreComparedAsTextOrTheComparisonFails) {
  Node a("a"), alsoA("a"), b("b");
  Job one, same, other, none;
  one.Node = &a.node;
  same.Node = &alsoA.node;
  other.Node = &b.node;
  EXPECT_EQ(inMode(SSIB_MODE_DEFAULT, &one, &same), 0U);
  EXPECT_EQ(inMode(SSIB_MODE_DEFAULT, &one, &none), 1U);
  EXPECT_EQ(inMode(SSIB_MODE_DEFAULT, &none, &one), 1U);
  EXPECT_LT(static_cast<std::int32_t>(inMode(SSIB_MODE_DEFAULT, &one, &other)), 0);
  EXPECT_GT(static_cast<std::int32_t>(inMode(SSIB_MODE_DEFAULT, &other, &one)), 0);
  EXPECT_EQ(host().logTexts(), (Lines{"Enter SSIBEntryCmp", "SSIB_MODE_DEFAULT mode."}));
  EXPECT_EQ(inMode(SSIB_MODE_BIOS_SMA, &one, &other), 0U);
  for (std::size_t failing = 1;; ++failing) {
    const std::size_t before = heap::live();
    const heap::Watch watch(failing);
    const std::uint32_t result = inMode(SSIB_MODE_DEFAULT, &one, &same);
    EXPECT_EQ(heap::live(), before) << failing;
    if (!watch.failed()) break;
    EXPECT_EQ(result, 0xFFFFFFFF) << failing;
  }
  host().failCall("SerializeTree", 1);
  EXPECT_EQ(inMode(SSIB_MODE_DEFAULT, &one, &same), 0xFFFFFFFF);
  EXPECT_EQ(host().countCalls("SerializeTree"), 1U);
  SSIB2_PRIVATE_DATA unconstructed = {};
  EXPECT_EQ(SSIBEntryCmp(&unconstructed, &one, &same), 0xFFFFFFFF);
}

TEST_F(Compare, SaysWhatItFound) {
  Job one = taskJob("one", "T1"), other = taskJob("one", "T2"), number;
  other.text(&SSIB_ENTRY::FQDD, "another");
  number.RT_Count = 0x100;
  const std::string xml = "SSIB_MODE_DEFAULT mode.", taskList = "SSIB_MODE_BIOS_SMA mode.";
  const struct {
    const char *label;
    unsigned mode;
    const SSIB_ENTRY *e1, *e2;
    std::uint32_t result;
    Lines lines;
  } rows[] = {
      {"both null", 2, nullptr, nullptr, 0, {"Both entries are NULL. Returning 0."}},
      {"first null", 0, nullptr, &one, 1, {"One of the entries is NULL. Returning 1."}},
      {"second null", 1, &one, nullptr, 1, {"One of the entries is NULL. Returning 1."}},
      {"unknown mode", 2, &one, &one, 1, {"Entries don't match as their modes are different."}},
      {"same in XML", 0, &one, &one, 0, {xml, "Entries match."}},
      {"not in XML", 0, &one, &number, 1, {xml}},
      {"same task", 1, &one, &one, 0, {taskList, "Entries match."}},
      {"other task", 1, &one, &other, 1, {taskList, "e1->Job_Type [T1].", "e2->Job_Type [T2]."}},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(inMode(row.mode, row.e1, row.e2), row.result) << row.label;
    Lines expected = row.lines;
    expected.insert(expected.begin(), "Enter SSIBEntryCmp");
    EXPECT_EQ(host().logTexts(), expected) << row.label;
  }
  EXPECT_EQ(SSIBEntryCmp(nullptr, nullptr, nullptr), 0U);
  EXPECT_EQ(SSIBEntryCmp(nullptr, &one, &one), 1U);
}

class Replace : public LibraryTest {
 protected:
  void expect(const SSIB_ENTRY *key, const SSIB_ENTRY *renewed, EFI_STATUS status, const Lines &lines) {
    host().forgetEvents();
    EXPECT_EQ(iReplaceSSIBEntry(&handle, key, renewed), status);
    EXPECT_EQ(host().logTexts("iReplaceSSIBEntry"), lines);
  }
};

TEST_F(Replace, SaysWhatItFoundAndWritesNothing) {
  open();
  add(handle, xmlJob("a"));
  const Job a = xmlJob("a"), other = xmlJob("b");
  expect(nullptr, &a, EFI_INVALID_PARAMETER, {"Entered", "Exit. 0x80000002"});
  expect(&a, nullptr, EFI_INVALID_PARAMETER, {"Entered", "Exit. 0x80000002"});
  expect(&other, &a, EFI_NOT_FOUND, {"Entered", "Exit. 0x8000000e"});
  expect(&a, &other, EFI_SUCCESS, {"Entered", "Found Old Entry... Replacing...", "Exit. 0x00000000"});
  EXPECT_EQ(iReplaceSSIBEntry(&handle, &other, &other), EFI_SUCCESS) << "one record as both";
  EXPECT_EQ(iReplaceSSIBEntry(nullptr, &a, &other), EFI_INVALID_PARAMETER);
  EXPECT_EQ(listOf(handle), Lines{"b"});
  EXPECT_EQ(host().file(L"Main.ssib"), "<none>");
}

TEST_F(Replace, AFailedCopyLeavesNullBehindTheCopiesMade) {
  open(L"sub.json");
  Node node("extra");
  Job full;
  for (const auto &row : kTexts) full.text(row.member, row.label);
  full.Version = 5;
  full.Node = &node.node;
  add(handle, full);
  const SSIB_ENTRY &entry = handle.ssibEntryListHead->entry;
  for (std::size_t failing = 1;; ++failing) {
    SCOPED_TRACE(failing);
    const heap::Watch watch(failing);
    const EFI_STATUS status = iReplaceSSIBEntry(&handle, &full, &full);
    if (failing > std::size(kTexts) + 1) break;  // what fails inside of the Node's copy is not an error
    EXPECT_EQ(status, EFI_OUT_OF_RESOURCES);
    EXPECT_EQ(host().logTexts("iReplaceSSIBEntry").back(), "Exit. 0x80000009");
    EXPECT_EQ(entry.Version, 5U);
    EXPECT_TRUE(entry.Node == nullptr);
    for (std::size_t i = 0; i < std::size(kTexts); ++i)
      EXPECT_STREQ(entry.*kTexts[i].member, i + 1 < failing ? kTexts[i].label : nullptr);
  }
  EXPECT_TRUE(entry.Node != nullptr && entry.Node->name == nullptr);
  EXPECT_TRUE(entry.FQDD != full.FQDD);
}

}  // namespace
}  // namespace test
