// SPDX-License-Identifier: MIT
// What the stand-in and the tool keep when system calls fail, when others own, left or link what they find, and when
// processes fork and race.
#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "HostPlatform.h"
#include "support/faults.h"
#include "VyxSSIBBackend.h"

namespace vyx::tests {
namespace {

namespace fs = std::filesystem;
using std::string;

string contentsOf(const fs::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void fill(const fs::path &path, const string &text) {
  std::ofstream(path, std::ios::binary) << text;
}

// Runs something in a child that ends in the ordinary way.
template <class Body>
pid_t startChild(Body body) {
  fflush(nullptr);
  const pid_t child = fork();
  if (child != 0) return child;
  alarm(60);
  exit(body() ? 0 : 1);
}

// True when it returned true there.
bool succeeded(pid_t child) {
  int status = 0;
  return waitpid(child, &status, 0) == child && status == 0;
}

// A root of the storage that nobody else uses. Leaves neither files nor settings behind.
class Robust : public testing::Test {
 protected:
  Robust() {
    setenv("VARSK_ROOT", root.c_str(), 1);
    setenv("VARSK_SYNC", "0", 1);
  }
  ~Robust() override {
    fault() = {};
    for (const char *name : {"VARSK_ROOT", "VARSK_SYNC", "QUOR_DEBUG"}) unsetenv(name);
    fs::remove_all(base);
  }

  const fs::path base = [] {
    char name[] = "/tmp/vyx-platform-XXXXXX";
    return fs::path(mkdtemp(name));
  }();
  const fs::path root = base / "state", partition = root / "VAR025";
  const fs::path queue = partition / "Main.ssib", attributes = root / "attributes.json";

  static EFI_STATUS open(const char *mode, FILE **stream) {
    return varsk_fopen_1(SSIB_PARTITION, SSIB_MAIN_QUEUE, mode, stream);
  }
  static EFI_STATUS openAndClose(const char *mode) {
    FILE *stream = nullptr;
    const EFI_STATUS status = open(mode, &stream);
    return stream != nullptr ? varsk_fclose_1(SSIB_PARTITION, stream, mode) : status;
  }
  static EFI_STATUS read() { return openAndClose("r"); }
  static EFI_STATUS write() { return openAndClose("w"); }
  static EFI_STATUS lock(uint32_t milliseconds) {
    VYX_HOST_LOCK *lock = nullptr;
    const EFI_STATUS status = vyxHostLockPartition(SSIB_PARTITION, milliseconds, &lock);
    vyxHostUnlockPartition(lock);
    return status;
  }
};

TEST_F(Robust, WhatCannotBeLookedAtIsNotMissing) {
  ASSERT_EQ(write(), EFI_SUCCESS);
  for (const Fault &each : {Fault{"fstatat", 1, EIO},
                            {"fstatat", 2, EIO},
                            {"fstatat", 2, EOVERFLOW},
                            {"openat", 1, EMFILE},
                            {"fstat", 1, EIO},
                            {"fdopen", 1, ENOMEM},
                            {"openat", 1, ENOENT}}) {
    fault() = each;
    EXPECT_EQ(read(), each.error == ENOENT ? EFI_NOT_FOUND : EFI_ACCESS_DENIED) << each.call << " " << each.error;
  }
  fault() = {};
  const timespec later[2] = {{4'000'000'000, 0}, {4'000'000'000, 0}};  // in the year 2096
  ASSERT_EQ(utimensat(AT_FDCWD, queue.c_str(), later, 0), 0);
  EXPECT_EQ(read(), EFI_SUCCESS);
}

TEST_F(Robust, WhatTheSystemDoesNotPermitIsNoFailureOfTheDevice) {
  ASSERT_EQ(lock(0), EFI_SUCCESS);
  for (const int error : {EACCES, EPERM, EROFS, ELOOP, EIO}) {
    fault() = {"openat", 1, error};
    EXPECT_EQ(lock(0), error == EIO ? EFI_DEVICE_ERROR : EFI_ACCESS_DENIED) << error;
  }
  for (const Fault &each : {Fault{"flock", 1, ENOLCK}, {"open", 1, ENOENT}}) {
    fault() = each;
    EXPECT_EQ(lock(0), EFI_DEVICE_ERROR) << each.call;
  }
  fault() = {"open", 1, ENOTDIR};  // the directory has just become a link
  EXPECT_EQ(lock(0), EFI_ACCESS_DENIED);
  // The file has been made since; a signal came.
  for (const Fault &each : {Fault{"openat", 1, ENOENT}, {"flock", 1, EINTR}}) {
    fault() = each;
    EXPECT_EQ(lock(0), EFI_SUCCESS) << each.call;
  }
}

TEST_F(Robust, WhatIsAskedOfNothingOrForNobodyIsInvalid) {
  char text[] = "x", *given = text;
  EXPECT_EQ(vyxHostTerminalText(nullptr, &given), EFI_INVALID_PARAMETER);
  EXPECT_EQ(given, nullptr);
  EXPECT_EQ(vyxHostTerminalText(text, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(Robust, OnlyTheShortestFormOfACharacterIsOne) {
  const string edges =
      "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
      "\xF0\x90\x80\x80\xF1\x80\x80\x80\xF4\x8F\xBF\xBF";
  wchar_t *wide = nullptr;
  char *path = nullptr;
  EXPECT_EQ(vyxHostWideText(edges.c_str(), &wide), EFI_SUCCESS);
  EXPECT_STREQ(wide, L"\x7F\x80\x7FF\x800\xD7FF\xE000\xFFFF\x10000\x40000\x10FFFF");
  EXPECT_EQ(vyxHostPartitionPath(wide, &path), EFI_SUCCESS);
  EXPECT_EQ(path, root.string() + '/' + edges);
  free(wide);
  free(path);
  for (const char *text : {"\x80", "\xC1\xBF", "\xC3", "\xC3\x41", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
                           "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80"})
    EXPECT_EQ(vyxHostWideText(text, &wide), EFI_INVALID_PARAMETER) << testing::PrintToString(text);
}

TEST_F(Robust, ALookUpOpensTheDebugLogOrFailsAndClosesTheOneBefore) {
  constexpr EFI_GUID kLog = VYX_DEBUG_LOG_GUID;
  setenv("QUOR_DEBUG", (base / "debug.log").c_str(), 1);
  fault() = {"fdopen", 1, ENOMEM};
  uint32_t count = 7;
  void **instances = nullptr;
  EXPECT_EQ(getProtocolInstanceByGuid(&kLog, &count, &instances), EFI_DEVICE_ERROR);
  EXPECT_EQ(count, 0U);
  const auto lookUp = [&] {
    EXPECT_EQ(getProtocolInstanceByGuid(&kLog, &count, &instances), EFI_SUCCESS);
    free(instances);
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = lookUp();
  EXPECT_EQ(lookUp(), before);
}

TEST_F(Robust, AFailedWriteEndsAndLeavesNothing) {
  setenv("VARSK_SYNC", "1", 1);
  for (const Fault &each : {Fault{"fstat", 1, EIO, true},
                            {"fstatat", 3, EIO, true},
                            {"fsync", 1, EIO, true},
                            {"fopencookie", 1, ENOMEM},
                            {"open", 1, EMFILE},
                            {"flock", 1, ENOLCK}}) {
    EXPECT_TRUE(succeeded(startChild([&] {
      fault() = each;
      return write() == EFI_DEVICE_ERROR;
    }))) << each.call;
    EXPECT_TRUE(fs::is_empty(partition)) << each.call;
  }
}

TEST_F(Robust, NoFileTakesAStandardDescriptorOrReachesAnotherProgram) {
  setenv("QUOR_DEBUG", (base / "debug.log").c_str(), 1);
  for (const int first : {0, 2, 3}) {
    fs::remove_all(root);
    EXPECT_TRUE(succeeded(startChild([first] {
      for (int number = first; number < 64; ++number) close(number);
      FILE *stream = nullptr;
      static VYX_HOST_LOCK *lock = nullptr;
      bool done = write() == EFI_SUCCESS && open("r", &stream) == EFI_SUCCESS && open("w", &stream) == EFI_SUCCESS &&
                  CfgSetAttributeInt("a", 6, 0) == 0 && vyxHostLockPartition(SSIB_PARTITION, 0, &lock) == EFI_SUCCESS &&
                  vyxSSIB2LinuxInitBackend() == EFI_SUCCESS && vyxSsibDebug != nullptr;
      for (int number = first; number < 64; ++number) {
        const int flags = fcntl(number, F_GETFD);
        done = done && (flags == -1 || (number > 2 && flags == FD_CLOEXEC));
      }
      return done;
    }))) << first;
  }
}

TEST_F(Robust, WhatAHostOpensInThePlaceOfADescriptorThatItClosedStaysOpen) {
  EXPECT_TRUE(succeeded(startChild([] {
    bool done = CfgSetAttributeInt("a", 6, 0) == 0 && CfgSetAttributeInt("a", 6, 0) == 0;
    for (int number = 3; number < 64; ++number) close(number);
    while (::open("/dev/null", O_RDONLY) < 63) continue;
    for (int round = 0; round < 2; ++round) done = done && CfgSetAttributeInt("a", 6, 1) == 0;
    struct stat status = {};
    for (int number = 3; number < 64; ++number) {
      done = done && fstat(number, &status) == 0 && S_ISCHR(status.st_mode);
    }
    return done;
  })));
}

TEST_F(Robust, AWriteAsRootDoesNotLockTheOwnerOut) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  ASSERT_EQ(chown(base.c_str(), 65534, 65533), 0);
  EXPECT_EQ(lock(0), EFI_SUCCESS);
  EXPECT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  for (const mode_t mode : {mode_t{0600}, mode_t{0640}}) {
    EXPECT_EQ(write(), EFI_SUCCESS);
    for (const auto &path : {root, partition, queue, attributes, partition / ".lock"}) {
      struct stat status = {};
      EXPECT_TRUE(stat(path.c_str(), &status) == 0 && status.st_uid == 65534 && status.st_gid == 65533) << path;
    }
    EXPECT_EQ(fs::status(queue).permissions(), fs::perms{mode});
    EXPECT_EQ(fs::status(partition / ".lock").permissions(), fs::perms{0600});
    fs::permissions(queue, fs::perms{0640});
  }
  EXPECT_TRUE(succeeded(startChild([&] {
    struct stat status = {};
    return chdir(base.c_str()) == 0 && setenv("VARSK_ROOT", "relative", 1) == 0 && lock(0) == EFI_SUCCESS &&
           stat("relative", &status) == 0 && status.st_uid == 65534;
  })));
  ASSERT_EQ(chown(base.c_str(), 0, 0), 0);
  fs::permissions(base, fs::perms{0711});  // the owner of what is below may pass, and not read it
  setenv("VARSK_SYNC", "1", 1);
  ASSERT_EQ(chown(queue.c_str(), 0, 65533), 0);
  fs::permissions(queue, fs::perms{0660});
  EXPECT_TRUE(succeeded(startChild([&] {
    return setgid(65533) == 0 && setuid(65534) == 0 && lock(0) == EFI_SUCCESS && read() == EFI_SUCCESS &&
           CfgSetAttributeInt("b", 6, 0) == 0 && write() == EFI_SUCCESS &&
           fs::status(queue).permissions() == fs::perms{0660} &&
           varsk_fdelete_1(SSIB_PARTITION, SSIB_MAIN_QUEUE) == EFI_SUCCESS && write() == EFI_SUCCESS;
  })));
  ASSERT_EQ(chown(queue.c_str(), 0, 0), 0);
  fs::permissions(queue, fs::perms{0667});
  EXPECT_TRUE(succeeded(startChild([&] {  // who is not of the group does not give its rights to another one
    return setgroups(0, nullptr) == 0 && setgid(65533) == 0 && setuid(65534) == 0 && write() == EFI_SUCCESS &&
           fs::status(queue).permissions() == fs::perms{0607};
  })));
}

TEST_F(Robust, OnlyItsOwnLeftOverFilesGo) {
  fs::create_directories(partition / ".new-folder");
  fs::create_symlink(base, partition / ".new-aalink");
  ASSERT_EQ(mkfifo((partition / ".new-aafifo").c_str(), 0600), 0);
  for (const char *name : {".new-0A9Zaz", ".new-abcde", ".new-abcdefg", ".new-abc.ef", ".old-abcdef", ".new-others"})
    fill(partition / name, "");
  const bool canGive = chown((partition / ".new-others").c_str(), 65534, 65534) == 0;
  EXPECT_EQ(write(), EFI_SUCCESS);
  EXPECT_FALSE(fs::exists(partition / ".new-0A9Zaz"));
  EXPECT_EQ(std::distance(fs::directory_iterator(partition), {}), canGive ? 9 : 8);
}

TEST_F(Robust, AChildNeitherWritesNorRemovesItsParentsFile) {
  FILE *stream = nullptr;
  ASSERT_EQ(open("w", &stream), EFI_SUCCESS);
  for (const auto &child : {std::pair{"child ", false}, {"child ", true}, {"", true}}) {
    fputs("parent ", stream);
    fflush(stream);
    EXPECT_TRUE(succeeded(startChild([&] {
      fputs(child.first, stream);
      return !child.second || varsk_fclose_1(SSIB_PARTITION, stream, "w") == EFI_DEVICE_ERROR;
    })));
  }
  EXPECT_EQ(varsk_fclose_1(SSIB_PARTITION, stream, "w"), EFI_SUCCESS);
  EXPECT_EQ(contentsOf(queue), "parent parent parent ");
}

TEST_F(Robust, DirectoriesAreSynchronisedBeforeAFirstFileWhoeverMadeThem) {
  setenv("VARSK_SYNC", "1", 1);
  fs::create_directories(partition);
  for (const auto directories : {std::distance(partition.begin(), partition.end()), std::ptrdiff_t{0}}) {
    fault() = {"fsync", 0, 0};
    EXPECT_EQ(write(), EFI_SUCCESS);
    EXPECT_EQ(fault().seen, directories + 2);  // and the file, and its directory once it is in its place
  }
  fault() = {"fsync", 1, EIO};
  EXPECT_EQ(varsk_fdelete_1(SSIB_PARTITION, SSIB_MAIN_QUEUE), EFI_DEVICE_ERROR);
}

TEST_F(Robust, ALinkIsRefusedAsAPartition) {
  fs::create_directories(root);
  fs::create_directory_symlink(base, partition);
  fill(queue, "old");
  for (const EFI_STATUS status : {read(), write(), lock(0), varsk_fdelete_1(SSIB_PARTITION, SSIB_MAIN_QUEUE)})
    EXPECT_EQ(status, EFI_ACCESS_DENIED);
  EXPECT_EQ(contentsOf(queue), "old");
}

TEST_F(Robust, AttributesSetAtTheSameTimeAllArrive) {
  std::vector<pid_t> children;
  for (int i = 0; i < 80; ++i)
    children.push_back(startChild([i] { return CfgSetAttributeInt(std::to_string(i).c_str(), 6, i) == 0; }));
  EXPECT_TRUE(std::ranges::all_of(children, succeeded));
  EXPECT_EQ(std::ranges::count(contentsOf(attributes), '['), 80);
}

TEST_F(Robust, AFileThatOthersReplacedIsClosed) {
  EXPECT_TRUE(succeeded(startChild([&] {
    const rlimit limit = {32, 32};
    bool done = setrlimit(RLIMIT_NOFILE, &limit) == 0;
    for (int round = 0; round < 64; ++round) {
      fs::remove(attributes);
      done = done && CfgSetAttributeInt("a", 6, 0) == 0 && CfgSetAttributeInt("a", 6, 0) == 0;
    }
    return done;
  })));
}

TEST_F(Robust, AttributesThatCannotBeWrittenAreNotSet) {
  ASSERT_EQ(CfgSetAttributeInt("a", 6, 0), 0);
  const string before = contentsOf(attributes);
  for (const Fault &each : {Fault{"write", 1, ENOSPC}, {"read", 1, EIO}}) {
    EXPECT_TRUE(succeeded(startChild([&] {
      fault() = each;
      return CfgSetAttributeInt("b", 6, 1) == -1;
    }))) << each.call;
    EXPECT_EQ(contentsOf(attributes), before) << each.call;
  }
  const string largest = "{}" + string((1 << 20) - 2, ' ');
  fill(attributes, largest + ' ');
  EXPECT_EQ(CfgSetAttributeInt("a", 6, 1), -1);
  fill(attributes, largest);
  EXPECT_EQ(CfgSetAttributeInt("a", 6, 1), 0);
}

TEST_F(Robust, ADeepAttributesFileIsRefused) {
  const string deep = "{\"a\":" + string(200000, '[') + string(200000, ']') + "}";
  fs::create_directories(root);
  fill(attributes, deep);
  EXPECT_TRUE(succeeded(startChild([] { return CfgSetAttributeInt("b", 6, 0) == -1; })));
  EXPECT_TRUE(contentsOf(attributes) == deep);
  for (const std::size_t depth : {16U, 17U}) {
    fill(attributes, "{\"a\":" + string(depth, '[') + string(depth, ']') + "}");
    EXPECT_EQ(CfgSetAttributeInt("b", 6, 0), depth == 16 ? 0 : -1) << depth;
  }
}

TEST_F(Robust, ALockExcludesOthersForAsLongAsTheyWait) {
  VYX_HOST_LOCK *held = nullptr;
  ASSERT_EQ(vyxHostLockPartition(SSIB_PARTITION, 0, &held), EFI_SUCCESS);
  for (const uint32_t milliseconds : {0U, 30U}) EXPECT_EQ(lock(milliseconds), VYX_HOST_TIMEOUT);
  vyxHostUnlockPartition(held);
  EXPECT_EQ(lock(VYX_HOST_FOREVER), EFI_SUCCESS);
}

class RobustTool : public Robust {
 protected:
  // What the command prints, and its exit status.
  static std::pair<string, int> run(const string &command) {
    FILE *pipe = popen((command + " 2>&1").c_str(), "r");
    string output;
    for (int c = 0; (c = fgetc(pipe)) != EOF;) output += static_cast<char>(c);
    return {output, WEXITSTATUS(pclose(pipe))};
  }
};

TEST_F(RobustTool, WorksOnAPlatformWithoutTheStandInsFunctions) {
  const std::pair<const char *, std::pair<string, int>> rows[] = {
      {"add -q a.json --job-id x",
       {"ssib: this platform has no lock; see to it that nobody else changes the queues\nadded entry 1 to a.json\n",
        0}},
      {"list -q a\x1B.json",
       {"ssib: --queue: a\\x1B.json is not printable ASCII, as names have to be on this platform\n", 2}},
      {"list -q a.json", {"ssib: there is no a.json; 'ssib queues' lists what there is\n", 1}},
      {"list -q .x", {"ssib: cannot open .x: 0x8000000F\n", 3}},
  };
  for (const auto &[arguments, outcome] : rows)
    EXPECT_EQ(run(string(SSIB_OWN_PLATFORM " ") + arguments), outcome) << arguments;
}

}  // namespace
}  // namespace vyx::tests
