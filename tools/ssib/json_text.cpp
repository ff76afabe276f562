// SPDX-License-Identifier: MIT
#include "json_text.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char *kBytes = "bytes";

// What JSON can hold is what the printer takes.
bool isUtf8(std::string_view text) {
  if (std::ranges::all_of(text, [](char ch) { return static_cast<unsigned char>(ch) < 0x80; })) return true;
  try {
    static_cast<void>(Json(text).dump());
    return true;
  } catch (const Json::type_error &) {
    return false;
  }
}

std::string hexOf(std::string_view text) {
  constexpr const char *kDigits = "0123456789abcdef";
  std::string hex;
  hex.reserve(2 * text.size());
  for (const char ch : text) {
    const auto byte = static_cast<unsigned char>(ch);
    (hex += kDigits[byte >> 4]) += kDigits[byte & 0xF];
  }
  return hex;
}

std::optional<std::string> bytesOfHex(std::string_view hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  bytes.reserve(hex.size() / 2);
  for (; !hex.empty(); hex.remove_prefix(2)) {
    unsigned char byte = 0;
    const auto [stop, error] = std::from_chars(hex.data(), hex.data() + 2, byte, 16);
    if (error != std::errc() || stop != hex.data() + 2) return std::nullopt;
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

std::optional<std::string> bytesOf(const Json &value) {
  if (value.is_string()) return value.get<std::string>();
  if (!value.is_object() || value.size() != 1 || !value.contains(kBytes)) return std::nullopt;
  const Json &hex = value.at(kBytes);
  return hex.is_string() ? bytesOfHex(hex.get_ref<const std::string &>()) : std::nullopt;
}

}  // namespace

Json jsonOfText(std::string_view text) {
  if (isUtf8(text)) return Json(text);
  Json object = Json::object();
  object[kBytes] = hexOf(text);
  return object;
}

std::optional<std::string> textOfJson(const Json &value) {
  std::optional<std::string> text = bytesOf(value);
  if (text && text->find('\0') != std::string::npos) return std::nullopt;
  return text;
}

}  // namespace tool
