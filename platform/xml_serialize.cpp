// SPDX-License-Identifier: MIT
// Writes a tree as a document, a tag a line. Text is kept byte for byte, which decides the rest of the layout: no line
// feed goes where it would become part of an element's text.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "utf8.h"
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

// What each byte of a value or a name is: one of these, or kFirstEscape plus an index into kEscapes.
enum ByteKind : std::uint8_t { kPlain, kHigh, kEnd, kRefused, kFirstEscape };
using ByteKinds = std::array<std::uint8_t, 256>;

constexpr ByteKinds kindsWithin(ByteKind ascii) {
  ByteKinds kinds{};
  for (std::size_t i = 1; i < kinds.size(); ++i) kinds[i] = i < 0x20 ? kRefused : i < 0x80 ? ascii : kHigh;
  kinds['\0'] = kEnd;
  return kinds;
}

constexpr ByteKinds valueKinds(bool inText) {
  ByteKinds kinds = kindsWithin(kPlain);
  kinds['\t'] = kinds['\n'] = kPlain;
  for (std::size_t i = 0; i < std::size(kEscapes); ++i) {
    const auto byte = static_cast<unsigned char>(kEscapes[i].byte);
    if (kEscapes[i].inText || !inText) kinds[byte] = static_cast<std::uint8_t>(kFirstEscape + i);
  }
  return kinds;
}

