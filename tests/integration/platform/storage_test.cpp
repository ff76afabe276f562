// SPDX-License-Identifier: MIT
// The partition storage: what it refuses, and that a file is either the old one or the new one, whatever happens to a
// write.
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <csignal>

#include "platform_test.h"

namespace vyx::tests {
namespace {

constexpr const wchar_t *kPartition = L"VAR025", *kQueue = L"Main.ssib";

mode_t permissionsOf(const fs::path &path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
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

  std::size_t filesInPartition() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(partition), fs::directory_iterator()));
  }
};

TEST_F(Storage, AFileIsTheOwnersAloneWhateverTheMask) {
  for (const mode_t mask : {mode_t{0}, mode_t{077}, mode_t{0277}}) {
    SCOPED_TRACE(mask);
    fs::remove_all(root);
    fs::create_directories(root);
    const mode_t before = umask(mask & 077);
    EXPECT_EQ(write("a"), EFI_SUCCESS);
    umask(mask);
    EXPECT_EQ(write("contents"), EFI_SUCCESS);
    umask(before);
    EXPECT_EQ(contentsOf(queue), "contents");
    EXPECT_EQ(permissionsOf(queue), 0600U);
    EXPECT_EQ(permissionsOf(partition), 0700U);
  }
}

TEST_F(Storage, ReadingAndDeletingMakeNothing) {
  expectRefused(L".", L"x", EFI_ACCESS_DENIED);
  FILE *stream = nullptr;
  EXPECT_EQ(open("r", stream), EFI_NOT_FOUND);
  EXPECT_EQ(varsk_fdelete_1(kPartition, kQueue), EFI_NOT_FOUND);
  EXPECT_FALSE(fs::exists(root));
}

TEST_F(Storage, RefusesNamesThatLeadOutOfThePartition) {
  const std::wstring longest(255, L'x'), longestWide(85, L'\u20AC');
  const struct {
    const char *label;
    std::wstring name;
  } rows[] = {
      {"empty", L""},
      {"itself", L"."},
      {"above", L".."},
      {"hidden", L".lock"},
      {"below", L"a/b"},
      {"absolute", L"/etc/passwd"},
      {"trailing slash", L"a/"},
      {"a byte too long", longest + L"x"},
      {"a byte too long in UTF-8", longestWide + L"x"},
      {"half of a surrogate pair", std::wstring(1, static_cast<wchar_t>(0xD800))},
      {"beyond Unicode", std::wstring(1, static_cast<wchar_t>(0x110000))},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    expectRefused(kPartition, row.name.c_str(), EFI_ACCESS_DENIED);
    expectRefused(row.name.c_str(), kQueue, EFI_ACCESS_DENIED);
  }
  EXPECT_FALSE(fs::exists(root));
  EXPECT_EQ(write("1", longest.c_str()), EFI_SUCCESS);
  EXPECT_EQ(write("2", longestWide.c_str()), EFI_SUCCESS);
}

