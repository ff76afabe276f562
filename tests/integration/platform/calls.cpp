// SPDX-License-Identifier: MIT
// Makes the calls of the stand-in platform that its arguments name, in their order, and prints what each returns: see
// the sessions. "null" stands for a null argument, "U+NUMBER" for a name of an x and that character.
#include <sys/resource.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "HostPlatform.h"
#include "PlatformServices.h"

namespace {

constexpr EFI_GUID kLog = VYX_DEBUG_LOG_GUID, kOther = {1, 2, 3, {}};

char **next;                              // argument
std::vector<FILE *> streams = {nullptr};  // the calls work on the last one
const wchar_t *partition = L"VAR025";

const char *argument() {
  const char *text = *next++;
  return std::strcmp(text, "null") == 0 ? nullptr : text;
}
int number() {
  return std::atoi(*next++);
}

// What separates two results.
const char *gap() {
  static int results = 0;
  return results++ == 0 ? "" : " ";
}

// A name for a call, kept until the end; null for null.
const wchar_t *wide(const char *text) {
  static std::deque<std::wstring> kept;
  if (std::strcmp(text, "null") == 0) return nullptr;
  std::wstring &name = kept.emplace_back(std::strlen(text), L'\0');
  name.resize(std::mbstowcs(name.data(), text, name.size()));
  if (text[0] == 'U') name = {L'x', static_cast<wchar_t>(std::strtoul(text + 2, nullptr, 16))};
  return name.c_str();
}

void print(EFI_STATUS status) {
  const std::map<EFI_STATUS, const char *> names = {{EFI_SUCCESS, "SUCCESS"},
                                                    {EFI_INVALID_PARAMETER, "INVALID_PARAMETER"},
                                                    {EFI_DEVICE_ERROR, "DEVICE_ERROR"},
                                                    {EFI_NOT_FOUND, "NOT_FOUND"},
                                                    {EFI_ACCESS_DENIED, "ACCESS_DENIED"}};
  std::printf("%s%s", gap(), names.contains(status) ? names.at(status) : "another status");
}

void openFile() {
  const char *mode = argument();
  FILE *stream = stdin;
  const EFI_STATUS status = varsk_fopen_1(partition, wide(*next++), mode, &stream);
  print(status);
  if ((status == EFI_SUCCESS) != (stream != nullptr)) std::printf(" with a stream");
  if (stream != nullptr) streams.push_back(stream);
}

void closeFile() {
  print(varsk_fclose_1(L"VAR025", streams.back(), argument()));
  streams.pop_back();
}

void setAttribute() {
  const char *name = argument();
  const int kind = number();
  std::printf("%s%d", gap(), CfgSetAttributeInt(name, kind, number()));
}

DEBUG_LOG_PROTOCOL *find(const EFI_GUID &guid) {
  uint32_t count = 7;
  void *dummy = &count, **instances = &dummy;
  print(getProtocolInstanceByGuid(&guid, &count, &instances));
  auto *log = count != 0 ? static_cast<DEBUG_LOG_PROTOCOL *>(instances[0]) : nullptr;
  std::printf("%s%s", gap(), instances == nullptr ? "none" : "found");
  std::free(instances);
  return log;
}

void findWithNullArguments() {
  uint32_t count = 0;
  void **instances = nullptr;
  print(getProtocolInstanceByGuid(nullptr, &count, &instances));
  print(getProtocolInstanceByGuid(&kOther, nullptr, &instances));
  print(getProtocolInstanceByGuid(&kOther, &count, nullptr));
}

void log() {
  const auto *service = find(kLog);
  if (service == nullptr) return;
  const auto line = service->Print;
  line(0x800000, "VYXSSIB", L"numbers %d %d %x", -1, 7, 0xABCD);
  line(0, "T", L"strings %s|%ls|", "a\xC3\xA9\xC2\xA0", L"b\u20AC");
  line(0, "T", L"statuses %r %r %r", EFI_SUCCESS, EFI_NOT_FOUND, EFI_STATUS{0x300004});
  line(0, "T", L"a line end of its own %r\n", EFI_ABORTED);
  line(0, "T", L"another conversion is the last: 100%% %f %d", 1.0, 2);
  line(0, "T", L"control characters %s %ls", "\x1B[2J \n\x7F", L"\a\u009B");
  line(0, "T", L"bytes outside UTF-8 %s", "\xFF\x9B\xC3");
  line(0, "T", L"numbers outside Unicode %ls", L"a\x110000");
  line(0, "T", L"null strings %s %ls", nullptr, nullptr);
  line(0, nullptr, L"no tag");
  line(0, "T", nullptr);
}

void trace() {
  std::printf("%s%d", gap(), quorprintf(number(), 9, "%s:%d:partition:%ls mode:%s\n", "f", 12, L"V\u00E9\n", "r"));
}

void runCommand() {
  std::fputs(gap(), stdout);
  std::fflush(stdout);
  if (std::system(*next++) != 0) std::printf(" failed");
}

void becomeNobody() {
  if (geteuid() == 0 && setuid(65534) != 0) std::printf(" failed");
}

void limitDescriptors() {
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = static_cast<rlim_t>(number());
  setrlimit(RLIMIT_NOFILE, &limit);
}

const std::map<std::string, void (*)()> kCalls = {
    {"partition", [] { partition = wide(*next++); }},
    {"open", openFile},
    {"open-null", [] { print(varsk_fopen_1(L"VAR025", L"Main.ssib", "r", nullptr)); }},
    {"put", [] { std::fputs(*next++, streams.back()); }},
    {"flush", [] { std::fflush(streams.back()); }},
    {"unbuffered", [] { std::setvbuf(streams.back(), nullptr, _IONBF, 0); }},
    {"get", [] { std::printf("%s%c", gap(), std::fgetc(streams.back())); }},
    {"size", [] { std::printf("%s%u", gap(), getSize(streams.back())); }},
    {"close", closeFile},
    {"delete", [] { print(varsk_fdelete_1(partition, wide(*next++))); }},
    {"last-change", [] { print(vyxHostWriteStatus()); }},
    {"as-nobody", becomeNobody},
    {"descriptors", limitDescriptors},
    {"set", setAttribute},
    {"find-other", [] { find(kOther); }},
    {"find-null", findWithNullArguments},
    {"log", log},
    {"trace", trace},
    {"run", runCommand},
};

}  // namespace

int main(int, char **argv) {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  for (next = argv + 1; *next != nullptr;) kCalls.at (*next++)();
  std::puts("");
}
