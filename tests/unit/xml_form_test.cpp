// SPDX-License-Identifier: MIT
// The XML queue file's form: blocks from entries, entries from blocks, copies of trees.
#include "ssib_if2_backend/xml_form.h"

#include <cstdlib>

#include "ssib_if2_backend/list.h"
#include "ssib_if2_backend/xml_tree.h"
#include "support/describe.h"
#include "support/library_test.h"

namespace test {
namespace {

class XmlForm : public LibraryTest {
 protected:
  XML_SERVICE_PROTOCOL *service() { return handle.XMLProto; }

  std::string entriesOf(const XML_NODE *root) {
    SSIB_ENTRY_LIST *list = nullptr;
    EXPECT_EQ(ssib::readEntries(service(), root, &list), EFI_SUCCESS);
    std::string text = textOf(list);
    ssib::le_free_list(service(), list);
    return text;
  }

  std::string blockOf(const SSIB_ENTRY &entry, std::uint32_t fieldMask = 0) {
    const ssib::XmlTree root(service(), treeOf("<R/>"));
    SSIB_ENTRY_LIST element = {nullptr, fieldMask, 3, entry};
    XML_NODE *last = nullptr;
    EXPECT_EQ(ssib::create_xml_tree(service(), root.get(), &last, element), EFI_SUCCESS);
    return textOf(last);
  }

