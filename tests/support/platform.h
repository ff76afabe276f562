// SPDX-License-Identifier: MIT
// The platform of the unit tests: partition storage in memory, the stand-in's XML service with a record of its calls,
// and all that the library reports. It behaves as the real one does, and fails when it has to.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "VyxSSIBBackend.h"

namespace test {

// A platform call that does not do its work: the nth (from 1; 0: each) whose record begins with the prefix.
struct Fault {
  std::string prefix;
  std::size_t nth = 1;
  EFI_STATUS status = EFI_DEVICE_ERROR;
  std::string result =
      {};  // "handed": the stream (the tree, the image) all the same; "textless": an image without a text
  std::size_t seen = 0;
};

struct Platform {
  std::map<std::string, std::string> files;  // by "VAR025/Main.ssib"
  // "open VAR025/Main.ssib r", "close VAR025 r", "delete VAR025/Main.ssib", "getSize", "ParseImage", "SerializeTree",
  // "CreateNode NAME", "DeleteTree", "set NAME 6 0"
  std::vector<std::string> calls;
  // Calls, and log lines as "|TEXT" ("TAG|TEXT" for a tag of its own), in one sequence. The trace line that has to
  // follow a call is left out, but for a source other than "ssib_if2_backend", as in "open VAR025/a.json w (json)".
  // "NOT TRACED" stands where it is missing, wrong or unasked.
  std::vector<std::string> events;
  std::set<std::string> callSites;  // "ssib_if2_backend:51", of the trace
  std::string owedTrace;            // the rest of the trace line that has to come next
  std::size_t blocksAtClose = 0;    // on the heap when the last stream was closed
  bool isNamedAtClose = false;      // whether the handle still had its file name then

  bool hasXmlService = true, hasDebugLog = true,
       hasArray = true;                        // without: a service is announced, but not handed out
  EFI_STATUS locateStatus = EFI_SUCCESS;       // of getProtocolInstanceByGuid
  std::optional<std::uint32_t> announcedSize;  // what getSize answers instead of the truth
  bool failWrites = false;                     // streams opened with "w" refuse every byte
  std::size_t openStreams = 0;
  std::optional<Fault> fault;

  void forgetEvents();             // empties calls and events
  std::string transcript() const;  // the events, a line each; a line feed inside one is "\n"
};

// The one platform, new for each test.
Platform &platform();
void resetPlatform();

std::wstring wide(const std::string &text);
std::string narrow(const std::wstring &text);

}  // namespace test
