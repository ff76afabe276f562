// SPDX-License-Identifier: MIT
// Small utilities on texts and blocks; none keeps anything between calls.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "VyxSSIBBackend.h"

extern "C" {

void *smpl_realloc(void *ptr, size_t oldSize, size_t newSize) {
  if (ptr == nullptr) return std::malloc(newSize);
  if (oldSize >= newSize) return ptr;
  void *block = std::malloc(newSize);
  if (block != nullptr) std::memcpy(block, ptr, oldSize);
  std::free(ptr);
  return block;
}

void strtrim(char *str, int ch) {
  if (str == nullptr || *str == '\0') return;
  const auto isTrimmed = [ch](char byte) { return static_cast<unsigned char>(byte) == ch; };
  const char *begin = str;
  while (*begin != '\0' && isTrimmed(*begin)) ++begin;
  const char *end = begin + std::strlen(begin);
  while (end != begin && isTrimmed(end[-1])) --end;
  const auto length = static_cast<std::size_t>(end - begin);
  std::memmove(str, begin, length);
  str[length] = '\0';
}

char *strnstr(const char *haystack, const char *needle, size_t n) {
  if (haystack == nullptr || needle == nullptr) return nullptr;
  return static_cast<char *>(memmem(haystack, n, needle, std::strlen(needle)));
}

wchar_t *asciiToUnicode(const char *src, wchar_t *dst, size_t len) {
  if (src == nullptr || dst == nullptr || len == 0) return nullptr;
  std::mbstowcs(dst, src, len);
  return dst;
}

char *unicodeToAscii(const wchar_t *wstr) {
  if (wstr == nullptr) return nullptr;
  const std::size_t length = std::wcslen(wstr);
  auto *text = static_cast<char *>(std::calloc(length + 1, 1));
  if (text != nullptr) std::transform(wstr, wstr + length, text, [](wchar_t wide) { return static_cast<char>(wide); });
  return text;
}

}  // extern "C"
