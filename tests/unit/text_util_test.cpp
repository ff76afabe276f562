// SPDX-License-Identifier: MIT
// The text utilities at their edges. Of the fixture they need only the count of blocks.
#include <cstring>
#include <memory>
#include <tuple>

#include "support/library_test.h"

namespace test {
namespace {

constexpr int kEnd = 0xFFFF;

// A stream on these bytes.
std::shared_ptr<std::FILE> input(const std::string &bytes) {
  std::shared_ptr<std::FILE> file(std::tmpfile(), std::fclose);
  std::fwrite(bytes.data(), 1, bytes.size(), file.get());
  std::rewind(file.get());
  return file;
}

// A block of the exact size, so that a look beside it is seen.
std::unique_ptr<char[]> exactly(const std::string &bytes) {
  std::unique_ptr<char[]> block(new char[bytes.size()]);
  bytes.copy(block.get(), bytes.size());
  return block;
}

TEST(TextUtil, BytesAreValuesFrom0To255AndAStreamThatEndedIsTriedAgain) {
  const auto file = input(std::string("\0\x7F\x80\xFF", 4));
  for (const int expected : {0, 0x7F, 0x80, 0xFF, kEnd, kEnd}) EXPECT_EQ(vyx_fgetc(file.get()), expected);
  std::rewind(file.get());
  for (const int expected : {0, 0x7F, 0x80, 0xFF, kEnd}) EXPECT_EQ(vyx_fgetc(file.get()), expected);
}

TEST(TextUtil, TheReadAheadTakes512BytesAndIsSharedByAllStreams) {
  const auto first = input(std::string(512, 'a') + "b"), second = input("cd"), third = input("e");
  for (int count = 0; count < 512; ++count) {
    ASSERT_EQ(vyx_fgetc(first.get()), 'a');
    ASSERT_EQ(std::ftell(first.get()), 512);
  }
  EXPECT_EQ(vyx_fgetc(first.get()), 'b');
  EXPECT_EQ(vyx_fgetc(second.get()), 'c');
  for (const int expected : {int{'d'}, int{'e'}, kEnd}) EXPECT_EQ(vyx_fgetc(third.get()), expected);
}

TEST(TextUtil, LinesAreCleanedAndCutToTheBuffer) {
  const std::tuple<const char *, std::string, std::size_t, std::vector<std::string>> rows[] = {
      {"two lines", "ab\r\ncd", 16, {"ab", "cd"}},
      {"overlong", "abcdef\n", 4, {"abc", "def", ""}},
      {"empty lines", "\n\n", 16, {"", ""}},
      {"nothing", "", 16, {}},
      {"all dropped before the end", "\r\x80\xFF\r", 16, {}},
      {"all dropped before the line feed", "\r\x80\n", 16, {""}},
      {"blanks", "a\tb\vc\fd\be", 16, {"a b c d\be"}},
      {"dropped bytes take no room", "\x80\x80\x80\x61\r\r\x62\x63\n", 4, {"abc", ""}},
      {"a zero is stored", std::string("a\0b\n", 4), 16, {std::string("a\0b", 3)}},
      {"the smallest buffer that reads", "ab", 2, {"a", "b"}},
  };
  for (const auto &[label, bytes, size, lines] : rows) {
    SCOPED_TRACE(label);
    const auto file = input(bytes);
    const auto buffer = exactly(std::string(size, 'x'));
    for (std::string line : lines) {
      ASSERT_EQ(fgetline(buffer.get(), size, file.get()), buffer.get());
      line.resize(size);
      EXPECT_EQ(std::string(buffer.get(), size), line);
    }
    EXPECT_EQ(fgetline(buffer.get(), size, file.get()), nullptr);
  }
}

TEST(TextUtil, ALineNeedsRoom) {
  const auto file = input("a");
  char buffer[] = "xx";
  EXPECT_EQ(fgetline(buffer, 0, file.get()), nullptr);
  EXPECT_STREQ(buffer, "xx");
  EXPECT_EQ(fgetline(buffer, 1, file.get()), buffer);
  EXPECT_EQ(std::string(buffer, 2), std::string("\0x", 2));
  for (const int expected : {int{'a'}, kEnd}) EXPECT_EQ(vyx_fgetc(file.get()), expected);
}

class TextBlocks : public LibraryTest {};

TEST_F(TextBlocks, ReallocGrowsNeverShrinksAndFreesTheOldBlockEvenOnFailure) {
  auto *block = static_cast<char *>(smpl_realloc(nullptr, 0, 8));
  std::memcpy(block, "1234567", 8);
  for (const std::size_t size : {std::size_t{8}, std::size_t{5}}) EXPECT_EQ(smpl_realloc(block, 8, size), block);
  block = static_cast<char *>(smpl_realloc(block, 8, 4096));
  EXPECT_STREQ(block, "1234567");
  block[4095] = 'x';
  const heap::Watch watch(1);
  EXPECT_EQ(smpl_realloc(block, 4096, 5000), nullptr);
}

TEST_F(TextBlocks, NarrowCopiesKeepTheLow8Bits) {
  for (std::size_t length = 0; length < 32; ++length) {  // some of which fill a block of the heap
    char *text = unicodeToAscii((std::wstring(length, L'x') + L"\u0141\u00E9\u20AC").c_str());
    EXPECT_STREQ(text, (std::string(length, 'x') + "A\xE9\xAC").c_str());
    std::free(text);
  }
  const heap::Watch watch(1);
  EXPECT_EQ(unicodeToAscii(L"a"), nullptr);
}

TEST(TextUtil, TrimmingTakesOneCharacterOffBothEnds) {
  const std::tuple<const char *, std::string, int, const char *> rows[] = {
      {"both ends", "  a b  ", ' ', "a b"},
      {"nothing else", "    ", ' ', ""},
      {"empty", "", ' ', ""},
      {"front only", "xxa", 'x', "a"},
      {"end only", "axx", 'x', "a"},
      {"high", "\xE9\xE9 a\xE9", 0xE9, " a"},
      {"negative", "\xE9 a\xE9", -0x17, "\xE9 a\xE9"},
      {"beyond a byte", "aba", 'a' + 256, "aba"},
      {"zero", "aba", 0, "aba"},
  };
  for (const auto &[label, text, ch, expected] : rows) {
    const auto buffer = exactly(text + '\0');
    strtrim(buffer.get(), ch);
    EXPECT_STREQ(buffer.get(), expected) << label;
  }
}

TEST(TextUtil, SearchingSeesTheFirstBytesAloneAndAllOfThem) {
  const std::tuple<const char *, std::string, const char *, int> rows[] = {
      {"first of two", "abcabc", "bc", 1},
      {"at the very end", "xxabc", "abc", 2},
      {"ends one beyond", "xxab", "abc", -1},
      {"empty needle", "abc", "", 0},
      {"both empty", "", "", 0},
      {"nothing to search", "", "a", -1},
      {"after a zero", std::string("a\0bc", 4), "bc", 2},
      {"after a false start", "aaab", "aab", 1},
  };
  for (const auto &[label, haystack, needle, at] : rows) {
    const auto bytes = exactly(haystack);
    EXPECT_EQ(strnstr(bytes.get(), needle, haystack.size()), at < 0 ? nullptr : bytes.get() + at) << label;
  }
}

TEST(TextUtil, WideCopiesAreTerminatedOnlyWhereThereIsRoom) {
  const std::pair<std::size_t, std::wstring> rows[] = {{0, L"xxxx"}, {3, L"abcx"}, {4, {L'a', L'b', L'c', L'\0'}}};
  for (const auto &[length, expected] : rows) {
    std::wstring buffer = L"xxxx";
    EXPECT_EQ(asciiToUnicode("abc", buffer.data(), length), length == 0 ? nullptr : buffer.data());
    EXPECT_EQ(buffer, expected) << length;
  }
}

TEST(TextUtil, NullIsRefused) {
  wchar_t wideText[] = L"x";
  char text[] = "x";
  strtrim(nullptr, ' ');
  EXPECT_EQ(vyx_fgetc(nullptr), kEnd);
  const void *const results[] = {
      fgetline(nullptr, 2, stdin), fgetline(text, 2, nullptr),           strnstr(nullptr, "a", 1),
      strnstr("a", nullptr, 1),    asciiToUnicode(nullptr, wideText, 1), asciiToUnicode("a", nullptr, 1),
      unicodeToAscii(nullptr)};
  for (const void *const &result : results) EXPECT_EQ(result, nullptr) << "row " << &result - results;
}

}  // namespace
}  // namespace test
