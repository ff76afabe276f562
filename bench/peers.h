/* SPDX-License-Identifier: MIT */
// Others that do a work of the library: general libraries, each in a file of its own, which is linked when the machine
// has its package.
#pragma once

#include <string_view>

#include "measure.h"

namespace bench {

// Whether the program is linked with the platform that does next to nothing.
#ifdef BENCH_NULL_PLATFORM
constexpr bool kOnNullPlatform = true;
#else
constexpr bool kOnNullPlatform = false;
#endif

// Names of works in which peers take part.
inline constexpr std::string_view kXmlCycle = "XML cycle", kTaskListCycle = "task list cycle",
                                  kXmlSyncedCycle = "XML cycle, synced",
                                  kTaskListSyncedCycle = "task list cycle, synced", kXmlOpen = "XML open",
                                  kXmlFlush = "XML flush", kXmlParse = "XML service, parse",
                                  kTaskListOpen = "task list open", kTaskListFlush = "task list flush";

// Defined at namespace scope, an object of this makes another one known.
struct Peer {
  Peer(std::string_view work, const Other &other);
};

std::vector<Other> peersOf(std::string_view work);

}  // namespace bench
