// SPDX-License-Identifier: MIT
// Texts through the XML service and back: byte for byte, in every position, by this reader and by another.
#include "xml_tree.h"

namespace vyx::tests {
namespace {

using std::string;

// One text in each place that a tree has for it.
Tree everywhere(const char *text) {
  return element("root", nullptr, {},
                 chain({
                     element("leaf", text, {{"k", text}, {"l", "x"}}).release(),
                     element("mixed", text, {}, element("child", text)).release(),
                 }));
}

bool canBeHeld(const string &text) {
  for (const char c : text)
    if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') return false;
  return true;
}

std::vector<string> hostileTexts() {
  std::vector<string> texts = {
      " ", "  \n\t\r ", "\r\n", "\n", " lead", "trail ", "\ttab\t", "a\rb\nc", "\"quoted\"", "'single'", "<!--", "-->",
      "<a>", "</leaf>", "]]>", "<![CDATA[x]]>", "&amp;", "&#32;", "&#x20;", "&e;", "<?xml version='1.0'?>", "%d%s%n",
      "\\", "\x7F", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF", "\xEF\xBB\xBF", "\xC2\x80",
      "\xC2\x85", "\xE2\x80\xA8",
      // no UTF-8, or characters that XML does not have
      "\xE9", "\xC3", "\xC3\xA9\xFF", "\x80\x85\x9F", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xEF\xBF\xBE",
      "\xEF\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF\xFE", "a\xFF <&> \r\t"};
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
    const Tree tree = everywhere(text.c_str());
    string document;
    const EFI_STATUS status = serialize(tree, document);
    EXPECT_EQ(status, canBeHeld(text) ? EFI_SUCCESS : EFI_INVALID_PARAMETER);
    if (status != EFI_SUCCESS) continue;
    Tree back;
    EXPECT_EQ(parse(document, back), EFI_SUCCESS);
    EXPECT_TRUE(told(back.get()) == told(tree.get())) << document.substr(0, 300);
  }
}

TEST(XmlText, OfEachAloneDoesNotChangeTheOthers) {
  const Tree tree =
      element("a", nullptr, {}, chain({element("b", "\xC3\xA9").release(), element("c", "\xFF").release()}));
  string document;
  ASSERT_EQ(serialize(tree, document), EFI_SUCCESS);
  Tree back;
  ASSERT_EQ(parse(document, back), EFI_SUCCESS);
  EXPECT_EQ(told(back.get()), "a(b{\xC3\xA9} c{\xFF})");
}

class XmlTextElsewhere : public PlatformTest {
 protected:
  // Runs another XML parser over a document; its output is the document as it understood it.
  string reformatted(const string &document) const {
    fill(base / "in.xml", document);
    const string out = (base / "out.xml").string();
    const string command = "xmllint --format " + (base / "in.xml").string() + " > " + out + " 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << contentsOf(out).substr(0, 1000);
    return contentsOf(out);
  }
};

// White space beside children is layout to that parser even when it is written as a reference, so texts stand in leaves
// only.
TEST_F(XmlTextElsewhere, IsReadAlikeByAnotherParser) {
  if (std::system("command -v xmllint >/dev/null") != 0) GTEST_SKIP() << "no xmllint";
  for (const bool highBytes : {false, true}) {
    SCOPED_TRACE(highBytes ? "single bytes" : "UTF-8");
    std::vector<XML_NODE *> leaves;
    for (const string &text : hostileTexts()) {
      const bool isAscii = text.find_first_of("\x80\x85\x9F\xC3\xFF") == string::npos && text[0] > 0;
      if (canBeHeld(text) && text.size() < 1000 && (highBytes || isAscii))
        leaves.push_back(element("leaf", text.c_str(), {{"k", text.c_str()}}).release());
    }
    const Tree tree = element("root", nullptr, {}, chain(leaves));
    string document;
    ASSERT_EQ(serialize(tree, document), EFI_SUCCESS);
    Tree back;
    ASSERT_EQ(parse(reformatted(document), back), EFI_SUCCESS);
    EXPECT_TRUE(told(back.get()) == told(tree.get()));
  }
}

}  // namespace
}  // namespace vyx::tests
