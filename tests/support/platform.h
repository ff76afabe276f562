// SPDX-License-Identifier: MIT
// The platform of the unit tests: partition storage in memory, the stand-in's XML service behind counters, and a record
// of everything that the library says and asks for. It behaves as the real one does, and fails when told to.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "VyxSSIBBackend.h"

namespace test {

// What a platform call answers instead of doing its work.
struct Answer {
  EFI_STATUS status = EFI_DEVICE_ERROR;
  bool withResult = false;  // the stream (the node, the image) is handed out all the same
};

struct Platform {
  std::map<std::wstring, std::string> files;  // by "VAR025/Main.ssib"
  // "open VAR025/Main.ssib r", "close VAR025 r", "delete VAR025/Main.ssib", "getSize", "ParseImage", "SerializeTree",
  // "CreateNode NAME", "DeleteTree", "set NAME 6 0"
  std::vector<std::string> calls;
  // Calls, log lines ("TAG|text") and trace lines ("trace|text", without the line feed) in one sequence. "NOT TRACED"
  // stands where a call of the partition storage is not followed by its trace line, and where one comes unasked.
  std::vector<std::string> events;
  std::string owedTrace;  // what the trace line that has to come next says behind its source line

  bool hasXmlService = true, hasDebugLog = true;
  EFI_STATUS locateStatus = EFI_SUCCESS;       // of getProtocolInstanceByGuid
  std::optional<std::uint32_t> announcedSize;  // what getSize says instead of the truth
  bool failWrites = false;                     // streams opened with "w" refuse every byte
  std::size_t openStreams = 0;

  // The nth call (from 1) whose record begins with the prefix gets this answer. One call for each prefix.
  struct Fault {
    std::string prefix;
    std::size_t nth;
    Answer answer;
    std::size_t seen = 0;
  };
  std::vector<Fault> faults;
  void failCall(const std::string &prefix, std::size_t nth = 1, Answer answer = {}) {
    faults.push_back({prefix, nth, answer});
  }

  std::vector<std::string> logTexts(const std::string &tag = "VYXSSIB") const;
  std::size_t countCalls(const std::string &prefix) const;
  void forgetEvents();  // empties calls and events

  std::string file(const std::wstring &name) const;  // contents of a file of VAR025; "<none>" when there is none
  void setFile(const std::wstring &name, const std::string &contents) { files[L"VAR025/" + name] = contents; }
};

// The one platform, new for each test.
Platform &platform();
void resetPlatform();

}  // namespace test
