/* SPDX-License-Identifier: MIT */
// The least that the library's contract costs: the same platform calls, the same allocations and the same bytes, with
// nothing between them.
#pragma once

#include "jobs.h"
#include "measure.h"

namespace bench {

Way boundOpen(Form form);
Way boundFlush(Form form);
Way boundWalk();
Way boundAdd();

}  // namespace bench
