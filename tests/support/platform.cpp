// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/xml_service.h"

namespace test {

namespace {

std::unique_ptr<Platform> current;

std::string narrow(const wchar_t *wide) {
  std::string text;
  for (; wide != nullptr && *wide != 0; ++wide) text += static_cast<char>(*wide);
  return text;
}

std::wstring key(const wchar_t *partition, const wchar_t *name) {
  return std::wstring(partition) + L"/" + name;
}

// The answer that the test ordered for this call, if any. Every call is recorded first.
std::optional<Answer> record(const std::string &call) {
  Platform &state = platform();
  state.calls.push_back(call);
  state.events.push_back(call);
  std::optional<Answer> answer;
  for (Platform::Fault &fault : state.faults) {
    if (call.starts_with(fault.prefix) && ++fault.seen == fault.nth) answer = fault.answer;
  }
  return answer;
}

// Formats in the manner of the debug log: "%d", "%x", "%s", "%ls" and "%r".
std::string format(const std::string &text, va_list values) {
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      result += text[at];
      continue;
    }
    char digits[16];
    switch (text[++at]) {
      case 'd':
        result += std::to_string(va_arg(values, int));
        break;
      case 'x':
        std::snprintf(digits, sizeof(digits), "%x", va_arg(values, unsigned));
        result += digits;
        break;
      case 'r':
        std::snprintf(digits, sizeof(digits), "0x%08x", va_arg(values, unsigned));
        result += digits;
        break;
      case 's':
        result += va_arg(values, const char *);
        break;
      case 'l':
        ++at;
        result += narrow(va_arg(values, const wchar_t *));
        break;
      default:
        std::abort();  // a format that the services need not understand
    }
  }
  return result;
}

void print(std::uint32_t level, const char *tag, const wchar_t *wideFormat, ...) {
  va_list values;
  va_start(values, wideFormat);
  const std::string formatText = narrow(wideFormat);
  const std::string text = format(formatText, values);
  va_end(values);
  platform().log.push_back({level, tag, formatText, text});
  platform().events.push_back(std::string(tag) + "|" + text);
}

DEBUG_LOG_PROTOCOL debugLog = {{}, print};

// ---- The XML service: the stand-in's, behind a record of the calls.

EFI_STATUS parseImage(XML_SERVICE_PROTOCOL *, const XML_STRING *image, XML_NODE **root) {
  const auto answer = record("ParseImage");
  if (answer && !answer->withResult) return answer->status;
  const EFI_STATUS status = vyx::platform::xmlService()->ParseImage(vyx::platform::xmlService(), image, root);
  return answer ? answer->status : status;
}

EFI_STATUS serializeTree(XML_SERVICE_PROTOCOL *, const XML_NODE *root, std::uint32_t flag, XML_STRING **image) {
  const auto answer = record(flag == 1 ? "SerializeTree" : "SerializeTree with another flag");
  if (answer && !answer->withResult) return answer->status;
  const EFI_STATUS status = vyx::platform::xmlService()->SerializeTree(vyx::platform::xmlService(), root, flag, image);
  return answer ? answer->status : status;
}

EFI_STATUS createNode(XML_SERVICE_PROTOCOL *, const XML_STRING *name, XML_NODE **node) {
  const auto answer = record(std::string("CreateNode ") + name->text);
  if (answer && !answer->withResult) return answer->status;
  const EFI_STATUS status = vyx::platform::xmlService()->CreateNode(vyx::platform::xmlService(), name, node);
  return answer ? answer->status : status;
}

EFI_STATUS deleteTree(XML_SERVICE_PROTOCOL *, XML_NODE *node) {
  record("DeleteTree");
  return vyx::platform::xmlService()->DeleteTree(vyx::platform::xmlService(), node);
}

XML_SERVICE_PROTOCOL countedXmlService = {{}, parseImage, serializeTree, createNode, deleteTree};

// ---- Partition storage: streams on memory. What was written becomes the file when the stream is closed without an
// error.

struct Stream {
  std::wstring key;
  std::string contents;
  std::size_t position = 0;
  bool failWrites = false;
};

std::map<FILE *, Stream *> openStreams;

ssize_t readStream(void *cookie, char *buffer, std::size_t size) {
  auto &stream = *static_cast<Stream *>(cookie);
  const std::size_t count = stream.contents.copy(buffer, size, stream.position);
  stream.position += count;
  return static_cast<ssize_t>(count);
}

ssize_t writeStream(void *cookie, const char *buffer, std::size_t size) {
  auto &stream = *static_cast<Stream *>(cookie);
  if (stream.failWrites) return 0;
  stream.contents.append(buffer, size);
  return static_cast<ssize_t>(size);
}

FILE *openStream(const std::wstring &fileKey, bool writing) {
  auto *stream = new Stream{fileKey, writing ? std::string() : platform().files[fileKey], 0, platform().failWrites};
  FILE *file = fopencookie(stream, writing ? "w" : "r", {readStream, writeStream, nullptr, nullptr});
  openStreams[file] = stream;
  ++platform().openStreams;
  return file;
}

}  // namespace

