// SPDX-License-Identifier: MIT
// The text utilities at their edges. Of the fixture they need only the count of blocks.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <tuple>

#include "support/library_test.h"

namespace test {
namespace {

constexpr int kEnd = 0xFFFF;

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

// A stream on these bytes.
std::unique_ptr<std::FILE, CloseFile> input(const std::string &bytes) {
  std::unique_ptr<std::FILE, CloseFile> file(std::tmpfile());
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

// The read-ahead outlives a stream: each test uses it up.
class TextUtil : public LibraryTest {
 protected:
  void TearDown() override {
    for (const auto nothing = input(""); vyx_fgetc(nothing.get()) != kEnd;) continue;
    LibraryTest::TearDown();
  }
};

TEST_F(TextUtil, BytesAreValuesFrom0To255AndAStreamThatEndedIsTriedAgain) {
  const auto file = input(std::string("\0\x7F\x80\xFF", 4));
  for (const int expected : {0, 0x7F, 0x80, 0xFF, kEnd, kEnd}) EXPECT_EQ(vyx_fgetc(file.get()), expected);
  std::rewind(file.get());
  EXPECT_EQ(vyx_fgetc(file.get()), 0);
  EXPECT_EQ(vyx_fgetc(nullptr), kEnd);
}

TEST_F(TextUtil, TheReadAheadTakes512BytesAndIsSharedByAllStreams) {
  const auto first = input(std::string(512, 'a') + "b");
  for (int count = 0; count < 512; ++count) {
    ASSERT_EQ(vyx_fgetc(first.get()), 'a');
    ASSERT_EQ(std::ftell(first.get()), 512);
  }
  EXPECT_EQ(vyx_fgetc(first.get()), 'b');
  EXPECT_EQ(vyx_fgetc(first.get()), kEnd);
  const auto second = input("cd");
  const auto third = input("e");
  for (const int expected : {'c', 'd', 'e'}) EXPECT_EQ(vyx_fgetc((expected == 'c' ? second : third).get()), expected);
}

TEST_F(TextUtil, LinesAreCleanedAndCutToTheBuffer) {
  using Lines = std::vector<std::string>;
  const std::tuple<const char *, std::string, std::size_t, Lines> rows[] = {
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
    for (std::string line : lines) {
      const auto buffer = exactly(std::string(size, 'x'));
      ASSERT_EQ(fgetline(buffer.get(), size, file.get()), buffer.get());
      line.resize(size);
      EXPECT_EQ(std::string(buffer.get(), size), line);
    }
    EXPECT_EQ(fgetline(exactly(std::string(size, 'x')).get(), size, file.get()), nullptr);
  }
}

TEST_F(TextUtil, ALineNeedsABufferAStreamAndRoom) {
  const auto file = input("a");
  char buffer[] = "xx";
  EXPECT_EQ(fgetline(nullptr, 2, file.get()), nullptr);
  EXPECT_EQ(fgetline(buffer, 2, nullptr), nullptr);
  EXPECT_EQ(fgetline(buffer, 0, file.get()), nullptr);
  EXPECT_STREQ(buffer, "xx");
  EXPECT_EQ(fgetline(buffer, 1, file.get()), buffer);
  EXPECT_EQ(std::string(buffer, 2), std::string("\0x", 2));
  EXPECT_EQ(vyx_fgetc(file.get()), 'a');
}

TEST_F(TextUtil, ReallocGrowsNeverShrinksAndFreesTheOldBlockEvenOnFailure) {
  auto *block = static_cast<char *>(smpl_realloc(nullptr, 0, 8));
  std::memcpy(block, "1234567", 8);
  EXPECT_EQ(smpl_realloc(block, 8, 8), block);
  EXPECT_EQ(smpl_realloc(block, 8, 5), block);
  block = static_cast<char *>(smpl_realloc(block, 8, 4096));
  EXPECT_STREQ(block, "1234567");
  block[4095] = 'x';
  const heap::Watch watch(1);
  EXPECT_EQ(smpl_realloc(block, 4096, 5000), nullptr);
}

TEST_F(TextUtil, TrimmingTakesOneCharacterOffBothEnds) {
  const std::tuple<const char *, std::string, int, const char *> rows[] = {
      {"both ends", "  a b  ", ' ', "a b"},
      {"nothing else", "    ", ' ', ""},
      {"neither end", "a b", ' ', "a b"},
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
  strtrim(nullptr, ' ');
}

TEST_F(TextUtil, SearchingSeesTheFirstBytesAloneAndAllOfThem) {
  const std::tuple<const char *, std::string, const char *, int> rows[] = {
      {"first of two", "abcabc", "bc", 1},
      {"at the very end", "xxabc", "abc", 2},
      {"ends one beyond", "xxab", "abc", -1},
      {"longer than all", "ab", "abc", -1},
      {"empty needle", "abc", "", 0},
      {"both empty", "", "", 0},
      {"nothing to search", "", "a", -1},
      {"behind a zero", std::string("a\0bc", 4), "bc", 2},
      {"after a false start", "aaab", "aab", 1},
      {"high bytes", "a\xFF\x80", "\xFF\x80", 1},
  };
  for (const auto &[label, haystack, needle, at] : rows) {
    const auto bytes = exactly(haystack);
    EXPECT_EQ(strnstr(bytes.get(), needle, haystack.size()), at < 0 ? nullptr : bytes.get() + at) << label;
  }
  EXPECT_EQ(strnstr(nullptr, "a", 1), nullptr);
  EXPECT_EQ(strnstr("a", nullptr, 1), nullptr);
}

TEST_F(TextUtil, WideCopiesAreTerminatedOnlyWhereThereIsRoom) {
  const std::pair<std::size_t, std::wstring> rows[] = {{0, L"xxxx"}, {3, L"abcx"}, {4, std::wstring(L"abc", 4)}};
  for (const auto &[length, expected] : rows) {
    std::wstring buffer = L"xxxx";
    EXPECT_EQ(asciiToUnicode("abc", buffer.data(), length), length == 0 ? nullptr : buffer.data());
    EXPECT_EQ(buffer, expected) << length;
  }
  wchar_t one = L'x';
  EXPECT_EQ(asciiToUnicode(nullptr, &one, 1), nullptr);
  EXPECT_EQ(asciiToUnicode("a", nullptr, 1), nullptr);
}

TEST_F(TextUtil, NarrowCopiesKeepTheLow8Bits) {
  char *text = unicodeToAscii(L"Main.ssib \u0141\u00E9\u20AC");
  EXPECT_STREQ(text, "Main.ssib A\xE9\xAC");
  std::free(text);
  EXPECT_EQ(unicodeToAscii(nullptr), nullptr);
  const heap::Watch watch(1);
  EXPECT_EQ(unicodeToAscii(L"a"), nullptr);
}

}  // namespace
}  // namespace test