  // Nodes below each other, or beside each other.
  XML_NODE *chain(XML_NODE_LINK XML_NODE::*link, int count) {
    XML_NODE *first = nullptr;
    for (int i = 0; i < count; ++i) {
      const XML_STRING name = {1, const_cast<char *>("n")};
      XML_NODE *node = nullptr;
      EXPECT_EQ(service()->CreateNode(service(), &name, &node), EFI_SUCCESS);
      node->*link = first;
      first = node;
    }
    return first;
  }
};

TEST_F(XmlForm, ReadsWhatTheDocumentSaysAndIgnoresTheRest) {
  struct {
    const char *label, *blocks, *list;
  } const rows[] = {
      {"no blocks", "", ""},
      {"nothing in it", "<SSIB_BLOCK/>", "[]"},
      {"order, any name", "<a TASK_NAME='1'/><SSIB_BLOCK TASK_NAME='2'/><b TASK_NAME='3'/>",
       "[ Task_Name=1][ Task_Name=2][ Task_Name=3]"},
      {"all attributes",
       "<b Version='1' BLOCK_ID='2' RB_REQ='3' RB_TYPE='4' TIMEOUT='5' RTN_CODE='6' RT_COUNT='7' JOB_ID='j' "
       "TASK_NAME='t' LU_CATEGORY='c'/>",
       "[ Version=1 Block_ID=2 RB_Type=4 RB_Req=3 Timeout=5 Rtn_Code=6 RT_Count=7 Job_ID=j Task_Name=t LU_Category=c "
       "mask=63]"},
      {"RB_REQ", "<b RB_REQ='1'/>", "[ RB_Req=1 mask=1]"},
      {"RB_TYPE", "<b RB_TYPE='1'/>", "[ RB_Type=1 mask=2]"},
      {"TIMEOUT", "<b TIMEOUT='0'/>", "[ mask=4]"},
      {"RTN_CODE", "<b RTN_CODE='1'/>", "[ Rtn_Code=1 mask=8]"},
      {"RT_COUNT", "<b RT_COUNT='1'/>", "[ RT_Count=1 mask=16]"},
      {"JOB_ID, empty", "<b JOB_ID=''/>", "[ Job_ID= mask=32]"},
      {"not the same name", "<b VERSION='1' Block_Id='1' TIMEOUTS='1' JOB='1' Display_Name='d'/>", "[]"},
      {"TIMEOUT keeps 16 bits", "<b TIMEOUT='70000'/>", "[ Timeout=4464 mask=4]"},
      {"TIMEOUT below 0", "<b TIMEOUT='-1'/>", "[ Timeout=65535 mask=4]"},
      {"BLOCK_ID keeps 16 bits", "<b BLOCK_ID='-1'/>", "[ Block_ID=65535]"},
      {"RT_COUNT keeps 16 bits", "<b RT_COUNT='65537'/>", "[ RT_Count=1 mask=16]"},
      {"RB_REQ and RB_TYPE keep 8", "<b RB_REQ='257' RB_TYPE='-1'/>", "[ RB_Type=255 RB_Req=1 mask=3]"},
      {"blanks and plus", "<b Version='  +12x9'/>", "[ Version=12]"},
      {"minus", "<b Version='-5'/>", "[ Version=4294967291]"},
      {"greatest", "<b Version='4294967295' RTN_CODE='99999999999999999999'/>",
       "[ Version=2147483647 Rtn_Code=2147483647 mask=8]"},
      {"least", "<b Version='-2147483649'/>", "[ Version=2147483648]"},
      {"cut after it saturated", "<b BLOCK_ID='9999999999' TIMEOUT='-9999999999'/>", "[ Block_ID=65535 mask=4]"},
      {"no digits", "<b Version='x1' BLOCK_ID='' RT_COUNT='- 1'/>", "[ mask=16]"},
      {"not hexadecimal", "<b Version='0x10'/>", "[]"},
      {"later commands replace, one without text does not",
       "<b><CMD_LINE>a</CMD_LINE><CMD_LINE>b</CMD_LINE><CMD_LINE/></b>", "[ Cmd_Line=b]"},
      {"extra content", "<b><n x='1'>t<m/></n></b>", "[ Node=<n x=\"1\">t<m/></n>]"},
      {"extra content ends with the last", "<b><n/><o/><p/></b>", "[ Node=<p/>]"},
      {"extra content takes what follows", "<b><n/><CMD_LINE>c</CMD_LINE></b>",
       "[ Cmd_Line=c Node=<n/><CMD_LINE>c</CMD_LINE>]"},
      {"other case is extra content", "<b><cmd_line>c</cmd_line></b>", "[ Node=<cmd_line>c</cmd_line>]"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    const ssib::XmlTree root(service(), treeOf("<r>" + std::string(row.blocks) + "</r>"));
    EXPECT_EQ(entriesOf(root.get()), row.list);
  }
  EXPECT_EQ(entriesOf(nullptr), "");
}

TEST_F(XmlForm, ReadsTreesThatNoParserMakes) {
  const ssib::XmlTree root(service(), treeOf("<r><b JOB_ID='j' TIMEOUT='9' Version='8' a='1'/></r>"));
  XML_NODE *block = root.get()->firstChild;
  XML_ATTRIBUTE *job = block->attributes;
  std::free(job->value->text);
  job->value->text = nullptr;
  std::free(job->next->value->text);
  std::free(job->next->value);
  job->next->value = nullptr;
  std::free(job->next->next->name->text);
  job->next->next->name->text = nullptr;
  EXPECT_EQ(entriesOf(root.get()), "[ mask=36]") << "attributes without text, and one without a name";
  for (const char *value : {"2", "1"}) {  // each goes in front
    for (const char *name : {"JOB_ID", "Version"}) ASSERT_EQ(ssib::addAttribute(block, name, value), EFI_SUCCESS);
  }
  EXPECT_EQ(entriesOf(root.get()), "[ Version=2 mask=36]") << "the last one holds";
}

TEST_F(XmlForm, WritesEachBlockByItsMask) {
  const ssib::XmlTree extra(service(), treeOf("<n x='1'>t</n>"));
  Job all = xmlJob("run");
  all.Version = 0xFFFFFFFF, all.mode = 1, all.Block_ID = 0xFFFF, all.RB_Type = 255, all.RB_Req = 200;
  all.Timeout = 0x80000000, all.Rtn_Code = 0xFFFFFFFE, all.RT_Count = 0xFFFE;
  all.text(&SSIB_ENTRY::Job_ID, "<j>").text(&SSIB_ENTRY::FQDD, "f").text(&SSIB_ENTRY::Target_Version, "v");
  Job content;
  content.Node = extra.get();
  Job both = content;
  both.text(&SSIB_ENTRY::Cmd_Line, "x");
  struct {
    const char *label;
    const SSIB_ENTRY &entry;
    std::uint32_t fieldMask;
    std::string attributes, rest;
  } const rows[] = {
      {"no bits", all, 0, "Version=\"-1\" BLOCK_ID=\"65535\" LU_CATEGORY=\"cat\" TASK_NAME=\"task\"",
       "><CMD_LINE>run</CMD_LINE></SSIB_BLOCK>"},
      {"all bits", all, 0xFFFFFFFF,
       "Version=\"-1\" BLOCK_ID=\"65535\" RT_COUNT=\"65534\" RTN_CODE=\"-2\" TIMEOUT=\"-2147483648\" RB_TYPE=\"255\" "
       "RB_REQ=\"200\" LU_CATEGORY=\"cat\" TASK_NAME=\"task\" JOB_ID=\"&lt;j&gt;\"",
       "><CMD_LINE>run</CMD_LINE></SSIB_BLOCK>"},
      {"null texts", Job(), SSIB_FIELD_JOB_ID,
       "Version=\"0\" BLOCK_ID=\"0\" LU_CATEGORY=\"\" TASK_NAME=\"\" JOB_ID=\"\"", "/>"},
      {"content", content, 0, "Version=\"0\" BLOCK_ID=\"0\" LU_CATEGORY=\"\" TASK_NAME=\"\"",
       "><n x=\"1\">t</n></SSIB_BLOCK>"},
      {"content beside a command", both, SSIB_FIELD_RB_REQ,
       "Version=\"0\" BLOCK_ID=\"0\" RB_REQ=\"0\" LU_CATEGORY=\"\" TASK_NAME=\"\"",
       "><CMD_LINE>x</CMD_LINE></SSIB_BLOCK>"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    EXPECT_EQ(blockOf(row.entry, row.fieldMask), "<SSIB_BLOCK " + row.attributes + row.rest);
  }
}

TEST_F(XmlForm, ACommandThatBeginsWithAQuoteLosesItsEnds) {
  const char *const rows[][2] = {{"\"abc\"", "abc"}, {"\"abc", "ab"},      {"\"", ""},
                                 {"\"\"", ""},       {"\"a", ""},          {"abc\"", "abc\""},
                                 {"", ""},           {" \"a\"", " \"a\""}, {"\"\"a\"\"", "\"a\""}};
  for (const auto &[command, stored] : rows) {
    const std::string block = blockOf(Job().text(&SSIB_ENTRY::Cmd_Line, command));
    EXPECT_NE(block.find("<CMD_LINE>" + std::string(stored) + "</CMD_LINE>"), std::string::npos) << command << block;
  }
}

TEST_F(XmlForm, BlocksAreLinkedAsTheServiceWantsThem) {
  const ssib::XmlTree root(service(), treeOf("<R/>"));
  const SSIB_ENTRY_LIST element = {nullptr, 0, 3, xmlJob("x")};
  XML_NODE *last = nullptr;
  EXPECT_EQ(ssib::create_xml_tree(service(), nullptr, &last, element), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ssib::addAttribute(nullptr, "a", "b"), EFI_INVALID_PARAMETER);
  for (int i = 0; i < 2; ++i) ASSERT_EQ(ssib::create_xml_tree(service(), root.get(), &last, element), EFI_SUCCESS);
  const XML_NODE *first = root.get()->firstChild;
  EXPECT_EQ(first->nextSibling, last);
  EXPECT_EQ(last->prevSibling, first);
  EXPECT_EQ(first->parent, nullptr);
  EXPECT_EQ(first->firstChild->parent, first);
  EXPECT_EQ(first->name->flags + first->firstChild->value->flags + first->attributes->value->flags, 3U);
  EXPECT_EQ(first->attributes->next->prev, first->attributes);
}

TEST_F(XmlForm, ACopyHasTheSameContentsAndItsOwnLinks) {
  const ssib::XmlTree source(service(), treeOf("<r><a x='1' y='2'>t<b/><c/></a><d/></r>"));
  XML_NODE *from = source.get()->firstChild;
  from->name->flags = 7;
  XML_NODE parent = {};
  host().forgetEvents();
  const ssib::XmlTree tree(service(), ssib::dupeNode(from, &parent));
  const XML_NODE *copy = tree.get();
  EXPECT_EQ(host().logTexts("dupeNode"), std::vector<std::string>(4, "About to dupe the XML Node"));
  EXPECT_EQ(textOf(copy), "<a x=\"1\" y=\"2\">t<b/><c/></a><d/>");
  EXPECT_EQ(copy->name->flags, 7U);
  EXPECT_EQ(copy->parent, &parent);
  EXPECT_EQ(copy->nextSibling->parent, &parent);
  EXPECT_EQ(copy->firstChild->nextSibling->parent, copy);
  EXPECT_EQ(copy->attributes->next->prev, nullptr);
  EXPECT_EQ(copy->nextSibling->prevSibling, nullptr);
  EXPECT_EQ(copy->firstChild->nextSibling->prevSibling, nullptr);
  EXPECT_EQ(ssib::dupeNode(nullptr, &parent), nullptr);
}

TEST_F(XmlForm, CopiesTreesOfAnyShape) {
  vyxSsibDebug = nullptr;  // a line for each node would take longer than the copies
  for (const auto link : {&XML_NODE::firstChild, &XML_NODE::nextSibling}) {
    constexpr int kNodes = 100000;
    const ssib::XmlTree source(service(), chain(link, kNodes));
    const ssib::XmlTree copy(service(), ssib::dupeNode(source.get(), nullptr));
    int nodes = 0;
    for (const XML_NODE *node = copy.get(); node != nullptr; node = node->*link) ++nodes;
    EXPECT_EQ(nodes, kNodes);
  }
}

TEST_F(XmlForm, ACopyWithoutMemoryHasAHoleAndSaysSo) {
  const ssib::XmlTree source(service(), treeOf("<r><a x='1'>t<b/></a><c/></r>"));
  const auto copyFailing = [&](std::size_t nth, std::size_t &allocations) {
    const heap::Watch watch(nth);
    bool whole = true;
    const ssib::XmlTree copy(service(), ssib::dupeNode(source.get()->firstChild, nullptr, &whole));
    EXPECT_EQ(copy.get() == nullptr, nth == 1);
    allocations = watch.allocations();
    return whole;
  };
  std::size_t all = 0;
  EXPECT_TRUE(copyFailing(0, all));
  for (std::size_t nth = 1, made = 0; nth <= all; ++nth) EXPECT_FALSE(copyFailing(nth, made)) << nth;
  EXPECT_EQ(all, 16U) << "a block for each record, string record and text";
}

}  // namespace
}  // namespace test
