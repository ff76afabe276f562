/* SPDX-License-Identifier: MIT */
// The rules for names in a document that is being written.
#pragma once

#include <expat.h>

#include <cstddef>

#include "XmlService.h"

namespace vyx::platform {

// An expat parser on the process heap; null when there is no memory.
XML_Parser newParser();

// Takes the names of a document one by one, before it is known which encoding the document will need.
class NameCheck {
 public:
  NameCheck() = default;
  NameCheck(const NameCheck &) = delete;
  NameCheck &operator=(const NameCheck &) = delete;
  ~NameCheck();

  // EFI_INVALID_PARAMETER when no encoding makes this a name.
  EFI_STATUS add(const char *name);

  // Whether all names added are names in that encoding.
  bool fitUtf8() const { return utf8_; }
  bool fitSingleBytes() const { return singleBytes_; }

 private:
  EFI_STATUS ask(const char *name, bool singleBytes, bool &answer);

  bool utf8_ = true, singleBytes_ = true;
  XML_Parser parser_ = nullptr;  // made for the first name with bytes above 0x7F
};

// Whether a name occurs twice. Reorders long lists.
bool anyRepeats(const char **names, std::size_t count);

}  // namespace vyx::platform
