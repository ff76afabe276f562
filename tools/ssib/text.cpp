// SPDX-License-Identifier: MIT
#include "text.h"

#include <algorithm>
#include <array>

namespace ssib {
namespace {

struct Character {
  char32_t value;
  std::size_t length;  // in bytes; 0 when the text does not begin with a well-formed character
};

bool isScalar(char32_t value) {
  return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

Character firstCharacter(std::string_view text) {
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  const unsigned lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {0, 0};
  char32_t value = lead & (0x7FU >> length);
  for (const char ch : text.substr(1, length - 1)) {
    const unsigned byte = static_cast<unsigned char>(ch);
    if ((byte & 0xC0U) != 0x80) return {0, 0};
    value = value << 6U | (byte & 0x3FU);
  }
  return value >= kSmallest[length] && isScalar(value) ? Character{value, length} : Character{0, 0};
}

bool isControl(char32_t value) {
  return value < 0x20 || (value >= 0x7F && value < 0xA0);
}

void appendBytes(std::string &out, std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (const char ch : bytes) {
    const unsigned byte = static_cast<unsigned char>(ch);
    out += {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
  }
}

void appendEscaped(std::string &out, std::string_view bytes, const Character &character) {
  switch (character.value) {
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    case '\\':
      out += "\\\\";
      return;
    default:
      break;
  }
  if (character.length == 0 || isControl(character.value)) {
    appendBytes(out, bytes);
  } else {
    out += bytes;
  }
}

}  // namespace

std::optional<std::wstring> toWide(std::string_view text) {
  std::wstring wide;
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    if (character.length == 0) return std::nullopt;
    wide += static_cast<wchar_t>(character.value);
    text.remove_prefix(character.length);
  }
  return wide;
}

std::string escaped(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    const std::size_t length = std::max<std::size_t>(character.length, 1);
    appendEscaped(out, text.substr(0, length), character);
    text.remove_prefix(length);
  }
  return out;
}

std::size_t characters(std::string_view escapedText) {
  const auto begins = [](char ch) { return (static_cast<unsigned char>(ch) & 0xC0U) != 0x80; };
  return static_cast<std::size_t>(std::count_if(escapedText.begin(), escapedText.end(), begins));
}

std::string counted(std::size_t entries) {
  return std::to_string(entries) + (entries == 1 ? " entry" : " entries");
}

bool hasControl(std::string_view text, std::string_view allowed) {
  return std::any_of(text.begin(), text.end(), [&](char ch) {
    return static_cast<unsigned char>(ch) < 0x20 && allowed.find(ch) == std::string_view::npos;
  });
}

}  // namespace ssib
