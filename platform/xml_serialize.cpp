// SPDX-License-Identifier: MIT
// Writes a tree as a document, a tag a line. Text is kept byte for byte, which decides the rest of the layout: no line
// feed goes where it would become part of an element's text.
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "growing_array.h"
#include "utf8.h"
#include "xml_names.h"
#include "xml_tree.h"

namespace vyx::platform {
namespace {

using std::string_view;

// What is written otherwise than as it stands: markup, and what a parser would normalise.
struct Escape {
  string_view reference;
  char byte;
  bool inText;  // in attribute values, all of them
};
constexpr Escape kEscapes[] = {
    {"&amp;", '&', true},  {"&lt;", '<', true},    {"&gt;", '>', true},    {"&#13;", '\r', true},
    {"&#9;", '\t', false}, {"&#10;", '\n', false}, {"&quot;", '"', false},
};
constexpr string_view kWhite = " \t\n\r";
constexpr string_view kSingleByteDeclaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n";

// What each byte of a value is: one of these, or kFirstEscape plus an index into kEscapes.
enum : std::uint8_t { kPlain, kHigh, kEnd, kRefused, kFirstEscape };
using ByteKinds = std::array<std::uint8_t, 256>;

constexpr ByteKinds byteKinds(bool inText) {
  ByteKinds kinds{};
  for (std::size_t i = 0; i < 0x20; ++i) kinds[i] = kRefused;
  for (std::size_t i = 0x80; i < kinds.size(); ++i) kinds[i] = kHigh;
  kinds['\0'] = kEnd;
  kinds['\t'] = kinds['\n'] = kPlain;
  for (std::size_t i = 0; i < std::size(kEscapes); ++i) {
    const auto byte = static_cast<unsigned char>(kEscapes[i].byte);
    if (kEscapes[i].inText || !inText) kinds[byte] = static_cast<std::uint8_t>(kFirstEscape + i);
  }
  return kinds;
}
constexpr ByteKinds kInText = byteKinds(true), kInAttribute = byteKinds(false);

// Well-formed UTF-8 without U+FFFE and U+FFFF, which XML does not have. Control characters are not looked for.
bool isXmlUtf8(const char *text) {
  while (*text != '\0') {
    const std::size_t length = utf8Length(text);
    if (length == 0 || std::strncmp(text, "\xEF\xBF\xBE", 3) == 0 || std::strncmp(text, "\xEF\xBF\xBF", 3) == 0)
      return false;
    text += length;
  }
  return true;
}

const char *textOf(const XML_STRING *string) {
  return string->text != nullptr ? string->text : "";
}
bool hasText(const XML_NODE &node) {
  return node.value != nullptr && textOf(node.value)[0] != '\0';
}

class Writer {
 public:
  EFI_STATUS write(const XML_NODE *root);
  char *release() { return out_.release(); }

 private:
  void fail(EFI_STATUS status) { status_ = status_ != EFI_SUCCESS ? status_ : status; }
  void put(string_view text) {
    if (!out_.append(text.data(), text.size())) fail(EFI_OUT_OF_RESOURCES);
  }
  void putValue(const char *text, const ByteKinds &kinds);
  const char *putName(const XML_STRING *name);
  void putAttributes(const XML_NODE &node);
  void putText(const XML_NODE &node);
  void endLine();
  void beginElement(const XML_NODE &node);
  void endElement(const XML_NODE &node);
  EFI_STATUS finish();

