// SPDX-License-Identifier: MIT
// Runs the tool, each test in a flash of its own.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace vyx::test {

using Json = nlohmann::ordered_json;
using Arguments = std::vector<std::string>;

inline const std::string kTaskList = "BIOS_task_list.json";
inline const std::string kQueues[] = {"Main.ssib", kTaskList};

/** A running program, and the ends of its pipes to read from. */
struct Process {
  pid_t id;
  int out, err;
};

struct Outcome {
  int exit;  // the negative number of the signal that ended it, if one did; 127 when there is no such program
  std::string out, err;
};

/** Starts a program, which is found along PATH. Each must be waited for. */
Process startProgram(const Arguments &program);
/** Reads what the program prints until it has ended. */
Outcome wait(const Process &process);

Arguments words(const std::string &line);

void expectOutcome(const Outcome &outcome, int exit, const std::string &out, const std::string &err);
/** The command was refused with `exit` and a message that holds `message`; it printed nothing. */
void expectRefused(const Outcome &outcome, int exit, const std::string &message);

class ToolTest : public ::testing::Test {
 protected:
  ToolTest();
  /** A test leaves nothing of the platform's own behind: no temporary file beside the queues. */
  ~ToolTest() override;

  /** Runs `ssib`; `line` is split at blanks, `more` is taken as it is. */
  static Process start(const std::string &line, const Arguments &more = {});
  static Outcome ssib(const std::string &line, const Arguments &more = {}) { return wait(start(line, more)); }
  /** Runs the tool under sh, with `before` executed first: redirections, limits. */
  static Outcome ssibAfter(const std::string &before, const std::string &line, const Arguments &more = {});
  /** A command that must succeed without a word. */
  static void done(const std::string &line, const Arguments &more = {});
  static Json list(const std::string &queue = "Main.ssib");
  /** What each entry of the queue has in a field, in order; "-" when it has none. */
  static std::string column(const std::string &field, const std::string &queue = "Main.ssib");

  /** Writes the queue's file: elements that differ in identifier and FQDD, or in what stands behind `places`. */
  void fill(const std::string &queue, const Arguments &names,
            const Arguments &places = {"JOB_ID=\"", "JOBID\":\"", "FQDD\":\""}) const;
  void write(const std::string &queue, const std::string &content) const;
  std::string bytes(const std::string &queue) const;
  std::filesystem::path file(const std::string &queue) const { return partition / queue; }
  /** Files with a leading dot, apart from the lock. */
  std::ptrdiff_t temporaries() const;

  const std::filesystem::path root, partition;
};

}  // namespace vyx::test
