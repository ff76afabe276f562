// SPDX-License-Identifier: MIT
// The XML service: which documents it reads, as what, how it lays out what it writes, and that texts come back byte for
// byte in every position, by this reader and by another.
#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "platform_test.h"

namespace vyx::tests {
namespace {

using std::string;

XML_SERVICE_PROTOCOL *service() {
  static auto *const found = find<XML_SERVICE_PROTOCOL>(kXmlGuid);
  return found;
}

struct TreeDeleter {
  void operator()(XML_NODE *node) const { service()->DeleteTree(service(), node); }
};
using Tree = std::unique_ptr<XML_NODE, TreeDeleter>;

XML_STRING *newString(const char *text) {
  auto *made = static_cast<XML_STRING *>(std::calloc(1, sizeof(XML_STRING)));
  *made = {1, text != nullptr ? strdup(text) : nullptr};
  return made;
}

// An element for a Tree to own; without a value it has none. Nothing points back or up, as in a detached chain.
XML_NODE *element(const char *name, const char *value = nullptr,
                  const std::vector<std::pair<string, string>> &attributes = {},
                  const std::vector<XML_NODE *> &children = {}) {
  auto *node = static_cast<XML_NODE *>(std::calloc(1, sizeof(XML_NODE)));
  node->name = newString(name);
  if (value != nullptr) node->value = newString(value);
  for (auto at = attributes.rbegin(); at != attributes.rend(); ++at) {
    auto *attribute = static_cast<XML_ATTRIBUTE *>(std::calloc(1, sizeof(XML_ATTRIBUTE)));
    *attribute = {newString(at->first.c_str()), newString(at->second.c_str()), node->attributes, nullptr};
    node->attributes = attribute;
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
  tree.reset(root);
  return status;
}

EFI_STATUS serialize(const Tree &tree, string &document) {
  XML_STRING *image = nullptr;
  const EFI_STATUS status = service()->SerializeTree(service(), tree.get(), 1, &image);
  EXPECT_EQ(status == EFI_SUCCESS, image != nullptr);
  if (image == nullptr) return status;
  EXPECT_EQ(image->flags, 1U);
  document = image->text;
  std::free(image->text);
  std::free(image);
  return status;
}

// A chain as text: NAME[ATTRIBUTE=VALUE ...]{VALUE}(CHILDREN), parts that are not there left out.
string told(const XML_NODE *node) {
  string text;
  for (; node != nullptr; node = node->nextSibling) {
    text += node->name->text;
    for (const XML_ATTRIBUTE *at = node->attributes; at != nullptr; at = at->next)
      text.append("[").append(at->name->text).append("=").append(at->value->text).append("]");
    if (node->value != nullptr) text.append("{").append(node->value->text).append("}");
    if (node->firstChild != nullptr) text += "(" + told(node->firstChild) + ")";
    if (node->nextSibling != nullptr) text += " ";
  }
  return text;
}

void expectLinks(const XML_NODE *node, const XML_NODE *parent) {
  for (const XML_NODE *previous = nullptr; node != nullptr; previous = node, node = node->nextSibling) {
    EXPECT_TRUE(node->parent == parent && node->prevSibling == previous);
    const XML_ATTRIBUTE *before = nullptr;
    for (const XML_ATTRIBUTE *at = node->attributes; at != nullptr; before = at, at = at->next)
      EXPECT_TRUE(at->prev == before);
    expectLinks(node->firstChild, node);
  }
}

TEST(XmlService, ReadsADocumentAsItsTreeLinkedBackAndUp) {
  const struct {
    const char *label, *document, *tree;
  } rows[] = {
      {"empty tag", "<a/>", "a"},
      {"empty text", "<a></a>", "a{}"},
      {"only a comment", "<a><!--c--></a>", "a{}"},
      {"white space is text of a leaf", "<a> \n</a>", "a{ \n}"},
      {"white space beside children is layout", "<a>\n <b/>\t</a>", "a(b)"},
      {"blanks around a text beside children stay", "<a> <b/>x </a>", "a{ x }(b)"},
      {"white space as a reference is text", "<a>&#32;<b/>\n</a>", "a{ \n}(b)"},
      {"a line end of two bytes is no reference", "<a>\r\n<b/></a>", "a(b)"},
      {"texts are joined", "<a>x<b>in</b>y<!--c-->z<?p?></a>", "a{xyz}(b{in})"},
      {"text behind a child with longer text", "<a>1<b>22222222222222222222</b>3</a>",
       "a{13}(b{22222222222222222222})"},
      {"character data section", "<a><![CDATA[<b>&]]>x</a>", "a{<b>&x}"},
      {"predefined entities and references", "<a k='&lt;&quot;'>&amp;&gt;&apos;&#x41;</a>", "a[k=<\"]{&>'A}"},
      {"attributes in order", "<a z='1' b='' _c:d='3'/>", "a[z=1][b=][_c:d=3]"},
      {"siblings in order", "<a><b/><c><d/></c><e/></a>", "a(b c(d) e)"},
      {"prolog and epilog", "\xEF\xBB\xBF<?xml version='1.0'?>\n<!--c--><a/>\n<?p?>\n", "a"},
      {"UTF-8", "<a k='\xC3\xA9'>\xE2\x82\xAC&#xE9;</a>", "a[k=\xC3\xA9]{\xE2\x82\xAC\xC3\xA9}"},
      {"single bytes", "<?xml version='1.0' encoding='iso-8859-1'?><\xE9 k='\xE9'>\xC3\xA9\xFF&#xE9;&#x20AC;</\xE9>",
       "\xE9[k=\xE9]{\xC3\xA9\xFF\xE9\xE2\x82\xAC}"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    Tree tree;
    EXPECT_EQ(parse(row.document, tree), EFI_SUCCESS);
    EXPECT_EQ(told(tree.get()), row.tree);
    expectLinks(tree.get(), nullptr);
  }
}

TEST(XmlService, RefusesADocumentWhole) {
  for (const char *document :
       {"", " \n", "text", "<a><b></b>", "<a/>x", "<a k='1' k='2'/>", "<a>&e;</a>", "<a>&#0;</a>", "<a>\x01</a>",
        "<a>\xFF</a>", "<a>\xC0\xAF</a>", "<?xml version='1.0' encoding='ISO-8859-2'?><a/>",
        "<?xml version='1.0' encoding='UTF-16'?><a/>", "<!DOCTYPE a><a/>", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>",
        "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>",
        "<!DOCTYPE a [<!ENTITY % e SYSTEM 'file:///etc/passwd'> %e;]><a/>"}) {
    SCOPED_TRACE(document);
    Tree tree;
    EXPECT_EQ(parse(document, tree), EFI_INVALID_PARAMETER);
    EXPECT_EQ(tree, nullptr);
  }
}

TEST(XmlService, WritesATagALineAndNoLineEndIntoText) {
  const struct {
    XML_NODE *root;
    const char *document;
  } rows[] = {
      {element("I", nullptr, {}, {element("B", nullptr, {{"V", "1"}, {"L", ""}}, {element("C", "run --now")})}),
       "<I>\n<B V=\"1\" L=\"\">\n<C>run --now</C>\n</B>\n</I>\n"},
      {element("a", nullptr, {}, {element("b"), element("c", "")}), "<a>\n<b/>\n<c></c>\n</a>\n"},
      {element("m", "text", {}, {element("b"), element("c", nullptr, {}, {element("d")})}),
       "<m>text<b/><c>\n<d/>\n</c></m>\n"},
      {element("a", "\n ", {}, {element("b")}), "<a>&#10; <b/></a>\n"},
      {element("a", "", {}, {element("b")}), "<a>\n<b/>\n</a>\n"},
      {element("\xE9", "\xE2\x82\xAC"), "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<\xE9>\xE2\x82\xAC</\xE9>\n"},
      {element("\xE9", "\xFF"), "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<\xE9>\xFF</\xE9>\n"},
  };
  for (const auto &row : rows) {
    const Tree tree(row.root);
    string document;
    EXPECT_EQ(serialize(tree, document), EFI_SUCCESS) << row.document;
    EXPECT_EQ(document, row.document);
  }
}

TEST(XmlService, RefusesToWriteWhatXmlCannotHold) {
  std::vector<std::pair<string, string>> many(200);
  for (std::size_t i = 0; i < many.size(); ++i) many[i].first = "a" + std::to_string(i);
  string document;
  EXPECT_EQ(serialize(Tree(element("a", nullptr, many)), document), EFI_SUCCESS);
  many.emplace_back("a7", "");
  const std::pair<const char *, XML_NODE *> rows[] = {
      {"empty name", element("")},
      {"name without text", element(nullptr)},
      {"blank in a name", element("a b")},
      {"name that begins with a digit", element("1a")},
      {"name of no letters in any encoding", element("\xC3\x97\xD7")},
      {"UTF-8 name in a document of single bytes", element("\xC3\xA9", "\xFF")},
      {"names of two encodings", element("\xE9", nullptr, {}, {element("\xC3\xA9")})},
      {"empty attribute name", element("a", nullptr, {{"", "1"}})},
      {"attribute twice", element("a", nullptr, {{"b", "1"}, {"c", "2"}, {"b", "3"}})},
      {"attribute twice among many", element("a", nullptr, many)},
      {"control character below a good element", element("a", nullptr, {}, {element("b"), element("c", "\x1F")})},
      {"control character in an attribute", element("a", nullptr, {{"b", "x\b"}})},
  };
  for (const auto &[label, root] : rows) EXPECT_EQ(serialize(Tree(root), document), EFI_INVALID_PARAMETER) << label;
}

TEST(XmlService, NullArgumentsAreRefused) {
  XML_STRING text = {1, nullptr};
  XML_NODE *node = nullptr;
  XML_STRING *image = nullptr;
  auto *xml = service();
  for (const XML_STRING *none : {static_cast<const XML_STRING *>(nullptr), static_cast<const XML_STRING *>(&text)}) {
    EXPECT_EQ(xml->ParseImage(xml, none, &node), EFI_INVALID_PARAMETER);
    EXPECT_EQ(xml->CreateNode(xml, none, &node), EFI_INVALID_PARAMETER);
  }
  EXPECT_EQ(xml->ParseImage(xml, &text, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->CreateNode(xml, &text, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->SerializeTree(xml, nullptr, 1, &image), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->SerializeTree(xml, Tree(element("a")).get(), 1, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->DeleteTree(xml, nullptr), EFI_INVALID_PARAMETER);
}

TEST(XmlService, DepthCostsNoStack) {
  const auto throughDeepTree = [](void *) -> void * {
    string deep, document;
    for (int i = 0; i < 100000; ++i) deep += "<a>\n";
    deep += "<b/>\n";
    for (int i = 0; i < 100000; ++i) deep += "</a>\n";
    Tree tree;
    EXPECT_EQ(parse(deep, tree), EFI_SUCCESS);
    EXPECT_EQ(serialize(tree, document), EFI_SUCCESS);
    EXPECT_TRUE(document == deep);
    return nullptr;
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::size_t{128} * 1024);
  pthread_t thread = {};
  ASSERT_EQ(pthread_create(&thread, &attributes, throughDeepTree, nullptr), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

bool canBeHeld(const string &text) {
  return std::ranges::none_of(text, [](char c) { return c > 0 && c < 0x20 && std::strchr("\t\n\r", c) == nullptr; });
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
    string document;
    const EFI_STATUS status = serialize(tree, document);
    EXPECT_EQ(status, canBeHeld(text) ? EFI_SUCCESS : EFI_INVALID_PARAMETER);
    if (status != EFI_SUCCESS) continue;
    Tree back;
    EXPECT_EQ(parse(document, back), EFI_SUCCESS);
    EXPECT_TRUE(told(back.get()) == told(tree.get())) << document.substr(0, 300);
  }
}

using XmlTextElsewhere = PlatformTest;

// White space beside children is layout to that parser even when it is written as a reference, so texts stand in leaves
// only.
TEST_F(XmlTextElsewhere, IsReadAlikeByAnotherParser) {
  if (std::system("command -v xmllint >/dev/null") != 0) GTEST_SKIP() << "no xmllint";
  const string in = base / "in.xml", out = base / "out.xml", reformat = "xmllint --format " + in + " >" + out;
  for (const bool highBytes : {false, true}) {
    SCOPED_TRACE(highBytes ? "single bytes" : "UTF-8");
    std::vector<XML_NODE *> leaves;
    for (const string &text : hostileTexts()) {
      const bool isAscii = std::ranges::none_of(text, [](char c) { return (c & 0x80) != 0; });
      if (canBeHeld(text) && text.size() < 1000 && (highBytes || isAscii))
        leaves.push_back(element("leaf", text.c_str(), {{"k", text}}));
    }
    const Tree tree(element("root", nullptr, {}, leaves));
    string document;
    ASSERT_EQ(serialize(tree, document), EFI_SUCCESS);
    fill(in, document);
    ASSERT_EQ(std::system(reformat.c_str()), 0);
    Tree back;
    ASSERT_EQ(parse(contentsOf(out), back), EFI_SUCCESS);
    EXPECT_TRUE(told(back.get()) == told(tree.get()));
  }
}

}  // namespace
}  // namespace vyx::tests