TEST_F(Storage, NamesAreUtf8WhateverTheLocale) {
  EXPECT_EQ(write("1", L"a\u00E9\u20AC\U0001F600"), EFI_SUCCESS);
  EXPECT_EQ(contentsOf(partition / "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), "1");
}

TEST_F(Storage, RefusesWhatIsNoRegularFile) {
  fs::create_directories(partition / "directory");
  fill(base / "victim", "victim");
  fs::create_symlink(base / "victim", partition / "link");
  fs::create_symlink(base / "missing", partition / "dangling");
  ASSERT_EQ(mkfifo((partition / "fifo").c_str(), 0600), 0);
  sockaddr_un address = {AF_UNIX, {}};
  (partition / "socket").string().copy(address.sun_path, sizeof(address.sun_path) - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
  ::close(listener);
  for (const wchar_t *name : {L"directory", L"link", L"dangling", L"fifo", L"socket"}) {
    SCOPED_TRACE(testing::PrintToString(name));
    expectRefused(kPartition, name, EFI_ACCESS_DENIED);
  }
  EXPECT_EQ(filesInPartition(), 5U);
  EXPECT_EQ(contentsOf(base / "victim"), "victim");
}

TEST_F(Storage, WhatTheSystemDoesNotPermitIsAccessDenied) {
  ASSERT_EQ(write("old"), EFI_SUCCESS);
  ASSERT_EQ(write("sealed", L"sealed"), EFI_SUCCESS);
  chmod((partition / "sealed").c_str(), 0);
  const bool isRoot = geteuid() == 0;
  for (const auto &path : {base, root, partition, queue, partition / "sealed"})
    EXPECT_TRUE(!isRoot || chown(path.c_str(), 65534, 65534) == 0);
  EXPECT_TRUE(inChild([] {
    if (geteuid() == 0 && setuid(65534) != 0) return false;
    FILE *stream = nullptr;
    return open("r", stream, L"sealed") == EFI_ACCESS_DENIED && write("new", L"sealed") == EFI_ACCESS_DENIED;
  }));
  chmod(partition.c_str(), 0500);
  EXPECT_TRUE(inChild([] {
    if (geteuid() == 0 && setuid(65534) != 0) return false;
    return write("new") == EFI_ACCESS_DENIED && varsk_fdelete_1(kPartition, kQueue) == EFI_ACCESS_DENIED;
  }));
  chmod(partition.c_str(), 0700);
  EXPECT_EQ(contentsOf(queue), "old");
}

TEST_F(Storage, AnyOtherObstacleIsADeviceError) {
  fs::create_directories(root);
  fill(partition, "a file where the partition should be");
  expectRefused(kPartition, kQueue, EFI_DEVICE_ERROR);
  setenv("VARSK_ROOT", (partition / "below").c_str(), 1);
  expectRefused(kPartition, kQueue, EFI_DEVICE_ERROR);
  setenv("VARSK_ROOT", std::string(5000, 'x').c_str(), 1);
  expectRefused(kPartition, kQueue, EFI_DEVICE_ERROR);
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
  EXPECT_EQ(getSize(nullptr), 0U);
}

TEST_F(Storage, TheOldFileIsThereUntilTheClose) {
  ASSERT_EQ(write("old"), EFI_SUCCESS);
  FILE *stream = nullptr;
  ASSERT_EQ(open("w", stream), EFI_SUCCESS);
  fputs("new", stream);
  fflush(stream);
  EXPECT_EQ(contentsOf(queue), "old");
  EXPECT_EQ(varsk_fclose_1(kPartition, stream, "w"), EFI_SUCCESS);
  EXPECT_EQ(contentsOf(queue), "new");
  EXPECT_EQ(filesInPartition(), 1U);
}

TEST_F(Storage, ACloseWithAnotherModeReplacesNothing) {
  ASSERT_EQ(write("old"), EFI_SUCCESS);
  FILE *stream = nullptr;
  ASSERT_EQ(open("w", stream), EFI_SUCCESS);
  fputs("new", stream);
  EXPECT_EQ(varsk_fclose_1(kPartition, stream, "r"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(contentsOf(queue), "old");
  EXPECT_EQ(filesInPartition(), 1U);
}

TEST_F(Storage, WhatADeadWriterLeftGoesWithTheNextWrite) {
  ASSERT_EQ(write("old"), EFI_SUCCESS);
  ASSERT_TRUE(inChild([] {
    FILE *stream = nullptr;
    if (open("w", stream) != EFI_SUCCESS) return false;
    fputs("half of the new cont", stream);
    return fflush(stream) == 0;
  }));
  EXPECT_EQ(contentsOf(queue), "old");
  EXPECT_EQ(filesInPartition(), 2U);
  EXPECT_EQ(write("new"), EFI_SUCCESS);
  EXPECT_EQ(contentsOf(queue), "new");
  EXPECT_EQ(filesInPartition(), 1U);
}

TEST_F(Storage, WritersThatLiveDoNotDisturbEachOther) {
  FILE *first = nullptr;
  ASSERT_EQ(open("w", first), EFI_SUCCESS);
  fputs("first", first);
  EXPECT_TRUE(inChild([] { return write("second") == EFI_SUCCESS; }));
  EXPECT_EQ(contentsOf(queue), "second");
  EXPECT_EQ(varsk_fclose_1(kPartition, first, "w"), EFI_SUCCESS);
  EXPECT_EQ(contentsOf(queue), "first");
}

bool limitFileSize() {
  const rlimit limit = {4096, 4096};
  return signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

// A failing write is noticed by the caller when the stream is unbuffered, and by nobody before the close when it is
// not.
TEST_F(Storage, AFailedWriteKeepsTheOldFile) {
  ASSERT_EQ(write("old"), EFI_SUCCESS);
  for (const int buffering : {_IONBF, _IOFBF}) {
    EXPECT_TRUE(inChild([&] {
      return limitFileSize() && write(std::string(5000, 'x'), kQueue, buffering) == EFI_DEVICE_ERROR;
    })) << buffering;
  }
  EXPECT_EQ(contentsOf(queue), "old");
  EXPECT_EQ(filesInPartition(), 1U);
}

TEST_F(Storage, AFullDeviceKeepsTheOldFile) {
  const auto mountSmall = [this] {
    fs::create_directories(partition);
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", partition.c_str(), "tmpfs", 0, "size=64k") == 0;
  };
  if (!inChild(mountSmall)) GTEST_SKIP() << "may not mount";
  EXPECT_TRUE(inChild([&] {
    return mountSmall() && write("old") == EFI_SUCCESS && write(std::string(100000, 'x')) == EFI_DEVICE_ERROR &&
           contentsOf(queue) == "old" && filesInPartition() == 1 && write("new") == EFI_SUCCESS;
  }));
}

TEST_F(Storage, TheSizeIsTheFilesAndThePositionStays) {
  ASSERT_EQ(write("12345"), EFI_SUCCESS);
  FILE *stream = nullptr;
  ASSERT_EQ(open("r", stream), EFI_SUCCESS);
  EXPECT_EQ(fgetc(stream), '1');
  EXPECT_EQ(getSize(stream), 5U);
  EXPECT_EQ(fgetc(stream), '2');
  fs::resize_file(queue, (uintmax_t{1} << 32) - 1);
  EXPECT_EQ(getSize(stream), 0xFFFFFFFFU);
  fs::resize_file(queue, uintmax_t{1} << 32);
  EXPECT_EQ(getSize(stream), 0xFFFFFFFFU);
  EXPECT_EQ(varsk_fclose_1(kPartition, stream, "r"), EFI_SUCCESS);
}

TEST_F(Storage, WithoutARootOfItsOwnItUsesTheUsersState) {
  const struct {
    const char *label, *state, *home;
    fs::path expected;
  } rows[] = {
      {"state directory", "state-home", "home", base / "state-home/varsk/VAR025/Main.ssib"},
      {"home directory", "", "home", base / "home/.local/state/varsk/VAR025/Main.ssib"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.label);
    EXPECT_TRUE(inChild([&] {
      setenv("VARSK_ROOT", "", 1);
      setenv("XDG_STATE_HOME", *row.state != '\0' ? (base / row.state).c_str() : "", 1);
      setenv("HOME", (base / row.home).c_str(), 1);
      unsetenv("VARSK_SYNC");
      return write("1") == EFI_SUCCESS && contentsOf(row.expected) == "1";
    }));
  }
}

}  // namespace
}  // namespace vyx::tests
