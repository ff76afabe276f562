// SPDX-License-Identifier: MIT
// The XML queue file's form: what blocks become entries, what entries become blocks, and the copies of trees.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <utility>

#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/xml_form.h"
#include "ssib_if2_backend/xml_tree.h"
#include "support/library_test.h"

namespace test {
namespace {

std::string repeated(std::size_t count, const std::string &text) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

class XmlForm : public LibraryTest {
 protected:
  XML_SERVICE_PROTOCOL *service() { return handle.XMLProto; }

  // The list that an open makes of these blocks.
  std::string listOf(const std::string &blocks) {
    host().files["VAR025/Main.ssib"] = "<r>" + blocks + "</r>";
    EXPECT_EQ(iOpenSSIB(&handle, L"Main.ssib"), EFI_SUCCESS);
    std::string list = textOf(handle.ssibEntryListHead);
    tidy();
    return list;
  }

  std::string listOf(const XML_NODE &root) {
    SSIB_LINK list = nullptr;
    EXPECT_EQ(ssib::readEntries(service(), root, &list), EFI_SUCCESS);
    std::string text = textOf(list);
    ssib::le_free_list(service(), list);
    return text;
  }

  XML_NODE *addBlock(const ssib::XmlTree &root, XML_NODE *last) {
    const SSIB_ENTRY_LIST element = {nullptr, 0, 3, Job('x')};
    EXPECT_EQ(ssib::create_xml_tree(service(), root.get(), &last, element), EFI_SUCCESS);
    return last;
  }
};

TEST_F(XmlForm, ReadsWhatTheDocumentHoldsAndIgnoresTheRest) {
  const struct {
    const char *label, *blocks, *list;
  } rows[] = {
      {"no blocks", "", ""},
      {"order, any name", "<a TASK_NAME='1'/><SSIB_BLOCK/><b TASK_NAME='3'/>", "[ Task_Name=1][][ Task_Name=3]"},
      {"all attributes",
       "<b Version='1' BLOCK_ID='2' RB_REQ='3' RB_TYPE='4' TIMEOUT='5' RTN_CODE='6' RT_COUNT='7' JOB_ID='j' "
       "TASK_NAME='t' LU_CATEGORY='c'/>",
       "[ Version=1 Block_ID=2 RB_Type=4 RB_Req=3 Timeout=5 Rtn_Code=6 RT_Count=7 Job_ID=j Task_Name=t LU_Category=c "
       "mask=63]"},
      {"the bit of each", "<b RB_REQ='0'/><b RB_TYPE='0'/><b TIMEOUT='0'/><b RTN_CODE='0'/><b RT_COUNT='0'/>",
       "[ mask=1][ mask=2][ mask=4][ mask=8][ mask=16]"},
      {"JOB_ID, empty", "<b JOB_ID=''/>", "[ Job_ID= mask=32]"},
      {"not the same name", "<b VERSION='1' Block_Id='1' TIMEOUTS='1' JOB='1' Display_Name='d'/>", "[]"},
      {"TIMEOUT keeps 16 bits", "<b TIMEOUT='70000'/><b TIMEOUT='-1'/>",
       "[ Timeout=4464 mask=4][ Timeout=65535 mask=4]"},
      {"the others keep their width", "<b BLOCK_ID='-1' RT_COUNT='65537' RB_REQ='257' RB_TYPE='-1'/>",
       "[ Block_ID=65535 RB_Type=255 RB_Req=1 RT_Count=1 mask=19]"},
      {"blanks, plus and minus", "<b Version='  +12x9'/><b Version='-5'/>", "[ Version=12][ Version=4294967291]"},
      {"greatest", "<b Version='4294967295' RTN_CODE='99999999999999999999'/>",
       "[ Version=2147483647 Rtn_Code=2147483647 mask=8]"},
      {"least", "<b Version='-2147483649'/>", "[ Version=2147483648]"},
      {"cut after it saturated", "<b BLOCK_ID='9999999999' TIMEOUT='-9999999999'/>", "[ Block_ID=65535 mask=4]"},
      {"no decimal digits", "<b Version='x1' BLOCK_ID='' RT_COUNT='- 1' TIMEOUT='0x10'/>", "[ mask=20]"},
      {"later commands replace, one without text does not",
       "<b><CMD_LINE>a</CMD_LINE><CMD_LINE>b</CMD_LINE><CMD_LINE/></b>", "[b]"},
      {"extra content", "<b><n x='1'>t<m/></n></b>", "[ Node=<n x=\"1\">t<m/></n>]"},
      {"extra content ends with the last", "<b><n/><o/><p/></b>", "[ Node=<p/>]"},
      {"extra content takes what follows", "<b><n/><CMD_LINE>c</CMD_LINE></b>",
       "[ Cmd_Line=c Node=<n/><CMD_LINE>c</CMD_LINE>]"},
      {"other case is extra content", "<b><cmd_line>c</cmd_line></b>", "[ Node=<cmd_line>c</cmd_line>]"},
  };
  for (const auto &row : rows) EXPECT_EQ(listOf(row.blocks), row.list) << row.label;
}

TEST_F(XmlForm, ReadsManyUnknownChildrenInTimeLinearInTheirNumber) {
  vyxSsibDebug = nullptr;  // what is reported of each child is as long as what follows it
  const std::clock_t begin = std::clock();
  EXPECT_EQ(listOf("<b>" + repeated(20000, "<n/>") + "<o/><CMD_LINE>c</CMD_LINE><CMD_LINE/></b>"),
            "[ Cmd_Line=c Node=<o/><CMD_LINE>c</CMD_LINE><CMD_LINE/>]");
  EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC);
}

TEST_F(XmlForm, ReadsTheLastUnknownChildWhateverTheEarlierOnesLack) {
  const ssib::XmlTree root(treeOf("<r><b><n/><o/><CMD_LINE/><p/></b></r>"), {service()});
  for (std::size_t nth = 1; nth <= 14; ++nth) {  // an element, a Node, then the other eleven of it, and none
    const heap::Watch watch(nth);
    SSIB_LINK list = nullptr;
    const bool isRead = ssib::readEntries(service(), *root, &list) == EFI_SUCCESS;
    EXPECT_EQ(textOf(list), nth < 3 ? "" : nth == 12 ? "[ Node=</>]" : nth == 13 ? "[ Node=<~/>]" : "[ Node=<p/>]");
    EXPECT_EQ(isRead, nth >= 3) << nth;
    ssib::le_free_list(service(), list);
  }
}

TEST_F(XmlForm, ReportsACopyOfEachUnknownChildWithAllThatFollows) {
  host().files["VAR025/Main.ssib"] = "<r><b><n/><o><m/><m/></o><p/></b></r>";
  outcome("open Main.ssib");
  EXPECT_EQ(std::ranges::count(host().events, "dupeNode|About to dupe the XML Node"), 5 + 4 + 1);
}

TEST_F(XmlForm, ReadsTreesThatNoParserMakes) {
  const ssib::XmlTree root(treeOf("<r><b JOB_ID='j' TIMEOUT='9' Version='8' a='1'/></r>"), {service()});
  XML_NODE *block = root.get()->firstChild;
  XML_ATTRIBUTE *const job = block->attributes, *const timeout = job->next, *const version = timeout->next;
  for (char *text : {job->value->text, timeout->value->text, version->name->text}) std::free(text);
  std::free(timeout->value);
  job->value->text = version->name->text = nullptr;
  timeout->value = nullptr;
  EXPECT_EQ(listOf(*root), "[ mask=36]") << "attributes without text, and one without a name";
  XML_ATTRIBUTE *last = version->next;
  for (const char *value : {"1", "2"}) {
    for (const char *name : {"Version", "JOB_ID"}) {
      ASSERT_EQ(ssib::addAttribute(block, &last, name, value), EFI_SUCCESS);
    }
  }
  std::free(last->value->text);
  last->value->text = nullptr;
  EXPECT_EQ(listOf(*root), "[ Version=2 mask=36]") << "the last one holds";
}

TEST_F(XmlForm, WritesAllOfAnEntryAndCutsQuotesOffItsCommand) {
  const std::string block =
      "<SSIB_INFO>\n<SSIB_BLOCK Version=\"-2147483647\" BLOCK_ID=\"2\" RT_COUNT=\"6\" RTN_CODE=\"5\" TIMEOUT=\"600\" "
      "RB_TYPE=\"3\" RB_REQ=\"4\" LU_CATEGORY=\"cat\" TASK_NAME=\"task\" JOB_ID=\"j\">\n<CMD_LINE>";
  std::pair<std::string, const char *> rows[] = {{"a <&> b", "a &lt;&amp;&gt; b"},
                                                 {"", ""},
                                                 {"\"cut\"", "cut"},
                                                 {"\"cut", "cu"},
                                                 {"\"a", ""},
                                                 {"\"", ""},
                                                 {"\x01", "refused"}};
  for (auto &[command, expected] : rows) {
    Job job('F');
    SSIB_ENTRY *entries[] = {&job};
    job.Cmd_Line = command.data(), job.Version = 0x80000001;
    host() = Platform();
    outcome("open Main.ssib");
    iAddToSSIBQueue(&handle, 1, entries, UINT32_MAX, SSIB_ADD_APPEND_LO);
    const bool isWritten = iFlushSSIBQueue(&handle) == EFI_SUCCESS;
    const std::string file = block + expected + "</CMD_LINE>\n</SSIB_BLOCK>\n</SSIB_INFO>\n";
    EXPECT_EQ(isWritten ? host().files["VAR025/Main.ssib"] : "refused", *expected == 'r' ? "refused" : file);
    tidy();
  }
}

TEST_F(XmlForm, ChainsAreSerialisedToTheirEnd) {
  const ssib::XmlTree source(treeOf("<r><a>t</a><b><c/></b></r>"), {service()});
  ssib::XmlString text;
  EXPECT_EQ(ssib::serialize(service(), source.get()->firstChild, text), EFI_SUCCESS);
  EXPECT_STREQ(text->text, "<a>t</a>\n<b>\n<c/>\n</b>\n");
}

TEST_F(XmlForm, BlocksAreLinkedAsTheServiceReadsThem) {
  const ssib::XmlTree root(treeOf("<R/>"), {service()});
  XML_NODE *first = addBlock(root, nullptr), *second = addBlock(root, first), *command = first->firstChild;
  EXPECT_TRUE(root.get()->firstChild == first && first->nextSibling == second && second->prevSibling == first);
  EXPECT_TRUE(first->parent == nullptr && command->parent == first);
  EXPECT_EQ(first->name->flags + command->value->flags + first->attributes->value->flags, 3U);
  EXPECT_TRUE(first->attributes->next->prev == first->attributes);
  EXPECT_EQ(ssib::create_xml_tree(service(), nullptr, &second, {}), EFI_INVALID_PARAMETER);
  XML_ATTRIBUTE *last = nullptr;
  EXPECT_EQ(ssib::addAttribute(nullptr, &last, "a", "b"), EFI_INVALID_PARAMETER);
}

TEST_F(XmlForm, ACopyHasTheSameContentsAndItsOwnLinks) {
  const ssib::XmlTree source(treeOf("<r><a x='1' y='2'>t<b/><c/></a><d/></r>"), {service()});
  XML_NODE *from = source.get()->firstChild;
  from->name->flags = 7;
  std::free(from->attributes->next->value->text);
  from->attributes->next->value->text = nullptr;
  XML_NODE parent = {};
  const ssib::XmlTree tree(ssib::dupeNode(from, &parent), {service()});
  const XML_NODE *copy = tree.get(), *next = copy->nextSibling, *below = copy->firstChild->nextSibling;
  EXPECT_EQ(host().transcript(), repeated(4, "dupeNode|About to dupe the XML Node\n"));
  EXPECT_EQ(textOf(copy), "<a x=\"1\" y=\"~\">t<b/><c/></a><d/>");
  EXPECT_EQ(copy->name->flags + 0, 7U);
  EXPECT_TRUE(copy->parent == &parent && next->parent == &parent && below->parent == copy);
  EXPECT_TRUE(copy->attributes->next->prev == nullptr && next->prevSibling == nullptr && below->prevSibling == nullptr);
  EXPECT_EQ(ssib::dupeNode(nullptr, &parent), nullptr);
}

TEST_F(XmlForm, ACopyEndsAtAnAttributeThatCannotBeAllocatedAndGoesOnAfterAName) {
  const ssib::XmlTree source(treeOf("<a x='1' y='2'/>"), {service()});
  for (const auto &[nth, expected] : {std::pair(4, "<a/>"), {5, "<a =\"1\" y=\"2\"/>"}, {9, "<a x=\"1\"/>"}}) {
    const heap::Watch watch(static_cast<std::size_t>(nth));
    const ssib::XmlTree copy(ssib::dupeNode(source.get(), nullptr), {service()});
    EXPECT_EQ(textOf(copy.get()), expected);
  }
}

TEST_F(XmlForm, CopiesTreesOfAnyShape) {
  vyxSsibDebug = nullptr;  // a line for each node would take longer than the copies
  const std::string deep = repeated(100000, "<n>") + repeated(100000, "</n>"), wide = repeated(100000, "<n/>");
  for (const auto &document : {deep, "<r>" + wide + "</r>"}) {
    const ssib::XmlTree source(treeOf(document), {service()});
    const ssib::XmlTree copy(ssib::dupeNode(source.get(), nullptr), {service()});
    ssib::XmlString text, copiedText;
    EXPECT_EQ(ssib::serialize(service(), source.get(), text), EFI_SUCCESS);
    EXPECT_EQ(ssib::serialize(service(), copy.get(), copiedText), EFI_SUCCESS);
    EXPECT_EQ(std::strcmp(text->text, copiedText->text), 0) << document.substr(0, 6);
  }
}

}  // namespace
}  // namespace test
