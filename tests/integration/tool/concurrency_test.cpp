// SPDX-License-Identifier: MIT
// Many processes on one queue, and processes that are killed.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <random>
#include <set>
#include <thread>

#include "tool.h"

namespace vyx::test {
namespace {

using Clock = std::chrono::steady_clock;

class Concurrency : public ToolTest {
 protected:
  std::ptrdiff_t temporaries() const {
    const auto isTemporary = [](const std::filesystem::directory_entry &item) {
      const std::string name = item.path().filename();
      return name.front() == '.' && name != ".lock";
    };
    return std::count_if(std::filesystem::directory_iterator(partition()), {}, isTemporary);
  }
};

std::multiset<std::string> namesUpTo(int count) {
  std::multiset<std::string> names;
  for (int i = 0; i < count; ++i) names.insert("J" + std::to_string(i));
  return names;
}

std::vector<std::string> jobIds(const Json &entries) {
  std::vector<std::string> ids;
  ids.reserve(entries.size());
  for (const Json &entry : entries) ids.push_back(entry.at("Job_ID"));
  return ids;
}

TEST_F(Concurrency, AddsStartedTogetherAllArrive) {
  constexpr int kAdds = 200;
  std::vector<Process> adds;
  adds.reserve(kAdds);
  for (int i = 0; i < kAdds; ++i) adds.push_back(start("add --job-id J" + std::to_string(i)));
  for (Process &add : adds) expectOutcome(add.wait(), 0, "", "");
  const std::vector<std::string> ids = jobIds(list());
  EXPECT_EQ(std::multiset<std::string>(ids.begin(), ids.end()), namesUpTo(kAdds));
}

TEST_F(Concurrency, AddsRacingTakesLoseNothingAndGiveNothingTwice) {
  constexpr int kPairs = 60;
  std::vector<Process> adds, takes, reads;
  for (int i = 0; i < kPairs; ++i) {
    adds.push_back(start("add --job-id J" + std::to_string(i)));
    takes.push_back(start("take --json"));
    if (i % 3 == 0) reads.push_back(start("list"));
  }
  for (Process &add : adds) expectOutcome(add.wait(), 0, "", "");
  std::multiset<std::string> seen;
  for (Process &take : takes) {
    const Outcome outcome = take.wait();
    ASSERT_TRUE(outcome.exit == 0 || outcome.exit == 1) << outcome.err;
    if (outcome.exit == 0) seen.insert(Json::parse(outcome.out).at("Job_ID").get<std::string>());
  }
  for (Process &read : reads) EXPECT_EQ(read.wait().exit, 0);
  EXPECT_FALSE(seen.empty());
  for (const std::string &id : jobIds(list())) seen.insert(id);
  EXPECT_EQ(seen, namesUpTo(kPairs));
}

TEST_F(Concurrency, AProducerKilledAtAnyMomentLosesNoJobThatWasAcknowledged) {
  constexpr int kKills = 200;
  const std::uint32_t seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto begin = Clock::now();
  done("add --job-id J0");
  const auto lasts = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin).count();
  std::vector<std::string> stored = {"J0"};
  int acknowledged = 0;
  for (int i = 1; i <= kKills; ++i) {
    const std::string id = "J" + std::to_string(i);
    Process producer = start("add --job-id " + id);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % static_cast<std::uint64_t>(2 * lasts)));
    producer.kill();
    const bool isAcknowledged = producer.wait().exit == 0;
    acknowledged += isAcknowledged;
    const std::vector<std::string> found = jobIds(list());
    if (isAcknowledged || found.size() > stored.size()) stored.push_back(id);
    ASSERT_EQ(found, stored) << "after kill " << i;
    ASSERT_LE(temporaries(), 1) << "after kill " << i;
  }
  done("add --job-id last");
  EXPECT_EQ(temporaries(), 0);
  std::cout << stored.size() - 1 << " of " << kKills << " stored, " << acknowledged << " acknowledged\n";
}

}  // namespace
}  // namespace vyx::test
