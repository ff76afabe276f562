// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

#include "HostXmlService.h"
#include "support/heap.h"

namespace test {

namespace {

std::unique_ptr<Platform> current;

void note(const std::string &event, const std::string &owedTrace = "") {
  Platform &state = platform();
  if (!state.owedTrace.empty()) state.events.emplace_back("NOT TRACED");
  state.events.push_back(event);
  state.owedTrace = owedTrace;
}

// Every trace line is "SOURCE:LINE:" and what the call before it owes.
void noteTrace(const std::string &text) {
  Platform &state = platform();
  const std::size_t site = text.find(":Calling");
  const std::string source = text.substr(0, text.find(':'));
  if (state.owedTrace.empty() || site == std::string::npos || text.substr(site + 1) != state.owedTrace ||
      text.substr(0, site).ends_with(":0"))
    state.events.emplace_back("NOT TRACED");
  if (source != "ssib_if2_backend") state.events.back() += " (" + source + ")";
  state.callSites.insert(text.substr(0, site));
  state.owedTrace.clear();
}

// The fault that the test ordered for this call, if any. Every call is recorded first.
std::optional<Fault> record(const std::string &call, const std::string &owedTrace = "") {
  platform().calls.push_back(call);
  note(call, owedTrace);
  std::optional<Fault> &fault = platform().fault;
  if (!fault || !call.starts_with(fault->prefix)) return {};
  return ++fault->seen == fault->nth || fault->nth == 0 ? fault : std::nullopt;
}

// Formats in the manner of printf, and "%r" as 0x with eight digits. Other formats the services need not understand.
std::string format(std::string text, va_list values) {
  for (std::size_t at = 0; (at = text.find('%', at)) != std::string::npos; at += 2) {
    if (text[at + 1] == 'r') text.replace(at, 2, "0x%08x");
    if (std::strchr("0dlsx", text[at + 1]) == nullptr) std::abort();
  }
  char *formatted = nullptr;
  if (vasprintf(&formatted, text.c_str(), values) < 0) std::abort();
  text = formatted;
  std::free(formatted);
  return text;
}

void print(std::uint32_t level, const char *tag, const wchar_t *wideFormat, ...) {
  if (level != 0x800000) std::abort();
  va_list values;
  va_start(values, wideFormat);
  note((std::strcmp(tag, "VYXSSIB") == 0 ? "" : std::string(tag)) + "|" + format(narrow(wideFormat), values));
  va_end(values);
}

DEBUG_LOG_PROTOCOL debugLog = {{}, print};

// ---- The XML service: the stand-in's, with a record of the calls.

template <typename... Values>
EFI_STATUS ask(const std::string &call,
               EFI_STATUS (*XML_SERVICE_PROTOCOL::*operation)(XML_SERVICE_PROTOCOL *, Values...),
               std::type_identity_t<Values>... values) {
  const auto fault = record(call);
  if (fault && fault->result.empty()) return fault->status;
  XML_SERVICE_PROTOCOL *service = vyxHostXmlService();
  const EFI_STATUS status = (service->*operation)(service, values...);
  return fault ? fault->status : status;
}

EFI_STATUS parseImage(XML_SERVICE_PROTOCOL *, const XML_STRING *image, XML_NODE **root) {
  return ask("ParseImage", &XML_SERVICE_PROTOCOL::ParseImage, image, root);
}

EFI_STATUS serializeTree(XML_SERVICE_PROTOCOL *, const XML_NODE *root, std::uint32_t flag, XML_STRING **image) {
  const char *call = flag == 1 ? "SerializeTree" : "SerializeTree with another flag";
  const EFI_STATUS status = ask(call, &XML_SERVICE_PROTOCOL::SerializeTree, root, flag, image);
  if (platform().fault && platform().fault->result == "textless") {
    std::free((*image)->text);
    (*image)->text = nullptr;
  }
  return status;
}

EFI_STATUS createNode(XML_SERVICE_PROTOCOL *, const XML_STRING *name, XML_NODE **node) {
  return ask(std::string("CreateNode ") + name->text, &XML_SERVICE_PROTOCOL::CreateNode, name, node);
}

EFI_STATUS deleteTree(XML_SERVICE_PROTOCOL *, XML_NODE *node) {
  record("DeleteTree");
  return vyxHostXmlService()->DeleteTree(vyxHostXmlService(), node);
}

XML_SERVICE_PROTOCOL countedXmlService = {{}, parseImage, serializeTree, createNode, deleteTree};

// ---- Partition storage: streams on memory. What was written becomes the file when the stream is closed without an
// error.

struct Stream {
  std::string key;
  std::string contents;
  std::size_t position = 0;
  bool failWrites = platform().failWrites;
};

std::map<FILE *, std::unique_ptr<Stream>> openStreams;

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

}  // namespace

Platform &platform() {
  return *current;
}

void resetPlatform() {
  current = std::make_unique<Platform>();
}

void Platform::forgetEvents() {
  calls.clear();
  events.clear();
}

std::string Platform::transcript() const {
  std::string text;
  for (const std::string &event : events) {
    for (const char byte : event) text += byte == '\n' ? std::string("\\n") : std::string(1, byte);
    text += '\n';
  }
  return text + (owedTrace.empty() ? "" : "NOT TRACED\n");
}

std::wstring wide(const std::string &text) {
  return {text.begin(), text.end()};
}

std::string narrow(const std::wstring &text) {
  std::string narrowed(text.size(), '\0');
  std::transform(text.begin(), text.end(), narrowed.begin(), [](wchar_t ch) { return static_cast<char>(ch); });
  return narrowed;
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
  if (!platform().hasArray) return EFI_SUCCESS;
  *instances = static_cast<void **>(std::malloc(sizeof(void *)));
  if (*instances == nullptr) return EFI_OUT_OF_RESOURCES;
  **instances = instance;
  return EFI_SUCCESS;
}

EFI_STATUS varsk_fopen_1(const wchar_t *partition, const wchar_t *fileName, const char *mode, FILE **file) {
  *file = nullptr;
  const std::string key = narrow(partition) + "/" + narrow(fileName);
  const auto fault = record("open " + key + " " + mode, "Calling varsk_fopen() with partition:" + narrow(partition) +
                                                            " fileName:" + narrow(fileName) + " and mode:" + mode);
  if (fault && fault->result.empty()) return fault->status;
  const bool writing = std::strcmp(mode, "w") == 0;
  if (!writing && !platform().files.contains(key)) return EFI_NOT_FOUND;
  std::unique_ptr<Stream> stream(new Stream{key, writing ? "" : platform().files[key]});
  *file = fopencookie(stream.get(), mode, {readStream, writeStream, nullptr, nullptr});
  openStreams[*file] = std::move(stream);
  ++platform().openStreams;
  return fault ? fault->status : EFI_SUCCESS;
}

EFI_STATUS varsk_fclose_1(const wchar_t *partition, FILE *file, const char *mode) {
  const std::string name = narrow(partition);
  const auto fault = record("close " + name + " " + mode, "Calling varsk_fclose() with partition:" + name);
  const std::unique_ptr<Stream> stream = std::move(openStreams.at(file));
  openStreams.erase(file);
  --platform().openStreams;
  platform().blocksAtClose = heap::live();
  platform().isNamedAtClose = gSSSIB2pvt.ssibFileName != nullptr;
  const bool failed = std::ferror(file) != 0;
  const bool failedLate = std::fclose(file) != 0;
  if (fault) return fault->status;
  if (failed || failedLate) return EFI_DEVICE_ERROR;
  if (std::strcmp(mode, "w") == 0) platform().files[stream->key] = stream->contents;
  return EFI_SUCCESS;
}

EFI_STATUS varsk_fdelete_1(const wchar_t *partition, const wchar_t *fileName) {
  const std::string key = narrow(partition) + "/" + narrow(fileName);
  const auto fault = record("delete " + key, "Calling varsk_fdelete() with partition:" + narrow(partition) +
                                                 " and filename: " + narrow(fileName));
  if (fault) return fault->status;
  return platform().files.erase(key) == 1 ? EFI_SUCCESS : EFI_NOT_FOUND;
}

std::uint32_t getSize(FILE *file) {
  record("getSize");
  return platform().announcedSize.value_or(static_cast<std::uint32_t>(openStreams.at(file)->contents.size()));
}

int quorprintf(int level, int verbosity, const char *formatText, ...) {
  va_list values;
  va_start(values, formatText);
  std::string text = format(formatText, values);
  va_end(values);
  if (level != 5 || verbosity != 9 || !text.ends_with('\n')) std::abort();
  text.pop_back();
  noteTrace(text);
  return 0;
}

int CfgSetAttributeInt(const char *name, int kind, int value) {
  const auto fault = record("set " + std::string(name) + " " + std::to_string(kind) + " " + std::to_string(value));
  return fault ? static_cast<int>(fault->status) : 0;
}

}  // extern "C"
