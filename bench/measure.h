/* SPDX-License-Identifier: MIT */
// Measuring a work at several sizes: the library's time beside that of others who do the same.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

// Only `run` is timed. The other two may be empty.
struct Timed {
  std::function<void()> prepare, run, cleanUp;
};

// How a work is done at a size: so many jobs.
using Way = std::function<Timed(std::size_t)>;

struct Other {
  const char *name;
  Way way;
  double most = 0;       // so many times as long as the other the library may take on 64-bit words; 0: it is only shown
  std::size_t from = 0;  // from so many jobs on; below, fixed costs decide
};

// Processor time is the library's own doing, whatever else the machine does; a wait for the disk shows only in the time
// that passes.
enum class Clock { kProcessor, kReal };

struct Work {
  std::string name;
  std::vector<std::size_t> sizes;
  Way library;
  std::vector<Other> others;
  double mostGrowth = 0;  // so many times as long for ten times the jobs, when these are many; 0: any
  Clock clock = Clock::kProcessor;
};

// Prints a row for each size, and adds it to the file that BENCH_FIGURES names. False when a ratio is beyond its bound
// each time that it is measured.
bool measure(const Work &work);

}  // namespace bench
