// SPDX-License-Identifier: MIT
// The XML service: which documents it reads, as what, and how it lays out what it writes.
#include <pthread.h>

#include "xml_tree.h"

namespace vyx::tests {
namespace {

TEST(XmlService, ReadsADocumentAsItsTree) {
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
      {"text continues behind a child with longer text", "<a>1<b>22222222222222222222</b>3</a>",
       "a{13}(b{22222222222222222222})"},
      {"character data section", "<a><![CDATA[<b>&]]>x</a>", "a{<b>&x}"},
      {"the predefined entities and references", "<a k='&lt;&quot;'>&amp;&gt;&apos;&#x41;</a>", "a[k=<\"]{&>'A}"},
      {"attributes in order", "<a z='1' b='' _c:d='3'/>", "a[z=1,b=,_c:d=3]"},
      {"attribute white space is normalised", "<a k='1\n2\t3'/>", "a[k=1 2 3]"},
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
  }
}

TEST(XmlService, RefusesADocumentWhole) {
  const struct {
    const char *label, *document;
  } rows[] = {
      {"nothing", ""},
      {"white space", " \n"},
      {"no element", "text"},
      {"unfinished tag", "<a"},
      {"unfinished element", "<a><b></b>"},
      {"unfinished attribute", "<a k='1"},
      {"crossed tags", "<a><b></a></b>"},
      {"two roots", "<a/><b/>"},
      {"text behind the root", "<a/>x"},
      {"attribute twice", "<a k='1' k='2'/>"},
      {"attribute without quotes", "<a k=1/>"},
      {"bare ampersand", "<a>&</a>"},
      {"bare less-than", "<a k='<'/>"},
      {"end of a section in text", "<a>]]></a>"},
      {"entity that nobody declared", "<a>&e;</a>"},
      {"reference to what is no character", "<a>&#0;</a>"},
      {"control character", "<a>\x01</a>"},
      {"not UTF-8", "<a>\xFF</a>"},
      {"overlong UTF-8", "<a>\xC0\xAF</a>"},
      {"unknown encoding", "<?xml version='1.0' encoding='ISO-8859-2'?><a/>"},
      {"an encoding that it is not in", "<?xml version='1.0' encoding='UTF-16'?><a/>"},
      {"document type", "<!DOCTYPE a><a/>"},
      {"document type from elsewhere", "<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>"},
      {"internal entity", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>"},
      {"entities that multiply", "<!DOCTYPE a [<!ENTITY e 'xx'><!ENTITY f '&e;&e;'>]><a>&f;&f;</a>"},
      {"external entity", "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>"},
      {"parameter entity", "<!DOCTYPE a [<!ENTITY % e SYSTEM 'file:///etc/passwd'> %e;]><a/>"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    Tree tree;
    EXPECT_EQ(parse(row.document, tree), EFI_INVALID_PARAMETER);
    EXPECT_EQ(tree, nullptr);
  }
}

void expectLinks(const XML_NODE *node, const XML_NODE *parent) {
  for (const XML_NODE *previous = nullptr; node != nullptr; previous = node, node = node->nextSibling) {
    EXPECT_TRUE(node->parent == parent);
    EXPECT_TRUE(node->prevSibling == previous);
    const XML_ATTRIBUTE *before = nullptr;
    for (const XML_ATTRIBUTE *at = node->attributes; at != nullptr; before = at, at = at->next)
      EXPECT_TRUE(at->prev == before);
    expectLinks(node->firstChild, node);
  }
}

TEST(XmlService, AReadTreeIsLinkedBackAndUp) {
  Tree tree;
  ASSERT_EQ(parse("<a><b i='1' j='2' k='3'/>text<c><d/><e/><f><g/></f></c><h/></a>", tree), EFI_SUCCESS);
  expectLinks(tree.get(), nullptr);
}

TEST(XmlService, WritesATagALineAndNoLineEndIntoText) {
  Tree example = element(
      "SSIB_INFO", nullptr, {},
      element("SSIB_BLOCK", nullptr, {{"Version", "1"}, {"LU_CATEGORY", ""}}, element("CMD_LINE", "run --now")));
  Tree mixed =
      element("m", "text", {}, chain({element("b").release(), element("c", nullptr, {}, element("d")).release()}));
  const struct {
    const char *label;
    Tree tree;
    const char *document;
  } rows[] = {
      {"a queue", std::move(example),
       "<SSIB_INFO>\n<SSIB_BLOCK Version=\"1\" LU_CATEGORY=\"\">\n<CMD_LINE>run "
       "--now</CMD_LINE>\n</SSIB_BLOCK>\n</SSIB_INFO>\n"},
      {"no value and an empty one", chain({element("a").release(), element("b", "").release()}), "<a/>\n<b></b>\n"},
      {"text beside children", std::move(mixed), "<m>text<b/><c>\n<d/>\n</c></m>\n"},
      {"white space beside children", element("a", "\n ", {}, element("b")), "<a>&#10; <b/></a>\n"},
      {"an empty value beside children", element("a", "", {}, element("b")), "<a>\n<b/>\n</a>\n"},
      {"not all UTF-8", element("\xE9", "\xFF"),
       "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<\xE9>\xFF</\xE9>\n"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    std::string document;
    EXPECT_EQ(serialize(row.tree, document), EFI_SUCCESS);
    EXPECT_EQ(document, row.document);
  }
}

TEST(XmlService, RefusesToWriteWhatXmlCannotHold) {
  const struct {
    const char *label;
    Tree tree;
  } rows[] = {
      {"empty name", element("")},
      {"name without text", element(nullptr)},
      {"blank in a name", element("a b")},
      {"name that begins with a digit", element("1a")},
      {"markup in a name", element("a><b")},
      {"name of no letters in any encoding", element("\xC3\x97\xD7")},
      {"UTF-8 name in a document of single bytes", element("\xC3\xA9", "\xFF")},
      {"single-byte name in a document of UTF-8", element("\xE9", "\xE2\x82\xAC")},
      {"empty attribute name", element("a", nullptr, {{"", "1"}})},
      {"equals sign in an attribute name", element("a", nullptr, {{"b=", "1"}})},
      {"attribute twice", element("a", nullptr, {{"b", "1"}, {"c", "2"}, {"b", "3"}})},
      {"control character below a good element",
       element("a", nullptr, {}, chain({element("b").release(), element("c", "\x1F").release()}))},
      {"control character in an attribute", element("a", nullptr, {{"b", "x\b"}})},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    std::string document;
    EXPECT_EQ(serialize(row.tree, document), EFI_INVALID_PARAMETER);
  }
}

TEST(XmlService, FindsARepeatedNameAmongManyAttributes) {
  std::vector<std::string> names(200);
  std::vector<std::pair<const char *, const char *>> attributes(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    names[i] = "a" + std::to_string(i);
    attributes[i] = {names[i].c_str(), ""};
  }
  std::string document;
  EXPECT_EQ(serialize(element("a", nullptr, attributes), document), EFI_SUCCESS);
  attributes.back().first = "a7";
  EXPECT_EQ(serialize(element("a", nullptr, attributes), document), EFI_INVALID_PARAMETER);
}

TEST(XmlService, NullArgumentsAreRefused) {
  XML_STRING text = {1, nullptr};
  XML_NODE *node = nullptr;
  XML_STRING *image = nullptr;
  auto *xml = service();
  EXPECT_EQ(xml->ParseImage(xml, nullptr, &node), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->ParseImage(xml, &text, &node), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->ParseImage(xml, &text, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->CreateNode(xml, nullptr, &node), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->CreateNode(xml, &text, &node), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->CreateNode(xml, &text, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->SerializeTree(xml, nullptr, 1, &image), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->SerializeTree(xml, element("a").get(), 1, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(xml->DeleteTree(xml, nullptr), EFI_INVALID_PARAMETER);
}

TEST(XmlService, ACreatedElementIsBareAndOwnsItsName) {
  char name[] = "SSIB_INFO";
  XML_STRING string = {1, name};
  XML_NODE *node = nullptr;
  ASSERT_EQ(service()->CreateNode(service(), &string, &node), EFI_SUCCESS);
  const Tree tree(node);
  name[0] = '?';
  EXPECT_EQ(told(node), "SSIB_INFO");
  EXPECT_EQ(node->parent, nullptr);
}

void *parseSerializeAndDeleteDeepTree(void *) {
  constexpr std::size_t kDepth = 100000;
  std::string deep;
  for (std::size_t i = 0; i < kDepth; ++i) deep += "<a>\n";
  deep += "<b/>\n";
  for (std::size_t i = 0; i < kDepth; ++i) deep += "</a>\n";
  Tree tree;
  std::string document;
  EXPECT_EQ(parse(deep, tree), EFI_SUCCESS);
  EXPECT_EQ(serialize(tree, document), EFI_SUCCESS);
  EXPECT_TRUE(document == deep);
  return nullptr;
}

TEST(XmlService, DepthCostsNoStack) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::size_t{128} * 1024);
  pthread_t thread = {};
  ASSERT_EQ(pthread_create(&thread, &attributes, parseSerializeAndDeleteDeepTree, nullptr), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

}  // namespace
}  // namespace vyx::tests
