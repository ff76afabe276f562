// SPDX-License-Identifier: MIT
// Reads a document: expat's handlers build the tree's records directly, each in the order in which the tree is walked
// later.
#include <expat.h>
#include <strings.h>

#include <climits>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

#include "xml_tree.h"

namespace vyx::platform {
namespace {

struct FreeParser {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<XML_ParserStruct, FreeParser>;

Parser newParser(const char *encoding = nullptr) {
  static const XML_Memory_Handling_Suite heap = {std::malloc, std::realloc, std::free};
  Parser parser(XML_ParserCreate_MM(encoding, &heap, nullptr));
  if (parser == nullptr) throw std::bad_alloc();
  return parser;
}

// False when the text so far is not well-formed, and when a handler has stopped the parser.
bool feed(const Parser &parser, std::string_view text, bool isLast) {
  if (text.size() > INT_MAX) throw std::bad_alloc();
  if (XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), isLast) == XML_STATUS_OK) return true;
  if (XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  return false;
}

// The text of an element whose end has not come. Of the open elements' texts, one after the other in one buffer, only
// the last can grow.
struct OpenText {
  std::size_t start;
  bool counts;  // more than white space, or white space that somebody took the trouble to write as a reference
};

// Back to the bytes of an ISO-8859-1 document. Characters beyond them, which only a reference can give, stay UTF-8.
void narrow(char *text) {
  char *to = text;
  for (const char *from = text; *from != '\0';) {
    const auto byte = static_cast<unsigned char>(*from++);
    const bool narrowable = byte == 0xC2 || byte == 0xC3;
    *to++ = static_cast<char>(narrowable ? (byte & 0x03) << 6 | (*from++ & 0x3F) : byte);
  }
  *to = '\0';
}

bool isWhite(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

class Builder {
 public:
  Builder() : parser_(newParser()) {
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), handler<&Builder::start>, handler<&Builder::end>);
    XML_SetCharacterDataHandler(parser_.get(), handler<&Builder::addText>);
    XML_SetXmlDeclHandler(parser_.get(), handler<&Builder::declare>);
    XML_SetStartDoctypeDeclHandler(parser_.get(), handler<&Builder::refuseDoctype>);
  }
  Builder(const Builder &) = delete;
  Builder &operator=(const Builder &) = delete;
  ~Builder() { releaseTree(root_); }

  XML_NODE *build(const char *document) {
    const bool isDocument = feed(parser_, document, true);
    require(failure_ == EFI_SUCCESS, failure_);
    require(isDocument, EFI_INVALID_PARAMETER);
    return std::exchange(root_, nullptr);
  }

 private:
  // What expat calls. Nothing may be thrown through it; and it may call some handlers even after it was stopped.
  template <auto handle, class... Arguments>
  static void handler(void *data, Arguments... arguments) {
    auto &builder = *static_cast<Builder *>(data);
    if (builder.failure_ != EFI_SUCCESS) return;
    builder.failure_ = statusOf([&] { (builder.*handle)(arguments...); });
    if (builder.failure_ != EFI_SUCCESS) XML_StopParser(builder.parser_.get(), XML_FALSE);
  }

  void start(const char *name, const char **attributes);
  void end(const char *);
  void addText(const char *text, int length);
  void declare(const char *, const char *encoding, int) {
    singleBytes_ = encoding != nullptr && strcasecmp(encoding, "ISO-8859-1") == 0;
  }
  void refuseDoctype(const char *, const char *, const char *, int) { throw Failure{EFI_INVALID_PARAMETER}; }

  XML_STRING *newString(std::string_view text) const;
  void link(XML_NODE *node);
  void addAttributes(XML_NODE &node, const char **attributes) const;

  Parser parser_;
  XML_NODE *root_ = nullptr;
  XML_NODE *current_ = nullptr;   // the element that is open
  XML_NODE *previous_ = nullptr;  // the last one closed inside it
  HeapString text_;
  HeapVector<OpenText> openTexts_;
  bool singleBytes_ = false;  // the document is ISO-8859-1, which expat turns into UTF-8
  EFI_STATUS failure_ = EFI_SUCCESS;
};

XML_STRING *Builder::newString(std::string_view text) const {
  XML_STRING *string = makeString(text.data(), text.size());
  if (singleBytes_) narrow(string->text);
  return string;
}

// How many bytes of the document the event at hand stands for.
auto eventBytes(XML_Parser parser) {
#if XML_MAJOR_VERSION * 100 + XML_MINOR_VERSION >= 209
  return XML_GetCurrentByteCount64(parser);
#else
  return XML_GetCurrentByteCount(parser);
#endif
}

void Builder::addAttributes(XML_NODE &node, const char **attributes) const {
  XML_ATTRIBUTE_LINK *link = &node.attributes;
  XML_ATTRIBUTE *last = nullptr;
  for (; *attributes != nullptr; attributes += 2) {
    auto *attribute = newRecord<XML_ATTRIBUTE>();
    *attribute = {nullptr, nullptr, nullptr, last};
    *link = last = attribute;
    link = &attribute->next;
    attribute->name = newString(attributes[0]);
    attribute->value = newString(attributes[1]);
  }
}

void Builder::link(XML_NODE *node) {
  node->parent = current_;
  node->prevSibling = previous_;
  if (previous_ != nullptr) {
    previous_->nextSibling = node;
  } else if (current_ != nullptr) {
    current_->firstChild = node;
  } else {
    root_ = node;
  }
  current_ = node;
  previous_ = nullptr;
}

void Builder::start(const char *name, const char **attributes) {
  XML_NODE *node = makeNode(name, std::strlen(name));
  if (singleBytes_) narrow(node->name->text);
  link(node);
  addAttributes(*node, attributes);
  openTexts_.push_back({text_.size(), false});
}

void Builder::end(const char *) {
  XML_NODE *node = current_;
  const OpenText open = openTexts_.back();
  const bool isEmptyTag = eventBytes(parser_.get()) == 0;  // "<X/>": its end has no bytes of its own
  if (open.counts || (node->firstChild == nullptr && !isEmptyTag))
    node->value = newString(std::string_view(text_).substr(open.start));
  text_.resize(open.start);
  openTexts_.pop_back();
  previous_ = node;
  current_ = node->parent;
}

// White space itself takes a byte, a line end at most two; a reference to it four or more.
void Builder::addText(const char *text, int length) {
  const std::string_view added(text, static_cast<std::size_t>(length));
  bool &counts = openTexts_.back().counts;
  counts = counts || !isWhite(added) || (length == 1 && eventBytes(parser_.get()) > 2);
  text_ += added;
}

}  // namespace

XML_NODE *parseDocument(const char *document) {
  return Builder().build(document);
}

bool isWellFormed(std::string_view elements, const char *encoding) {
  const Parser parser = newParser(encoding);
  return feed(parser, "<x>", false) && feed(parser, elements, false) && feed(parser, "</x>", true);
}

}  // namespace vyx::platform