Platform &platform() {
  return *current;
}

void resetPlatform() {
  current = std::make_unique<Platform>();
}

std::vector<std::string> Platform::logTexts(const std::string &tag) const {
  std::vector<std::string> texts;
  for (const LogLine &line : log) {
    if (line.tag == tag) texts.push_back(line.text);
  }
  return texts;
}

std::vector<std::string> Platform::logFormats() const {
  std::vector<std::string> formats;
  for (const LogLine &line : log) formats.push_back(line.format);
  return formats;
}

std::size_t Platform::countCalls(const std::string &prefix) const {
  return static_cast<std::size_t>(
      std::ranges::count_if(calls, [&](const std::string &call) { return call.starts_with(prefix); }));
}

void Platform::forgetEvents() {
  calls.clear();
  log.clear();
  trace.clear();
  traceLines.clear();
  events.clear();
}

std::string Platform::file(const std::wstring &name) const {
  const auto found = files.find(L"VAR025/" + name);
  return found == files.end() ? "<none>" : found->second;
}

void Platform::setFile(const std::wstring &name, const std::string &contents) {
  files[L"VAR025/" + name] = contents;
}

}  // namespace test

using namespace test;

extern "C" {

EFI_STATUS getProtocolInstanceByGuid(const EFI_GUID *guid, std::uint32_t *count, void ***instances) {
  if (platform().locateStatus != EFI_SUCCESS) return platform().locateStatus;
  void *instance = nullptr;
  const auto is = [guid](const EFI_GUID &other) { return std::memcmp(guid, &other, sizeof(other)) == 0; };
  if (is(gQuorEfiXMLProtocolGuid2) && platform().hasXmlService) instance = &countedXmlService;
  if (is(gQuorDebugGUID) && platform().hasDebugLog) instance = &debugLog;
  if (instance == nullptr) return EFI_SUCCESS;
  *count = 1;
  *instances = static_cast<void **>(std::malloc(sizeof(void *)));
  if (*instances == nullptr) return EFI_OUT_OF_RESOURCES;
  **instances = instance;
  return EFI_SUCCESS;
}

EFI_STATUS varsk_fopen_1(const wchar_t *partition, const wchar_t *fileName, const char *mode, FILE **stream) {
  *stream = nullptr;
  const std::wstring fileKey = key(partition, fileName);
  const auto answer = record("open " + narrow(fileKey.c_str()) + " " + mode);
  const bool writing = std::strcmp(mode, "w") == 0;
  if (answer && !answer->withResult) return answer->status;
  if (!writing && !platform().files.contains(fileKey)) return EFI_NOT_FOUND;
  *stream = openStream(fileKey, writing);
  return answer ? answer->status : EFI_SUCCESS;
}

EFI_STATUS varsk_fclose_1(const wchar_t *partition, FILE *file, const char *mode) {
  const auto answer = record("close " + narrow(partition) + " " + mode);
  const std::unique_ptr<Stream> stream(openStreams.at(file));
  openStreams.erase(file);
  --platform().openStreams;
  const bool failed = std::ferror(file) != 0;
  const bool failedLate = std::fclose(file) != 0;
  if (answer) return answer->status;
  if (failed || failedLate) return EFI_DEVICE_ERROR;
  if (std::strcmp(mode, "w") == 0) platform().files[stream->key] = stream->contents;
  return EFI_SUCCESS;
}

EFI_STATUS varsk_fdelete_1(const wchar_t *partition, const wchar_t *fileName) {
  const std::wstring fileKey = key(partition, fileName);
  if (const auto answer = record("delete " + narrow(fileKey.c_str()))) return answer->status;
  return platform().files.erase(fileKey) == 1 ? EFI_SUCCESS : EFI_NOT_FOUND;
}

std::uint32_t getSize(FILE *file) {
  record("getSize");
  return platform().announcedSize.value_or(static_cast<std::uint32_t>(openStreams.at(file)->contents.size()));
}

int quorprintf(int level, int verbosity, const char *formatText, ...) {
  va_list values;
  va_start(values, formatText);
  va_list copy;
  va_copy(copy, values);
  static_cast<void>(va_arg(copy, const char *));
  platform().traceLines.push_back(va_arg(copy, int));
  va_end(copy);
  std::string text = format(formatText, values);
  va_end(values);
  if (text.empty() || text.back() != '\n' || level != 5 || verbosity != 9) std::abort();
  text.pop_back();
  platform().trace.push_back(text);
  platform().events.push_back("trace|" + text);
  return 0;
}

int CfgSetAttributeInt(const char *name, int kind, int value) {
  const auto answer = record("set " + std::string(name) + " " + std::to_string(kind) + " " + std::to_string(value));
  return answer ? static_cast<int>(answer->status) : platform().configurationResult;
}

}  // extern "C"
