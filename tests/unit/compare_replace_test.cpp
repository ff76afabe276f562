// SPDX-License-Identifier: MIT
// Whether two entries are the same job, and putting another job in an entry's place.
#include <cstring>

#include "support/library_test.h"

namespace test {
namespace {

using Lines = std::vector<std::string>;

// What the two forms make of a text.
struct TextRow {
  const char *label;
  SSIB_TEXT SSIB_ENTRY::*member;
  std::size_t counted;   // bytes
  bool oneSidedDiffers;  // in an XML queue
  bool inTaskList;
};
#define TEXT(field, ...)                    \
  TextRow {                                 \
#field, &SSIB_ENTRY::field, __VA_ARGS__ \
  }
constexpr TextRow kTexts[] = {TEXT(Job_ID, 64, true, false),          TEXT(Cmd_Line, 256, true, false),
                              TEXT(Task_Name, 256, true, false),      TEXT(LU_Category, 16, true, false),
                              TEXT(Display_Name, 256, false, true),   TEXT(Job_Type, 16, false, true),
                              TEXT(FQDD, 256, false, true),           TEXT(Resource_URI, 256, false, false),
                              TEXT(Resource_Type, 256, false, false), TEXT(Resource_Namespace, 256, false, true),
                              TEXT(Target_Version, 256, false, false)};

// An element without content.
struct Node {
  explicit Node(const char *text) : name{1, const_cast<char *>(text)}, node{} { node.name = &name; }
  XML_NODE *get() { return &node; }
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
  void expect(const SSIB_ENTRY &e1, const SSIB_ENTRY &e2, bool differInXml, bool differInTaskList) {
    EXPECT_EQ(inMode(SSIB_MODE_DEFAULT, &e1, &e2), differInXml ? 1U : 0U);
    EXPECT_EQ(inMode(SSIB_MODE_BIOS_SMA, &e1, &e2), differInTaskList ? 1U : 0U);
  }
};

TEST_F(Compare, AnyNumberCountsInXmlQueuesAlone) {
  struct {
    const char *label;
    void (*set)(SSIB_ENTRY &);
  } const rows[] = {
      {"Version", [](SSIB_ENTRY &e) { e.Version = 0x01000000; }},
      {"mode", [](SSIB_ENTRY &e) { e.mode = 1; }},
      {"Block_ID", [](SSIB_ENTRY &e) { e.Block_ID = 0x100; }},
      {"RB_Type", [](SSIB_ENTRY &e) { e.RB_Type = 1; }},
      {"RB_Req", [](SSIB_ENTRY &e) { e.RB_Req = 1; }},
      {"Timeout", [](SSIB_ENTRY &e) { e.Timeout = 0x10000; }},
      {"Rtn_Code", [](SSIB_ENTRY &e) { e.Rtn_Code = 0x80000000; }},
      {"RT_Count", [](SSIB_ENTRY &e) { e.RT_Count = 0x100; }},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    Job one, other;
    row.set(other);
    expect(one, other, true, false);
    expect(other, other, false, false);
  }
}

TEST_F(Compare, TextsCountToTheirLastByte) {
  for (const TextRow &row : kTexts) {
    SCOPED_TRACE(row.label);
    const std::string head(row.counted - 1, 'x');
    const std::string a = head + "a", b = head + "b", beyondA = a + "a", beyondB = a + "b";
    Job one, other, empty;
    expect(one.text(row.member, a.c_str()), other.text(row.member, b.c_str()), true, row.inTaskList);
    expect(one.text(row.member, beyondA.c_str()), other.text(row.member, beyondB.c_str()), false, false);
    expect(one, empty, row.oneSidedDiffers, false);
    expect(empty, one, row.oneSidedDiffers, false);
    expect(empty.text(row.member, ""), one, true, row.inTaskList);
    expect(empty, Job(), row.oneSidedDiffers, false);
  }
}

TEST_F(Compare, NodesAreComparedAsText) {
  Node a("a"), alsoA("a"), b("b");
  Job one, same, other;
  one.Node = a.get();
  same.Node = alsoA.get();
  other.Node = b.get();
  expect(one, same, false, false);
  expect(one, Job(), true, false);
  expect(Job(), one, true, false);
  EXPECT_EQ(inMode(SSIB_MODE_DEFAULT, &one, &same), 0U);
  EXPECT_EQ(host().logTexts(), (Lines{"Enter SSIBEntryCmp", "SSIB_MODE_DEFAULT mode."}));
  EXPECT_LT(static_cast<std::int32_t>(inMode(SSIB_MODE_DEFAULT, &one, &other)), 0);
  EXPECT_GT(static_cast<std::int32_t>(inMode(SSIB_MODE_DEFAULT, &other, &one)), 0);
  EXPECT_EQ(inMode(SSIB_MODE_BIOS_SMA, &one, &other), 0U);
  EXPECT_EQ(host().countCalls("SerializeTree"), 0U);
}

TEST_F(Compare, ANodeThatCannotBeSerialisedIsAnErrorAndLeavesNothing) {
  Node a("a"), b("a");
  Job one, other;
  one.Node = a.get();
  other.Node = b.get();
  const std::size_t before = heap::live();
  for (std::size_t failing = 1;; ++failing) {
    const heap::Watch watch(failing);
    const std::uint32_t result = inMode(SSIB_MODE_DEFAULT, &one, &other);
    EXPECT_EQ(heap::live(), before);
    if (!watch.failed()) break;
    EXPECT_EQ(result, 0xFFFFFFFF) << failing;
  }
  host().failCall("SerializeTree", 1);
  EXPECT_EQ(inMode(SSIB_MODE_DEFAULT, &one, &other), 0xFFFFFFFF);
  EXPECT_EQ(host().countCalls("SerializeTree"), 1U);
  SSIB2_PRIVATE_DATA unconstructed = {};
  EXPECT_EQ(SSIBEntryCmp(&unconstructed, &one, &other), 0xFFFFFFFF);
}

TEST_F(Compare, SaysWhatItFound) {
  Job one = taskJob("one", "T1"), sameName = taskJob("one", "T2");
  sameName.text(&SSIB_ENTRY::FQDD, "another");
  Job number;
  number.Version = 9;
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
      {"same in XML", 0, &one, &one, 0, {"SSIB_MODE_DEFAULT mode.", "Entries match."}},
      {"not in XML", 0, &one, &number, 1, {"SSIB_MODE_DEFAULT mode."}},
      {"same task", 1, &one, &one, 0, {"SSIB_MODE_BIOS_SMA mode.", "Entries match."}},
      {"not the same task",
       1,
       &one,
       &sameName,
       1,
       {"SSIB_MODE_BIOS_SMA mode.", "e1->Job_Type [T1].", "e2->Job_Type [T2]."}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    EXPECT_EQ(inMode(row.mode, row.e1, row.e2), row.result);
    Lines expected = row.lines;
    expected.insert(expected.begin(), "Enter SSIBEntryCmp");
    EXPECT_EQ(host().logTexts(), expected);
  }
  EXPECT_EQ(SSIBEntryCmp(nullptr, nullptr, nullptr), 0U);
  EXPECT_EQ(SSIBEntryCmp(nullptr, &one, &one), 1U);
  EXPECT_EQ(host().logTexts().back(), "Entries don't match as their modes are different.");
}

class Replace : public LibraryTest {
 protected:
  const std::string tag = "iReplaceSSIBEntry";
};

TEST_F(Replace, PutsTheNewJobWhereTheFirstMatchStands) {
  open();
  for (const char *command : {"a", "b", "b", "c"}) add(handle, xmlJob(command), SSIB_ADD_APPEND_HI, SSIB_FIELD_TIMEOUT);
  SSIB_ENTRY_LIST *second = handle.ssibEntryListHead->next;
  handle.ssibEntryListPtr = second;
  Node node("extra");
  Job renewed = xmlJob("new");
  renewed.Block_ID = 77;
  renewed.Node = node.get();
  host().forgetEvents();
  Job key = xmlJob("b");
  ASSERT_EQ(iReplaceSSIBEntry(&handle, &key, &renewed), EFI_SUCCESS);
  EXPECT_EQ(host().logTexts(tag), (Lines{"Entered", "Found Old Entry... Replacing...", "Exit. 0x00000000"}));
  EXPECT_EQ(listOf(handle), (Lines{"a", "new", "b", "c"}));
  EXPECT_EQ(handle.ssibEntryListHead->next, second);
  EXPECT_EQ(handle.ssibEntryListPtr, second);
  EXPECT_EQ(second->fieldMask, SSIB_FIELD_TIMEOUT);
  EXPECT_EQ(second->priority, SSIB_ADD_APPEND_HI);
  EXPECT_EQ(second->entry.Block_ID, 77);
  EXPECT_TRUE(second->entry.Node != renewed.Node);
  EXPECT_STREQ(second->entry.Node->name->text, "extra");
  EXPECT_EQ(host().file(L"Main.ssib"), "<none>");
  ASSERT_EQ(iReplaceSSIBEntry(&handle, &renewed, &renewed), EFI_SUCCESS) << "one record as both";
  Job bare;
  ASSERT_EQ(iReplaceSSIBEntry(&handle, &renewed, &bare), EFI_SUCCESS);
  EXPECT_EQ(listOf(handle), (Lines{"a", "-", "b", "c"}));
  EXPECT_TRUE(second->entry.Node == nullptr);
}

TEST_F(Replace, RefusesWhatItCannotFind) {
  open();
  Job a = xmlJob("a"), b = xmlJob("b");
  const auto expect = [&](EFI_STATUS actual, EFI_STATUS status, const char *last) {
    EXPECT_EQ(actual, status);
    EXPECT_EQ(host().logTexts(tag), (Lines{"Entered", last}));
    host().forgetEvents();
  };
  expect(iReplaceSSIBEntry(nullptr, &a, &b), EFI_INVALID_PARAMETER, "Exit. 0x80000002");
  expect(iReplaceSSIBEntry(&handle, nullptr, &b), EFI_INVALID_PARAMETER, "Exit. 0x80000002");
  expect(iReplaceSSIBEntry(&handle, &a, nullptr), EFI_INVALID_PARAMETER, "Exit. 0x80000002");
  expect(iReplaceSSIBEntry(&handle, &a, &b), EFI_NOT_FOUND, "Exit. 0x8000000e");
  add(handle, xmlJob("b"));
  host().forgetEvents();
  expect(iReplaceSSIBEntry(&handle, &a, &b), EFI_NOT_FOUND, "Exit. 0x8000000e");
  EXPECT_EQ(listOf(handle), (Lines{"b"}));
}

TEST_F(Replace, AFailedCopyLeavesNullBehindTheCopiesMade) {
  open(L"sub.json");
  Node node("extra");
  Job full;
  for (const TextRow &row : kTexts) full.text(row.member, row.label);
  full.Version = 5;
  full.Node = node.get();
  add(handle, full);
  const SSIB_ENTRY &entry = handle.ssibEntryListHead->entry;
  for (std::size_t failing = 1;; ++failing) {
    SCOPED_TRACE(failing);
    const heap::Watch watch(failing);
    const EFI_STATUS status = iReplaceSSIBEntry(&handle, &full, &full);
    if (!watch.failed()) break;
    EXPECT_EQ(status, EFI_OUT_OF_RESOURCES);
    EXPECT_EQ(host().logTexts(tag).back(), "Exit. 0x80000009");
    EXPECT_EQ(entry.Version, 5U);
    EXPECT_TRUE(entry.Node == nullptr);
    for (std::size_t i = 0; i < std::size(kTexts); ++i) {
      EXPECT_STREQ(entry.*kTexts[i].member, i + 1 < failing ? kTexts[i].label : nullptr);
    }
  }
  EXPECT_STREQ(entry.Node->name->text, "extra");
  EXPECT_TRUE(entry.FQDD != full.FQDD);
}

}  // namespace
}  // namespace test
