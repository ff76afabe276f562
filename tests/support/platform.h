// SPDX-License-Identifier: MIT
// The platform of the unit tests: partition storage in memory, the stand-in's XML service behind counters, and a record
// of everything that the library says and asks for. It behaves as the real one does, and fails when told to.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "VyxSSIBBackend.h"

namespace test {

// One line of the debug log.
struct LogLine {
  std::uint32_t level;
  std::string tag;
  std::string format;  // as the library passed it
  std::string text;    // with its values; "%d" prints an int, "%x" hexadecimal digits, "%r" 0x and eight of them
};

// What a platform call answers instead of doing its work.
struct Answer {
  EFI_STATUS status = EFI_DEVICE_ERROR;
  bool withResult = false;  // the stream (the node, the image) is handed out all the same
};

struct Platform {
  std::map<std::wstring, std::string> files;  // by "VAR025/Main.ssib"
  std::vector<std::string> calls;             // "open VAR025/Main.ssib r", "close VAR025 r", "delete ...", "getSize",
                                   // "ParseImage", "SerializeTree", "CreateNode", "DeleteTree", "set NAME 6 0"
  std::vector<LogLine> log;
  std::vector<std::string> trace;   // formatted lines of quorprintf, without the line feed
  std::vector<int> traceLines;      // the source line of each
  std::vector<std::string> events;  // calls, log texts ("TAG|text") and traces in one sequence

  bool hasXmlService = true;
  bool hasDebugLog = true;
  EFI_STATUS locateStatus = EFI_SUCCESS;       // of getProtocolInstanceByGuid
  std::optional<std::uint32_t> announcedSize;  // what getSize says instead of the truth
  bool failWrites = false;                     // streams opened with "w" refuse every byte
  int configurationResult = 0;

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

  std::size_t openStreams = 0;

  std::vector<std::string> logTexts(const std::string &tag = "VYXSSIB") const;
  std::vector<std::string> logFormats() const;
  std::size_t countCalls(const std::string &prefix) const;
  void forgetEvents();  // empties calls, log, trace and events

  std::string file(const std::wstring &name) const;  // contents of a file of VAR025; "<none>" when there is none
  void setFile(const std::wstring &name, const std::string &contents);
};

// The one platform, new for each test.
Platform &platform();
void resetPlatform();

}  // namespace test
