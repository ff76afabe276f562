// SPDX-License-Identifier: MIT
// The keys of a task list's objects. Writer, reader and messages all go by this table.
#pragma once

#include <string_view>

#include "ssib_if2_backend/entry.h"

namespace ssib {

struct JsonKey {
  std::string_view quoted;     // as it stands in the document
  std::string_view lineStart;  // what the writer puts in front of the value
  StringField field;
};

#define SSIB_KEY(name, member)                                                  \
  JsonKey {                                                                     \
    "\"" name "\"", "      \"" name "\" : \"", stringField(&SSIB_ENTRY::member) \
  }

// In the order of the document.
inline constexpr JsonKey kKeys[] = {
    SSIB_KEY("JobType", Job_Type),
    SSIB_KEY("DisplayName", Display_Name),
    SSIB_KEY("FQDD", FQDD),
    SSIB_KEY("JOBID", Job_ID),
    SSIB_KEY("ResourceURI", Resource_URI),
    SSIB_KEY("ResourceType", Resource_Type),
    SSIB_KEY("ResourceNamespace", Resource_Namespace),
    SSIB_KEY("TargetVersion", Target_Version),
};

#undef SSIB_KEY

}  // namespace ssib