// Names and repeated attributes are judged here while they are written: a parse of the whole output costs four to five
// times as much as writing it, and is left to what this cannot judge. What would be markup cannot be left to the
// parser: it would take it for that.
constexpr ByteKinds nameKinds() {
  ByteKinds kinds = kindsWithin(kRefused);
  for (const char c : string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789:_.-"))
    kinds[static_cast<unsigned char>(c)] = kPlain;
  return kinds;
}
constexpr ByteKinds kInText = valueKinds(true), kInAttribute = valueKinds(false), kInName = nameKinds();

// Up to this many attributes of an element, comparing the name of each with each is quicker than the parser.
constexpr std::size_t kFewAttributes = 16;

// Well-formed UTF-8 without U+FFFE and U+FFFF, which XML does not have. Control characters are not looked for.
bool isXmlUtf8(const char *text) {
  while (*text != '\0') {
    const Character character = decodeUtf8(text);
    if (character.length == 0 || character.value == 0xFFFE || character.value == 0xFFFF) return false;
    text += character.length;
  }
  return true;
}

const char *textOf(const XML_STRING *string) {
  return string->text != nullptr ? string->text : "";
}
bool hasText(const XML_NODE &node) {
  return node.value != nullptr && textOf(node.value)[0] != '\0';
}

bool isRepeated(const XML_ATTRIBUTE *first, const XML_ATTRIBUTE *attribute) {
  const char *name = attribute->name->text;
  for (; first != attribute; first = first->next)
    if (*name == *first->name->text && std::strcmp(name, first->name->text) == 0) return true;
  return false;
}

// The document as it grows, in a block of the heap that can be handed out as it is. A string would cost a copy of the
// whole at the end, and more on the way: realloc moves a large block without copying it.
class Document {
 public:
  Document() = default;
  Document(const Document &) = delete;
  Document &operator=(const Document &) = delete;
  ~Document() { std::free(text_); }

  void append(string_view added) {
    if (added.size() > capacity_ - size_) grow(added.size());
    std::memcpy(text_ + size_, added.data(), added.size());
    size_ += added.size();
  }
  void prepend(string_view front) {
    append(front);
    std::memmove(text_ + front.size(), text_, size_ - front.size());
    std::memcpy(text_, front.data(), front.size());
  }
  string_view view() const { return {text_, size_}; }
  char *release() { return std::exchange(text_, nullptr); }

 private:
  void grow(std::size_t added) {
    const std::size_t capacity = std::max({kFirstCapacity, size_ + added, capacity_ * 2});
    void *text = std::realloc(text_, capacity);
    if (text == nullptr) throw std::bad_alloc();
    text_ = static_cast<char *>(text);
    capacity_ = capacity;
  }

  static constexpr std::size_t kFirstCapacity = 256;
  char *text_ = nullptr;
  std::size_t size_ = 0, capacity_ = 0;
};

class Writer {
 public:
  char *write(const XML_NODE *root);

 private:
  void put(string_view text) { out_.append(text); }
  bool putBytes(const char *text, const ByteKinds &kinds);
  void putName(const XML_STRING *name);
  void putAttributes(const XML_NODE &node);
  void putText(const XML_NODE &node);
  void endLine();
  void beginElement(const XML_NODE &node);
  void endElement(const XML_NODE &node);
  char *finish();

  Document out_;
  HeapVector<const XML_NODE *> open_;  // the elements around the one being written
  bool utf8_ = true;                   // all names and values so far are
  bool isDoubtful_ = false;            // whether it is XML, only a parser can tell
};

// Returns whether there was a byte above 0x7F.
bool Writer::putBytes(const char *text, const ByteKinds &kinds) {
  bool isHigh = false;
  const char *run = text;
  for (const char *at = text;; ++at) {
    const std::uint8_t kind = kinds[static_cast<unsigned char>(*at)];
    if (kind == kPlain) continue;
    if (kind == kHigh) {
      isHigh = true;
      continue;
    }
    require(kind != kRefused, EFI_INVALID_PARAMETER);
    put({run, static_cast<std::size_t>(at - run)});
    if (kind == kEnd) break;
    put(kEscapes[kind - kFirstEscape].reference);
    run = at + 1;
  }
  if (isHigh && utf8_) utf8_ = isXmlUtf8(text);
  return isHigh;
}

void Writer::putName(const XML_STRING *name) {
  require(name != nullptr && name->text != nullptr, EFI_INVALID_PARAMETER);
  const char front = *name->text;
  require(front != '\0' && front != '-' && front != '.' && (front < '0' || front > '9'), EFI_INVALID_PARAMETER);
  if (putBytes(name->text, kInName)) isDoubtful_ = true;
}

void Writer::putAttributes(const XML_NODE &node) {
  std::size_t count = 0;
  for (const XML_ATTRIBUTE *attribute = node.attributes; attribute != nullptr; attribute = attribute->next) {
    put(" ");
    putName(attribute->name);
    if (++count <= kFewAttributes) require(!isRepeated(node.attributes, attribute), EFI_INVALID_PARAMETER);
    put("=\"");
    if (attribute->value != nullptr) putBytes(textOf(attribute->value), kInAttribute);
    put("\"");
  }
  if (count > kFewAttributes) isDoubtful_ = true;
}

// White space alone would not count beside child elements; a reference in front makes it text.
void Writer::putText(const XML_NODE &node) {
  const char *text = textOf(node.value);
  if (node.firstChild != nullptr && string_view(text).find_first_not_of(kWhite) == string_view::npos) {
    const char reference[] = {'&', '#', static_cast<char>('0' + *text / 10), static_cast<char>('0' + *text % 10), ';'};
    put({reference, sizeof(reference)});
    ++text;
  }
  putBytes(text, kInText);
}

// After a tag, inside the innermost open element.
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
  open_.push_back(&node);
  endLine();
}

void Writer::endElement(const XML_NODE &node) {
  put("</");
  put(node.name->text);
  put(">");
  endLine();
}

char *Writer::finish() {
  if (!utf8_ || (isDoubtful_ && !isWellFormed(out_.view(), "UTF-8"))) {
    require(!isDoubtful_ || isWellFormed(out_.view(), "ISO-8859-1"), EFI_INVALID_PARAMETER);
    out_.prepend(kSingleByteDeclaration);
  }
  put({"\0", 1});
  return out_.release();
}

char *Writer::write(const XML_NODE *node) {
  while (node != nullptr) {
    beginElement(*node);
    if (node->firstChild != nullptr) {
      node = node->firstChild;
      continue;
    }
    while (node->nextSibling == nullptr && !open_.empty()) {
      node = open_.back();
      open_.pop_back();
      endElement(*node);
    }
    node = node->nextSibling;
  }
  return finish();
}

}  // namespace

char *writeDocument(const XML_NODE *root) {
  return Writer().write(root);
}

}  // namespace vyx::platform
