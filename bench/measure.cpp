// SPDX-License-Identifier: MIT
#include "measure.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>

namespace bench {
namespace {

// What is beyond its bound is measured again: only what is so each time is the library's own doing, not its
// neighbours'.
constexpr int kTries = 4;

// From here on a work's own cost is all that counts, so that growth shows.
constexpr std::size_t kManyJobs = 10000;

// The library's ratios are up to 15 % higher where a word has 32 bits.
constexpr double kRoomForWords = sizeof(void *) == 8 ? 1 : 1.15;

double nowMilliseconds(Clock clock) {
  timespec now = {};
  clock_gettime(clock == Clock::kReal ? CLOCK_MONOTONIC : CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

int roundsFor(std::size_t size) {
  return size >= 100000 ? 5 : size >= 10000 ? 11 : 31;
}

// Makes the heap join what the preparation has freed, which the first large request would otherwise do in the time of
// the work.
void settleHeap() {
  void *volatile block = std::malloc(1 << 20);
  std::free(block);
}

double timeOf(const Way &way, std::size_t size, Clock clock) {
  const Timed timed = way(size);
  std::vector<double> times;
  for (int left = roundsFor(size); left > 0; --left) {
    if (timed.prepare) timed.prepare();
    settleHeap();
    const double begin = nowMilliseconds(clock);
    timed.run();
    times.push_back(nowMilliseconds(clock) - begin);
    if (timed.cleanUp) timed.cleanUp();
  }
  return median(times);
}

struct Row {
  double library = 0;
  std::vector<double> others;
};

Row measureRow(const Work &work, std::size_t size) {
  Row row = {timeOf(work.library, size, work.clock), {}};
  for (const Other &other : work.others) row.others.push_back(timeOf(other.way, size, work.clock));
  return row;
}

bool isBeyond(double ratio, double most) {
  return most != 0 && ratio > most;
}

double mostOf(const Other &other, std::size_t size) {
  return size < other.from ? 0 : other.most * kRoomForWords;
}

bool fits(const Work &work, std::size_t size, const Row &row, double growth) {
  for (std::size_t at = 0; at < work.others.size(); ++at)
    if (isBeyond(row.library / row.others[at], mostOf(work.others[at], size))) return false;
  return !isBeyond(growth, work.mostGrowth);
}

void printRow(const Work &work, std::size_t size, const Row &row, double growth) {
  std::printf("%-24s %7zu %10.3f", work.name.c_str(), size, row.library);
  if (growth != 0) std::printf("  growth %4.1f%s", growth, isBeyond(growth, work.mostGrowth) ? " TOO MUCH" : "");
  std::printf("\n");
  for (std::size_t at = 0; at < work.others.size(); ++at) {
    const double ratio = row.library / row.others[at], most = mostOf(work.others[at], size);
    std::printf("  %-30s %10.3f  ratio %5.2f", work.others[at].name, row.others[at], ratio);
    if (most != 0) std::printf("  at most %.2f", most);
    std::printf("%s\n", isBeyond(ratio, most) ? "  TOO SLOW" : "");
  }
}

struct Close {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

// A line for each time: work, clock, who, jobs, milliseconds, bound of the library's ratio to it.
void keepRow(const Work &work, std::size_t size, const Row &row) {
  const char *path = std::getenv("BENCH_FIGURES");
  const std::unique_ptr<std::FILE, Close> file(path == nullptr ? nullptr : std::fopen(path, "a"));
  if (file == nullptr) return;
  const auto keep = [&](const char *who, double time, double most) {
    std::fprintf(file.get(), "%s\t%s\t%s\t%zu\t%.5f\t%g\n", work.name.c_str(),
                 work.clock == Clock::kReal ? "real" : "processor", who, size, time, most);
  };
  keep("", row.library, work.mostGrowth);
  for (std::size_t at = 0; at < work.others.size(); ++at)
    keep(work.others[at].name, row.others[at], mostOf(work.others[at], size));
}

}  // namespace

bool measure(const Work &work) {
  bool good = true;
  double before = 0;
  for (const std::size_t size : work.sizes) {
    Row row = measureRow(work, size);
    const auto growth = [&] { return size >= kManyJobs ? row.library / before : 0; };
    for (int again = kTries - 1; !fits(work, size, row, growth()) && again > 0; --again) row = measureRow(work, size);
    printRow(work, size, row, growth());
    keepRow(work, size, row);
    good = good && fits(work, size, row, growth());
    before = row.library;
  }
  std::fflush(stdout);
  return good;
}

}  // namespace bench
