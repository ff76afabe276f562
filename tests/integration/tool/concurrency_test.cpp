// SPDX-License-Identifier: MIT
// Many processes on one queue, and processes that are killed.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <functional>
#include <random>
#include <set>
#include <thread>

#include "tool.h"

namespace vyx::test {
namespace {

using Clock = std::chrono::steady_clock;

class Concurrency : public ToolTest {
 protected:
  static Process startAdd(int id) { return start("add --job-id " + std::to_string(id)); }
  static std::vector<int> stored() {
    std::vector<int> ids;
    for (const std::string &id : words(column("Job_ID"))) ids.push_back(std::stoi(id));
    return ids;
  }
  static void expectDistinct(const std::vector<int> &ids, std::size_t count) {
    EXPECT_EQ(ids.size(), count);
    EXPECT_EQ(std::set<int>(ids.begin(), ids.end()).size(), count);
  }
};

TEST_F(Concurrency, AddsStartedTogetherAllArrive) {
  std::vector<Process> adds;
  adds.reserve(200);
  for (int i = 0; i < 200; ++i) adds.push_back(startAdd(i));
  for (const Process &add : adds) expectOutcome(wait(add), 0, "", "");
  expectDistinct(stored(), 200);
}

TEST_F(Concurrency, AddsRacingTakesLoseNothingAndGiveNothingTwice) {
  std::vector<Process> adds, takes, reads;
  for (int i = 0; i < 60; ++i) {
    adds.push_back(startAdd(i));
    takes.push_back(start("take --json"));
    if (i % 6 == 0) reads.push_back(start("list"));
  }
  for (const Process &add : adds) expectOutcome(wait(add), 0, "", "");
  for (const Process &read : reads) EXPECT_EQ(wait(read).exit, 0);
  std::vector<int> seen;
  for (const Process &take : takes) {
    const Outcome outcome = wait(take);
    EXPECT_TRUE(outcome.exit == 0 || outcome.exit == 1) << outcome.err;
    if (outcome.exit == 0) seen.push_back(std::stoi(Json::parse(outcome.out).at("Job_ID").get<std::string>()));
  }
  EXPECT_FALSE(seen.empty());
  for (const int id : stored()) seen.push_back(id);
  expectDistinct(seen, 60);
}

TEST_F(Concurrency, AProducerKilledAtAnyMomentLosesNoJobThatWasStored) {
  const auto seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto begin = Clock::now();
  done("add --job-id 0");
  const auto longest = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin).count() * 3 / 2;
  std::set<int> kept = {0};  // acknowledged, or seen in the queue
  for (int i = 1; i <= 200; ++i) {
    SCOPED_TRACE("kill " + std::to_string(i));
    const Process producer = startAdd(i);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % static_cast<std::uint64_t>(longest)));
    kill(producer.id, SIGKILL);
    const int exit = wait(producer).exit;
    ASSERT_TRUE(exit == 0 || exit == -SIGKILL) << exit;  // a damaged queue would be refused
    ASSERT_LE(temporaries(), 1);
    if (exit == 0) kept.insert(i);
    if (i % 20 != 0) continue;
    const std::vector<int> found = stored();
    ASSERT_TRUE(std::adjacent_find(found.begin(), found.end(), std::greater_equal<>()) == found.end());
    ASSERT_TRUE(std::includes(found.begin(), found.end(), kept.begin(), kept.end()));
    kept.insert(found.begin(), found.end());
  }
  done("add --job-id 201");
  EXPECT_EQ(temporaries(), 0);
}

}  // namespace
}  // namespace vyx::test
