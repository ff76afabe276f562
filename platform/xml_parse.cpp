// SPDX-License-Identifier: MIT
// Reads a document: expat's handlers build the tree's records directly, each in the order in which
// the tree is walked later.
#include <expat.h>
#include <strings.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "growing_array.h"
#include "xml_names.h"
#include "xml_tree.h"

namespace vyx::platform {
namespace {

// The text of an element whose end has not come. Of the open elements' texts, one behind the other in one buffer, only
// the last can grow: when a child begins, its parent's OpenText is put between the two.
struct OpenText {
  std::size_t start = 0;
  bool counts = false;  // more than white space, or white space that somebody took the trouble to write as a reference
};

struct Builder {
  XML_Parser parser = nullptr;
  XML_NODE *root = nullptr;
  XML_NODE *current = nullptr;   // the element that is open
  XML_NODE *previous = nullptr;  // the last one closed inside it
  GrowingArray<char> text;
  OpenText openText;
  bool singleBytes = false;  // the document is ISO-8859-1, which expat turns into UTF-8
  EFI_STATUS failure = EFI_SUCCESS;

  Builder() = default;
  Builder(const Builder &) = delete;
  Builder &operator=(const Builder &) = delete;
  ~Builder() {
    releaseTree(root);
    if (parser != nullptr) XML_ParserFree(parser);
  }

  // Expat may call some handlers even after it was stopped, so each of them looks at `failure` first.
  void fail(EFI_STATUS status) {
    failure = status;
    XML_StopParser(parser, XML_FALSE);
  }
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

XML_STRING *newString(const Builder &builder, const char *text, std::size_t length) {
  XML_STRING *string = makeString(text, length);
  if (string != nullptr && builder.singleBytes) narrow(string->text);
  return string;
}

bool addAttributes(const Builder &builder, XML_NODE &node, const char **attributes) {
  XML_ATTRIBUTE_LINK *link = &node.attributes;
  XML_ATTRIBUTE *last = nullptr;
  for (; *attributes != nullptr; attributes += 2) {
    auto *attribute = static_cast<XML_ATTRIBUTE *>(std::malloc(sizeof(XML_ATTRIBUTE)));
    if (attribute == nullptr) return false;
    *attribute = {nullptr, nullptr, nullptr, last};
    *link = last = attribute;
    link = &attribute->next;
    attribute->name = newString(builder, attributes[0], std::strlen(attributes[0]));
    if (attribute->name == nullptr) return false;
    attribute->value = newString(builder, attributes[1], std::strlen(attributes[1]));
    if (attribute->value == nullptr) return false;
  }
  return true;
}

void link(Builder &builder, XML_NODE *node) {
  node->parent = builder.current;
  node->prevSibling = builder.previous;
  if (builder.previous != nullptr) {
    builder.previous->nextSibling = node;
  } else if (builder.current != nullptr) {
    builder.current->firstChild = node;
  } else {
    builder.root = node;
  }
  builder.current = node;
  builder.previous = nullptr;
}

bool beginText(Builder &builder) {
  char outer[sizeof(OpenText)];
  std::memcpy(outer, &builder.openText, sizeof(outer));
  if (!builder.text.append(outer, sizeof(outer))) return false;
  builder.openText = {builder.text.size(), false};
  return true;
}

void endText(Builder &builder) {
  const std::size_t outer = builder.openText.start - sizeof(OpenText);
  std::memcpy(&builder.openText, builder.text.data() + outer, sizeof(OpenText));
  builder.text.truncate(outer);
}

// How many bytes of the document the event at hand stands for.
auto eventBytes(XML_Parser parser) {
#if XML_MAJOR_VERSION * 100 + XML_MINOR_VERSION >= 209
  return XML_GetCurrentByteCount64(parser);
#else
  return XML_GetCurrentByteCount(parser);
#endif
}

void onStart(void *data, const char *name, const char **attributes) {
  auto &builder = *static_cast<Builder *>(data);
  if (builder.failure != EFI_SUCCESS) return;
  XML_NODE *node = makeNode(name, std::strlen(name));
  if (node == nullptr) return builder.fail(EFI_OUT_OF_RESOURCES);
  if (builder.singleBytes) narrow(node->name->text);
  link(builder, node);
  if (!addAttributes(builder, *node, attributes) || !beginText(builder)) builder.fail(EFI_OUT_OF_RESOURCES);
}

void onEnd(void *data, const char *) {
  auto &builder = *static_cast<Builder *>(data);
  if (builder.failure != EFI_SUCCESS) return;
  XML_NODE *node = builder.current;
  const bool emptyTag = eventBytes(builder.parser) == 0;  // "<X/>": its end has no bytes of its own
  if (builder.openText.counts || (node->firstChild == nullptr && !emptyTag)) {
    const std::size_t start = builder.openText.start;
    node->value = newString(builder, builder.text.data() + start, builder.text.size() - start);
    if (node->value == nullptr) return builder.fail(EFI_OUT_OF_RESOURCES);
  }
  endText(builder);
  builder.previous = node;
  builder.current = node->parent;
}

bool isWhite(const char *text, int length) {
  for (int i = 0; i < length; ++i)
    if (std::strchr(" \t\r\n", text[i]) == nullptr) return false;
  return true;
}

void onText(void *data, const char *text, int length) {
  auto &builder = *static_cast<Builder *>(data);
  if (builder.failure != EFI_SUCCESS) return;
  OpenText &open = builder.openText;
  // White space itself takes a byte, a line end at most two; a reference to it four or more.
  if (!open.counts) open.counts = !isWhite(text, length) || (length == 1 && eventBytes(builder.parser) > 2);
  if (!builder.text.append(text, static_cast<std::size_t>(length))) builder.fail(EFI_OUT_OF_RESOURCES);
}

void onDeclaration(void *data, const char *, const char *encoding, int) {
  auto &builder = *static_cast<Builder *>(data);
  builder.singleBytes = encoding != nullptr && strcasecmp(encoding, "ISO-8859-1") == 0;
}

void onDoctype(void *data, const char *, const char *, const char *, int) {
  static_cast<Builder *>(data)->fail(EFI_INVALID_PARAMETER);
}

XML_Parser createParser(Builder &builder) {
  XML_Parser parser = newParser();
  if (parser == nullptr) return nullptr;
  XML_SetUserData(parser, &builder);
  XML_SetElementHandler(parser, onStart, onEnd);
  XML_SetCharacterDataHandler(parser, onText);
  XML_SetXmlDeclHandler(parser, onDeclaration);
  XML_SetStartDoctypeDeclHandler(parser, onDoctype);
  return parser;
}

}  // namespace

EFI_STATUS parseDocument(const char *document, XML_NODE **root) {
  const std::size_t length = std::strlen(document);
  if (length > INT_MAX) return EFI_OUT_OF_RESOURCES;
  Builder builder;
  builder.parser = createParser(builder);
  if (builder.parser == nullptr) return EFI_OUT_OF_RESOURCES;
  const XML_Status parsed = XML_Parse(builder.parser, document, static_cast<int>(length), XML_TRUE);
  if (builder.failure != EFI_SUCCESS) return builder.failure;
  if (parsed != XML_STATUS_OK)
    return XML_GetErrorCode(builder.parser) == XML_ERROR_NO_MEMORY ? EFI_OUT_OF_RESOURCES : EFI_INVALID_PARAMETER;
  *root = std::exchange(builder.root, nullptr);
  return EFI_SUCCESS;
}

}  // namespace vyx::platform
