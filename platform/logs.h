// SPDX-License-Identifier: MIT
// The debug-log service, which is there only when somebody asks for it in QUOR_DEBUG.
#pragma once

namespace vyx::platform {

// Gives the service, null when QUOR_DEBUG is empty or not set. "stderr" sends its lines there; any other value is the
// path of a file that they are appended to; throws EFI_DEVICE_ERROR when that cannot be opened. The last look-up
// decides for all who hold the service. Each message is one line, "TAG: text"; level and reserved slots have no
// meaning.
void *findDebugLog();

}  // namespace vyx::platform
