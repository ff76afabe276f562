// SPDX-License-Identifier: MIT
// The XML service: which documents it reads, as what, how it lays out what it writes, and that texts come back byte for
// byte in every position.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "PlatformServices.h"
#include "XmlService.h"

namespace vyx::tests {
namespace {

using std::string;

XML_SERVICE_PROTOCOL *service() {
  static auto *const found = [] {
    constexpr EFI_GUID kGuid = VYX_XML_SERVICE_GUID;
    uint32_t count = 0;
    void **instances = nullptr;
    EXPECT_EQ(getProtocolInstanceByGuid(&kGuid, &count, &instances), EFI_SUCCESS);
    const std::unique_ptr<void *, decltype(&std::free)> array(instances, std::free);
    return static_cast<XML_SERVICE_PROTOCOL *>(instances[0]);
  }();
  return found;
}

struct TreeDeleter {
  void operator()(XML_NODE *node) const { EXPECT_EQ(service()->DeleteTree(service(), node), EFI_SUCCESS); }
};
using Tree = std::unique_ptr<XML_NODE, TreeDeleter>;

template <class Record>
Record *newRecord(const Record &record) {
  return new (std::malloc(sizeof(Record))) Record(record);
}
XML_STRING *newString(const char *text) {
  return newRecord<XML_STRING>({1, text != nullptr ? strdup(text) : nullptr});
}

// An element for a Tree to own; without a value it has none. Nothing points back or up, as in a detached chain.
XML_NODE *element(const char *name, const char *value = nullptr,
                  const std::vector<std::pair<string, string>> &attributes = {},
                  const std::vector<XML_NODE *> &children = {}) {
  auto *node = newRecord<XML_NODE>(
      {newString(name), value != nullptr ? newString(value) : nullptr, nullptr, nullptr, nullptr, nullptr, nullptr});
  for (auto at = attributes.rbegin(); at != attributes.rend(); ++at) {
    XML_STRING *key = newString(at->first.c_str()), *text = newString(at->second.c_str());
    node->attributes = newRecord<XML_ATTRIBUTE>({key, text, node->attributes, nullptr});
  }
  for (std::size_t i = children.size(); i-- > 0;) {
    children[i]->nextSibling = node->firstChild;
    node->firstChild = children[i];
  }
  return node;
}

EFI_STATUS parse(const string &document, Tree &tree) {
  XML_STRING image = {1, const_cast<char *>(document.c_str())};
  XML_NODE *root = nullptr;
  const EFI_STATUS status = service()->ParseImage(service(), &image, &root);
  EXPECT_EQ(status == EFI_SUCCESS, root != nullptr);
  tree.reset(root);
  return status;
}

EFI_STATUS serialize(const XML_NODE *root, string &document) {
  XML_STRING *image = nullptr;
  const EFI_STATUS status = service()->SerializeTree(service(), root, 1, &image);
  EXPECT_EQ(status == EFI_SUCCESS, image != nullptr);
  if (image == nullptr) return status;
  EXPECT_EQ(image->flags, 1U);
  document = image->text;
  std::free(image->text);
  std::free(image);
  return status;
}

// A chain as text: NAME[ATTRIBUTE=VALUE]...{VALUE}(CHILDREN), parts that are not there left out. Checks its links.
string described(const XML_NODE *node, const XML_NODE *parent, bool isLinked) {
  string text;
  for (const XML_NODE *previous = nullptr; node != nullptr; previous = node, node = node->nextSibling) {
    EXPECT_TRUE(!isLinked || (node->parent == parent && node->prevSibling == previous));
    text.append(previous != nullptr ? " " : "").append(node->name->text);
    const XML_ATTRIBUTE *before = nullptr;
    for (const XML_ATTRIBUTE *at = node->attributes; at != nullptr; before = at, at = at->next) {
      EXPECT_TRUE(!isLinked || at->prev == before);
      text.append("[").append(at->name->text).append("=").append(at->value->text).append("]");
    }
    if (node->value != nullptr) text.append("{").append(node->value->text).append("}");
    if (node->firstChild != nullptr) text += "(" + described(node->firstChild, node, isLinked) + ")";
  }
  return text;
}
string described(const Tree &tree) {
  return described(tree.get(), nullptr, true);
}

TEST(XmlService, ADocumentIsReadAsItsTreeAndWrittenATagALine) {
  const struct {
    const char *label, *document, *tree, *written;
  } rows[] = {
#define D "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
      {"empty tag", "<a/>", "a", "<a/>\n"},
      {"empty text", "<a></a>", "a{}", "<a></a>\n"},
      {"only a comment", "<a><!--c--></a>", "a{}", "<a></a>\n"},
      {"white space is text of a leaf", "<a> \n</a>", "a{ \n}", "<a> \n</a>\n"},
      {"white space beside children is layout", "<a>\n <b/>\t</a>", "a(b)", "<a>\n<b/>\n</a>\n"},
      {"blanks around a text beside children stay", "<a> <b/>x </a>", "a{ x }(b)", "<a> x <b/></a>\n"},
      {"white space as a reference is text", "<a>&#32;<b/>\n</a>", "a{ \n}(b)", "<a>&#32;\n<b/></a>\n"},
      {"a line end as a reference is text", "<a>&#10; <b/></a>", "a{\n }(b)", "<a>&#10; <b/></a>\n"},
      {"a line end of two bytes is layout", "<a>\r\n<b/></a>", "a(b)", "<a>\n<b/>\n</a>\n"},
      {"texts are joined", "<a>x<b>in</b>y<!--c-->z<?p?></a>", "a{xyz}(b{in})", "<a>xyz<b>in</b></a>\n"},
      {"a longer text between two", "<a>1<b>22222222222222222222</b>3</a>", "a{13}(b{22222222222222222222})",
       "<a>13<b>22222222222222222222</b></a>\n"},
      {"a tab and a line end in a text", "<a>x\ty\nz</a>", "a{x\ty\nz}", "<a>x\ty\nz</a>\n"},
      {"layout below text", "<m>text<b/><c><d/></c></m>", "m{text}(b c(d))", "<m>text<b/><c>\n<d/>\n</c></m>\n"},
      {"character data section", "<a><![CDATA[<b>&]]>x</a>", "a{<b>&x}", "<a>&lt;b&gt;&amp;x</a>\n"},
      {"entities and references", "<a k='&lt;&quot;'>&amp;&gt;&apos;&quot;</a>", "a[k=<\"]{&>'\"}",
       "<a k=\"&lt;&quot;\">&amp;&gt;'\"</a>\n"},
      {"attributes in order", "<a z='1' b='' _c:d-e.f='3'/>", "a[z=1][b=][_c:d-e.f=3]",
       "<a z=\"1\" b=\"\" _c:d-e.f=\"3\"/>\n"},
      {"siblings in order", "<a><b/><c><d/></c><e/></a>", "a(b c(d) e)", "<a>\n<b/>\n<c>\n<d/>\n</c>\n<e/>\n</a>\n"},
      {"prolog and epilog", "\xEF\xBB\xBF<?xml version='1.0'?>\n<!--c--><a/>\n<?p?>\n", "a", "<a/>\n"},
      {"UTF-8", "<\xC3\xA9 k='\xC3\xA9'>\xE2\x82\xAC&#xE9;</\xC3\xA9>", "\xC3\xA9[k=\xC3\xA9]{\xE2\x82\xAC\xC3\xA9}",
       "<\xC3\xA9 k=\"\xC3\xA9\">\xE2\x82\xAC\xC3\xA9</\xC3\xA9>\n"},
      {"single bytes", "<?xml version='1.0' encoding='iso-8859-1'?><\xE9 k='\xE9'>\xC3\xA9\xFF&#xE9;&#x20AC;</\xE9>",
       "\xE9[k=\xE9]{\xC3\xA9\xFF\xE9\xE2\x82\xAC}", D "<\xE9 k=\"\xE9\">\xC3\xA9\xFF\xE9\xE2\x82\xAC</\xE9>\n"},
      {"UTF-8 below a name of single bytes", D "<\xE9>\xE2\x82\xAC</\xE9>", "\xE9{\xE2\x82\xAC}",
       D "<\xE9>\xE2\x82\xAC</\xE9>\n"},
#undef D
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    Tree tree;
    string document;
    EXPECT_EQ(parse(row.document, tree), EFI_SUCCESS);
    EXPECT_EQ(described(tree), row.tree);
    EXPECT_EQ(serialize(tree.get(), document), EFI_SUCCESS);
    EXPECT_EQ(document, row.written);
  }
}

TEST(XmlService, ADocumentIsRefusedWhole) {
  for (const char *document :
       {"", " \n", "text", "<a><b></b>", "<a/>x", "<a k='1' k='2'/>", "<a>&e;</a>", "<a>&#0;</a>", "<a>\x01</a>",
        "<a>\xFF</a>", "<a>\xC0\xAF</a>", "<?xml version='1.0' encoding='ISO-8859-2'?><a/>",
        "<?xml version='1.0' encoding='UTF-16'?><a/>", "<!DOCTYPE a><a/>", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>",
        "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>",
        "<!DOCTYPE a [<!ENTITY % e SYSTEM 'file:///etc/passwd'> %e;]><a/>"}) {
    Tree tree;
    EXPECT_EQ(parse(document, tree), EFI_INVALID_PARAMETER) << document;
  }
}

TEST(XmlService, WhatXmlCannotHoldIsNotWritten) {
  std::vector<std::pair<string, string>> many(200);
  for (std::size_t i = 0; i < many.size(); ++i) many[i].first = "a" + std::to_string(i);
  auto repeated = many;
  repeated.emplace_back("a7", "");
  const struct {
    const char *label;
    XML_NODE *root;
    EFI_STATUS status = EFI_INVALID_PARAMETER;
  } rows[] = {
      {"many attributes", element("a", nullptr, many), EFI_SUCCESS},
      {"empty value beside a child", element("a", "", {}, {element("b")}), EFI_SUCCESS},
      {"empty name", element("")},
      {"name without text", element(nullptr)},
      {"blank in a name", element("a b")},
      {"name that begins with the first digit", element("0a")},
      {"name that begins with the last digit", element("9a")},
      {"name that begins with a dash", element("-a")},
      {"name that begins with a dot", element(".a")},
      {"name without letters in any encoding", element("\xC3\x97\xD7")},
      {"UTF-8 name in a document of single bytes", element("\xC3\xA9", "\xFF")},
      {"names of two encodings", element("\xE9", nullptr, {}, {element("\xC3\xA9")})},
      {"empty attribute name", element("a", nullptr, {{"", "1"}})},
      {"attribute twice", element("a", nullptr, {{"b", "1"}, {"c", "2"}, {"b", "3"}})},
      {"attribute twice among many", element("a", nullptr, repeated)},
      {"control character below a good element", element("a", nullptr, {}, {element("b"), element("c", "\x1F")})},
      {"control character in an attribute", element("a", nullptr, {{"b", "x\b"}})},
  };
  string document;
  for (const auto &row : rows) EXPECT_EQ(serialize(Tree(row.root).get(), document), row.status) << row.label;
}

TEST(XmlService, NullArgumentsAreRefused) {
  XML_STRING text = {1, nullptr}, *image = nullptr;
  XML_NODE other = {}, *node = nullptr;
  auto *xml = service();
  for (const XML_STRING *none : {static_cast<XML_STRING *>(nullptr), &text}) {
    for (const auto operation : {xml->ParseImage, xml->CreateNode}) {
      node = &other;
      EXPECT_EQ(operation(xml, none, &node), EFI_INVALID_PARAMETER);
      EXPECT_EQ(node, nullptr);
    }
  }
  EXPECT_EQ(xml->ParseImage(xml, &text, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->CreateNode(xml, &text, nullptr), EFI_INVALID_PARAMETER);
  image = &text;
  EXPECT_EQ(xml->SerializeTree(xml, nullptr, 1, &image), EFI_INVALID_PARAMETER);
  EXPECT_EQ(image, nullptr);
  EXPECT_EQ(xml->SerializeTree(xml, Tree(element("a")).get(), 1, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->DeleteTree(xml, nullptr), EFI_INVALID_PARAMETER);
  const XML_STRING shortest = {1, const_cast<char *>("a")};
  EXPECT_EQ(xml->CreateNode(xml, &shortest, &node), EFI_SUCCESS);
  EXPECT_EQ(described(Tree(node)), "a");
}

TEST(XmlService, DepthCostsNoStack) {
  string deep, document;
  for (int i = 0; i < 400000; ++i) deep += "<a>\n";
  deep += "<b/>\n";
  for (int i = 0; i < 400000; ++i) deep += "</a>\n";
  Tree tree;
  EXPECT_EQ(parse(deep, tree), EFI_SUCCESS);
  EXPECT_EQ(serialize(tree.get(), document), EFI_SUCCESS);
  EXPECT_TRUE(document == deep);
}

std::vector<string> hostileTexts() {
  std::vector<string> texts = {
      " ", "  \n\t\r ", "\r\n", " lead", "trail ", "\ttab\t", "a\rb\nc", "\"quoted\"", "'single'", "<!--", "-->",
      "</leaf>", "]]>", "<![CDATA[x]]>", "&amp;", "&#32;", "<?xml version='1.0'?>", "%d%s%n", "\\", "\xE2\x82\xAC",
      "\xC3\xA9", "\xF4\x8F\xBF\xBF", "\xEF\xBB\xBF", "\xC2\x80", "\xC2\x85", "\xE2\x80\xA8",
      // no UTF-8, or characters that XML does not have
      "\xC3\xA9\xFF", "\x80\x85\x9F", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xEF\xBF\xBE", "\xEF\xBF\xBF",
      "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF\xFE", "a\xFF <&> \r\t"};
  for (int byte = 1; byte <= 0xFF; ++byte) {
    const string one(1, static_cast<char>(byte));
    for (const string &text : {one, one + one, one + "x", "x" + one}) texts.push_back(text);
  }
  texts.push_back(string(100000, '&') + string(100000, 'x') + string(100000, '\xFF'));
  return texts;
}

TEST(XmlText, ComesBackByteForByteOrIsRefused) {
  for (const string &text : hostileTexts()) {
    SCOPED_TRACE(testing::PrintToString(text.substr(0, 20)));
    const char *in = text.c_str();
    const Tree tree(element("root", nullptr, {},
                            {element("leaf", in, {{"k", text}, {"l", "x"}}),
                             element("mixed", in, {}, {element("child", in)}), element("other", "\xC3\xA9")}));
    const bool canBeHeld =
        std::ranges::none_of(text, [](char c) { return c > 0 && c < 0x20 && std::strchr("\t\n\r", c) == nullptr; });
    string document;
    const EFI_STATUS status = serialize(tree.get(), document);
    EXPECT_EQ(status, canBeHeld ? EFI_SUCCESS : EFI_INVALID_PARAMETER);
    if (status != EFI_SUCCESS) continue;
    Tree back;
    EXPECT_EQ(parse(document, back), EFI_SUCCESS);
    EXPECT_TRUE(described(back) == described(tree.get(), nullptr, false)) << document.substr(0, 300);
  }
}

}  // namespace
}  // namespace vyx::tests