  GrowingArray<char> out_;
  GrowingArray<const XML_NODE *> open_;        // the elements around the one being written
  GrowingArray<const char *> attributeNames_;  // of the element being written
  NameCheck names_;
  bool utf8_ = true;  // all values so far are
  EFI_STATUS status_ = EFI_SUCCESS;
};

void Writer::putValue(const char *text, const ByteKinds &kinds) {
  bool high = false;
  const char *run = text;
  for (const char *at = text;; ++at) {
    const std::uint8_t kind = kinds[static_cast<unsigned char>(*at)];
    if (kind == kPlain) continue;
    if (kind == kHigh) {
      high = true;
      continue;
    }
    if (kind == kRefused) return fail(EFI_INVALID_PARAMETER);
    put({run, static_cast<std::size_t>(at - run)});
    if (kind == kEnd) break;
    put(kEscapes[kind - kFirstEscape].reference);
    run = at + 1;
  }
  if (high && utf8_) utf8_ = isXmlUtf8(text);
}

const char *Writer::putName(const XML_STRING *name) {
  if (name == nullptr || name->text == nullptr) {
    fail(EFI_INVALID_PARAMETER);
    return "";
  }
  if (const EFI_STATUS status = names_.add(name->text); status != EFI_SUCCESS) fail(status);
  put(name->text);
  return name->text;
}

void Writer::putAttributes(const XML_NODE &node) {
  attributeNames_.truncate(0);
  for (const XML_ATTRIBUTE *attribute = node.attributes; attribute != nullptr; attribute = attribute->next) {
    put(" ");
    if (!attributeNames_.push(putName(attribute->name))) fail(EFI_OUT_OF_RESOURCES);
    put("=\"");
    if (attribute->value != nullptr) putValue(textOf(attribute->value), kInAttribute);
    put("\"");
    if (status_ != EFI_SUCCESS) return;
  }
  if (anyRepeats(attributeNames_.data(), attributeNames_.size())) fail(EFI_INVALID_PARAMETER);
}

// White space alone would not count beside child elements; a reference in front makes it text.
void Writer::putText(const XML_NODE &node) {
  const char *text = textOf(node.value);
  if (node.firstChild != nullptr && string_view(text).find_first_not_of(kWhite) == string_view::npos) {
    const char reference[] = {'&', '#', static_cast<char>('0' + *text / 10), static_cast<char>('0' + *text % 10), ';'};
    put({reference, sizeof(reference)});
    ++text;
  }
  putValue(text, kInText);
}

// Behind a tag, inside the innermost open element.
void Writer::endLine() {
  if (open_.empty() || !hasText(*open_.back())) put("\n");
}

void Writer::beginElement(const XML_NODE &node) {
  put("<");
  putName(node.name);
  putAttributes(node);
  if (node.value == nullptr && node.firstChild == nullptr) {
    put("/>");
    return endLine();
  }
  put(">");
  if (hasText(node)) putText(node);
  if (node.firstChild == nullptr) return endElement(node);
  if (!open_.push(&node)) return fail(EFI_OUT_OF_RESOURCES);
  endLine();
}

void Writer::endElement(const XML_NODE &node) {
  if (status_ != EFI_SUCCESS) return;
  put("</");
  put(node.name->text);
  put(">");
  endLine();
}

EFI_STATUS Writer::finish() {
  const bool isUtf8 = utf8_ && names_.fitUtf8();
  if (!isUtf8 && !names_.fitSingleBytes()) return EFI_INVALID_PARAMETER;
  if (!out_.push('\0')) return EFI_OUT_OF_RESOURCES;
  if (isUtf8) return EFI_SUCCESS;
  const std::size_t length = out_.size();
  put(kSingleByteDeclaration);
  if (status_ != EFI_SUCCESS) return status_;
  std::memmove(out_.data() + kSingleByteDeclaration.size(), out_.data(), length);
  std::memcpy(out_.data(), kSingleByteDeclaration.data(), kSingleByteDeclaration.size());
  return EFI_SUCCESS;
}

EFI_STATUS Writer::write(const XML_NODE *node) {
  while (node != nullptr) {
    beginElement(*node);
    if (status_ != EFI_SUCCESS) return status_;
    if (node->firstChild != nullptr) {
      node = node->firstChild;
      continue;
    }
    while (node->nextSibling == nullptr && !open_.empty()) {
      node = open_.pop();
      endElement(*node);
    }
    node = node->nextSibling;
  }
  return status_ != EFI_SUCCESS ? status_ : finish();
}

}  // namespace

EFI_STATUS writeDocument(const XML_NODE *root, char **document) {
  Writer writer;
  const EFI_STATUS status = writer.write(root);
  if (status == EFI_SUCCESS) *document = writer.release();
  return status;
}

}  // namespace vyx::platform
