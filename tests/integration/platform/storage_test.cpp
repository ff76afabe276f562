// SPDX-License-Identifier: MIT
// The partition storage: what it refuses, and that a file is either the old one or the new one, whatever happens to a
// write.
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "platform_test.h"

namespace vyx::tests {
namespace {

constexpr const wchar_t *kPartition = L"VAR025", *kQueue = L"Main.ssib";

// Runs something that changes or ends its process: true when it returns true and nothing failed in it.
template <class Body>
bool inChild(Body body) {
  const pid_t child = fork();
  if (child == 0) _exit(body() && !testing::Test::HasFailure() ? 0 : 1);
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class Storage : public PlatformTest {
 protected:
  const fs::path queue = partition / "Main.ssib";

  static EFI_STATUS open(const char *mode, FILE *&stream, const wchar_t *name = kQueue) {
    stream = stdin;
    const EFI_STATUS status = varsk_fopen_1(kPartition, name, mode, &stream);
    EXPECT_EQ(status == EFI_SUCCESS, stream != nullptr);
    return status;
  }

  static EFI_STATUS write(const std::string &text, const wchar_t *name = kQueue, int buffering = _IOFBF) {
    FILE *stream = nullptr;
    if (const EFI_STATUS status = open("w", stream, name); status != EFI_SUCCESS) return status;
    setvbuf(stream, nullptr, buffering, buffering == _IONBF ? 0 : BUFSIZ);
    fwrite(text.data(), text.size(), 1, stream);
    return varsk_fclose_1(kPartition, stream, "w");
  }

  // The three ways to a file, each with the same answer.
  static void expectRefused(const wchar_t *partitionName, const wchar_t *name, EFI_STATUS expected) {
    for (const char *mode : {"r", "w"}) {
      FILE *stream = stdin;
      EXPECT_EQ(varsk_fopen_1(partitionName, name, mode, &stream), expected) << mode;
      EXPECT_EQ(stream, nullptr);
    }
    EXPECT_EQ(varsk_fdelete_1(partitionName, name), expected);
  }

  // What the queue holds, when there is no other file in its partition but `others`.
  std::string contents(std::ptrdiff_t others = 0) const {
    EXPECT_EQ(std::distance(fs::directory_iterator(partition), fs::directory_iterator()), 1 + others);
    return contentsOf(queue);
  }
};

TEST_F(Storage, AFileIsTheOwnersAloneWhateverTheMask) {
  for (const mode_t mask : {mode_t{0}, mode_t{077}}) {
    fs::remove_all(root);
    const mode_t before = umask(mask);
    EXPECT_EQ(write("contents"), EFI_SUCCESS);
    umask(before);
    EXPECT_EQ(contents(), "contents");
    EXPECT_EQ(fs::status(queue).permissions(), fs::perms{0600});
    EXPECT_EQ(fs::status(partition).permissions(), fs::perms{0700});
  }
}

TEST_F(Storage, ReadingAndDeletingMakeNothing) {
  FILE *stream = nullptr;
  EXPECT_EQ(open("r", stream), EFI_NOT_FOUND);
  EXPECT_EQ(varsk_fdelete_1(kPartition, kQueue), EFI_NOT_FOUND);
  EXPECT_FALSE(fs::exists(root));
}

TEST_F(Storage, RefusesNamesThatLeadOutOfThePartition) {
  const std::wstring longest(255, L'x'), longestWide(85, L'\u20AC');
  const std::pair<const char *, std::wstring> rows[] = {
      {"empty", L""},
      {"itself", L"."},
      {"above", L".."},
      {"hidden", L".lock"},
      {"below", L"a/b"},
      {"absolute", L"/etc/passwd"},
      {"a byte too long", longest + L"x"},
      {"too long in UTF-8", longest.substr(1) + L'\u20AC'},
      {"half of a surrogate pair", std::wstring(1, static_cast<wchar_t>(0xD800))},
      {"beyond Unicode", std::wstring(1, static_cast<wchar_t>(0x110000))},
  };
  for (const auto &[label, name] : rows) {
    SCOPED_TRACE(label);
    expectRefused(kPartition, name.c_str(), EFI_ACCESS_DENIED);
    expectRefused(name.c_str(), kQueue, EFI_ACCESS_DENIED);
  }
  EXPECT_FALSE(fs::exists(root));
  EXPECT_EQ(write("1", longest.c_str()), EFI_SUCCESS);
  EXPECT_EQ(write("2", longestWide.c_str()), EFI_SUCCESS);
  EXPECT_EQ(write("3", L"a\u00E9\u20AC\U0001F600"), EFI_SUCCESS);
  EXPECT_EQ(contentsOf(partition / "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), "3");
}

TEST_F(Storage, RefusesWhatIsNoRegularFile) {
  fs::create_directories(partition / "directory");
  fill(base / "victim", "victim");
  fs::create_symlink(base / "victim", partition / "link");
  fs::create_symlink(base / "missing", partition / "dangling");
  ASSERT_EQ(mkfifo((partition / "fifo").c_str(), 0600), 0);
  for (const wchar_t *name : {L"directory", L"link", L"dangling", L"fifo"}) {
    SCOPED_TRACE(testing::PrintToString(name));
    expectRefused(kPartition, name, EFI_ACCESS_DENIED);
  }
  EXPECT_EQ(contentsOf(base / "victim"), "victim");
}

TEST_F(Storage, WhatTheSystemDoesNotPermitIsAccessDenied) {
  ASSERT_EQ(write("old"), EFI_SUCCESS);
  for (const auto &path : {base, root, partition, queue})
    EXPECT_TRUE(geteuid() != 0 || chown(path.c_str(), 65534, 65534) == 0);
  const auto isDenied = [](bool isSealed) {  // the file, or else its directory
    if (geteuid() == 0 && setuid(65534) != 0) return false;
    FILE *stream = nullptr;
    return write("new") == EFI_ACCESS_DENIED &&
           (isSealed ? open("r", stream) : varsk_fdelete_1(kPartition, kQueue)) == EFI_ACCESS_DENIED;
  };
  chmod(queue.c_str(), 0);
  EXPECT_TRUE(inChild([&] { return isDenied(true); }));
  chmod(queue.c_str(), 0600);
  chmod(partition.c_str(), 0500);
  EXPECT_TRUE(inChild([&] { return isDenied(false); }));
  chmod(partition.c_str(), 0700);
  EXPECT_EQ(contents(), "old");
}

// Only what shows that there is no file is told as that: the library would write an empty queue over any other one.
TEST_F(Storage, WhatStandsInTheWayIsAMissingFileOnlyWhenItIsOne) {
  fs::create_directories(root);
  fill(partition, "a file where the partition should be");
  const struct {
    fs::path root;
    EFI_STATUS reading, writing, deleting;
  } rows[] = {
      {root, EFI_ACCESS_DENIED, EFI_ACCESS_DENIED, EFI_ACCESS_DENIED},
      {partition / "below", EFI_NOT_FOUND, EFI_DEVICE_ERROR, EFI_NOT_FOUND},
      {std::string(5000, 'x'), EFI_ACCESS_DENIED, EFI_DEVICE_ERROR, EFI_DEVICE_ERROR},
      {"", EFI_ACCESS_DENIED, EFI_DEVICE_ERROR, EFI_DEVICE_ERROR},
  };
  for (const char *name : {"XDG_STATE_HOME", "HOME"}) setenv(name, "", 1);
  for (const auto &row : rows) {
    SCOPED_TRACE(row.root.string().substr(0, 50));
    setenv("VARSK_ROOT", row.root.c_str(), 1);
    FILE *stream = nullptr;
    EXPECT_EQ(open("r", stream), row.reading);
    EXPECT_EQ(open("w", stream), row.writing);
    EXPECT_EQ(varsk_fdelete_1(kPartition, kQueue), row.deleting);
  }
}

TEST_F(Storage, RefusesOtherModesAndNullArguments) {
  FILE *stream = nullptr;
  for (const char *mode : {"", "a", "r+", "w+", "rb"}) EXPECT_EQ(open(mode, stream), EFI_INVALID_PARAMETER) << mode;
  EXPECT_EQ(varsk_fopen_1(nullptr, kQueue, "r", &stream), EFI_INVALID_PARAMETER);
  EXPECT_EQ(varsk_fopen_1(kPartition, nullptr, "r", &stream), EFI_INVALID_PARAMETER);
  EXPECT_EQ(varsk_fopen_1(kPartition, kQueue, nullptr, &stream), EFI_INVALID_PARAMETER);
  EXPECT_EQ(varsk_fopen_1(kPartition, kQueue, "r", nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(varsk_fclose_1(kPartition, nullptr, "r"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(varsk_fdelete_1(nullptr, kQueue), EFI_INVALID_PARAMETER);
  EXPECT_EQ(getSize(nullptr), UINT32_MAX);
}

TEST_F(Storage, TheOldFileIsThereUntilACloseWithTheSameMode) {
  const struct {
    const char *mode, *contents;
    EFI_STATUS status;
  } rows[] = {{"r", "old", EFI_INVALID_PARAMETER}, {nullptr, "old", EFI_INVALID_PARAMETER}, {"w", "new", EFI_SUCCESS}};
  ASSERT_EQ(write("old"), EFI_SUCCESS);
  for (const auto &row : rows) {
    FILE *stream = nullptr;
    ASSERT_EQ(open("w", stream), EFI_SUCCESS);
    fputs("new", stream);
    fflush(stream);
    EXPECT_EQ(contents(1), "old");
    EXPECT_EQ(varsk_fclose_1(kPartition, stream, row.mode), row.status);
    EXPECT_EQ(contents(), row.contents);
  }
}

TEST_F(Storage, WhatADeadWriterLeftGoesWithTheNextWrite) {
  ASSERT_EQ(write("old"), EFI_SUCCESS);
  ASSERT_TRUE(inChild([] {
    FILE *stream = nullptr;
    return open("w", stream) == EFI_SUCCESS && fputs("half of the new cont", stream) >= 0 && fflush(stream) == 0;
  }));
  EXPECT_EQ(contents(1), "old");
  EXPECT_EQ(write("new"), EFI_SUCCESS);
  EXPECT_EQ(contents(), "new");
}

TEST_F(Storage, WritersThatLiveDoNotDisturbEachOther) {
  FILE *first = nullptr;
  ASSERT_EQ(open("w", first), EFI_SUCCESS);
  fputs("first", first);
  EXPECT_TRUE(inChild([] { return write("second") == EFI_SUCCESS; }));
  EXPECT_EQ(contents(1), "second");
  EXPECT_EQ(varsk_fclose_1(kPartition, first, "w"), EFI_SUCCESS);
  EXPECT_EQ(contents(), "first");
}

// A failing write is noticed by the caller when the stream is unbuffered, and by nobody before the close when it is
// not.
TEST_F(Storage, AFailedWriteKeepsTheOldFile) {
  ASSERT_EQ(write("old"), EFI_SUCCESS);
  for (const int buffering : {_IONBF, _IOFBF}) {
    EXPECT_TRUE(inChild([&] {
      const rlimit limit = {4096, 4096};
      return signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
             write(std::string(5000, 'x'), kQueue, buffering) == EFI_DEVICE_ERROR;
    })) << buffering;
  }
  EXPECT_EQ(contents(), "old");
}

TEST_F(Storage, AFullDeviceKeepsTheOldFile) {
  fs::create_directories(partition);
  const auto mountSmall = [this] {
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", partition.c_str(), "tmpfs", 0, "size=64k") == 0;
  };
  if (!inChild(mountSmall)) GTEST_SKIP() << "may not mount";
  EXPECT_TRUE(inChild([&] {
    return mountSmall() && write("old") == EFI_SUCCESS && write(std::string(100000, 'x')) == EFI_DEVICE_ERROR &&
           contents() == "old" && write("new") == EFI_SUCCESS;
  }));
}

TEST_F(Storage, TheSizeIsTheFilesAndThePositionStays) {
  ASSERT_EQ(write("12345"), EFI_SUCCESS);
  FILE *stream = nullptr;
  ASSERT_EQ(open("r", stream), EFI_SUCCESS);
  EXPECT_EQ(fgetc(stream), '1');
  EXPECT_EQ(getSize(stream), 5U);
  EXPECT_EQ(fgetc(stream), '2');
  fs::resize_file(queue, uintmax_t{1} << 32);
  EXPECT_EQ(getSize(stream), 0xFFFFFFFFU);
  EXPECT_EQ(varsk_fclose_1(kPartition, stream, "r"), EFI_SUCCESS);
}

TEST_F(Storage, WithoutARootOfItsOwnItUsesTheUsersState) {
  const std::pair<fs::path, fs::path> rows[] = {{base / "state-home", base / "state-home/varsk"},
                                                {"", base / "home/.local/state/varsk"}};
  for (const auto &[state, expected] : rows) {
    EXPECT_TRUE(inChild([&, &stateHome = state, &expectedRoot = expected] {
      setenv("VARSK_ROOT", "", 1);
      setenv("XDG_STATE_HOME", stateHome.c_str(), 1);
      setenv("HOME", (base / "home").c_str(), 1);
      unsetenv("VARSK_SYNC");
      return write("1") == EFI_SUCCESS && contentsOf(expectedRoot / "VAR025/Main.ssib") == "1";
    })) << expected;
  }
}

}  // namespace
}  // namespace vyx::tests
