// SPDX-License-Identifier: MIT
// The rules for names. ASCII has a simple one of its own; what else is a letter, expat is asked.
#include "xml_names.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace vyx::platform {
namespace {

enum : std::uint8_t { kNever, kLater, kAnywhere, kHigh };

constexpr std::array<std::uint8_t, 256> kNameBytes = [] {
  std::array<std::uint8_t, 256> bytes{};
  for (std::size_t i = 0x80; i < bytes.size(); ++i) bytes[i] = kHigh;
  for (std::size_t i = 'a'; i <= 'z'; ++i) bytes[i] = bytes[i - 'a' + 'A'] = kAnywhere;
  for (std::size_t i = '0'; i <= '9'; ++i) bytes[i] = kLater;
  for (const char c : std::string_view(".-")) bytes[static_cast<unsigned char>(c)] = kLater;
  for (const char c : std::string_view("_:")) bytes[static_cast<unsigned char>(c)] = kAnywhere;
  return bytes;
}();

// Up to this many names, comparing each with each is quicker than sorting them.
constexpr std::size_t kFewNames = 16;

bool feed(XML_Parser parser, const char *text, bool isLast) {
  return XML_Parse(parser, text, static_cast<int>(std::strlen(text)), isLast) == XML_STATUS_OK;
}

}  // namespace

XML_Parser newParser() {
  static const XML_Memory_Handling_Suite heap = {std::malloc, std::realloc, std::free};
  return XML_ParserCreate_MM(nullptr, &heap, nullptr);
}

NameCheck::~NameCheck() {
  if (parser_ != nullptr) XML_ParserFree(parser_);
}

EFI_STATUS NameCheck::ask(const char *name, bool singleBytes, bool &answer) {
  if (parser_ == nullptr) parser_ = newParser();
  if (parser_ == nullptr) return EFI_OUT_OF_RESOURCES;
  XML_ParserReset(parser_, nullptr);
  if (XML_SetEncoding(parser_, singleBytes ? "ISO-8859-1" : "UTF-8") != XML_STATUS_OK) return EFI_OUT_OF_RESOURCES;
  const bool isName = feed(parser_, "<", false) && feed(parser_, name, false) && feed(parser_, "/>", true);
  if (!isName && XML_GetErrorCode(parser_) == XML_ERROR_NO_MEMORY) return EFI_OUT_OF_RESOURCES;
  answer = answer && isName;
  return EFI_SUCCESS;
}

EFI_STATUS NameCheck::add(const char *name) {
  bool high = false;
  for (const char *at = name; *at != '\0'; ++at) {
    const std::uint8_t kind = kNameBytes[static_cast<unsigned char>(*at)];
    if (kind == kNever || (kind == kLater && at == name)) return EFI_INVALID_PARAMETER;
    high = high || kind == kHigh;
  }
  if (*name == '\0') return EFI_INVALID_PARAMETER;
  if (!high) return EFI_SUCCESS;
  if (const EFI_STATUS status = ask(name, false, utf8_); status != EFI_SUCCESS) return status;
  if (const EFI_STATUS status = ask(name, true, singleBytes_); status != EFI_SUCCESS) return status;
  return utf8_ || singleBytes_ ? EFI_SUCCESS : EFI_INVALID_PARAMETER;
}

bool anyRepeats(const char **names, std::size_t count) {
  const auto equal = [](const char *a, const char *b) { return *a == *b && std::strcmp(a, b) == 0; };
  if (count > kFewNames) {
    std::sort(names, names + count, [](const char *a, const char *b) { return std::strcmp(a, b) < 0; });
    return std::adjacent_find(names, names + count, equal) != names + count;
  }
  for (std::size_t i = 1; i < count; ++i)
    if (std::any_of(names, names + i, [&](const char *earlier) { return equal(earlier, names[i]); })) return true;
  return false;
}

}  // namespace vyx::platform
