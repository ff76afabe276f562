// SPDX-License-Identifier: MIT
// Runs programs from tests: arguments, environment, what they print, how they end.
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace vyx::test {

using Arguments = std::vector<std::string>;
using Environment = std::vector<std::pair<std::string, std::string>>;

struct Outcome {
  int exit = -1;   // -1 when a signal ended the process
  int signal = 0;  // 0 when it exited by itself
  std::string out;
  std::string err;
};

/** A running program. One that nobody has waited for is killed and collected with the object. */
class Process {
 public:
  /**
   * Starts a program, which is found along PATH, with standard input empty. `changes` are made to this process's
   * environment. Standard output goes to the file `outPath`, or to wait() when that is empty; both outputs are pipes.
   */
  explicit Process(const Arguments &program, const Environment &changes = {}, const std::string &outPath = "");
  Process(Process &&other) noexcept;
  Process(const Process &) = delete;
  Process &operator=(const Process &) = delete;
  Process &operator=(Process &&) = delete;
  ~Process();

  void kill() const;
  /** Reads what the program prints until it has ended. */
  Outcome wait();

 private:
  pid_t pid_ = -1;
  int out_ = -1;  // the pipes' ends to read from
  int err_ = -1;
};

/** `program` behind the emulator that this build's programs need, if any. */
Arguments emulated(Arguments program);

/** True when a program of that name stands in PATH. */
bool isInstalled(const std::string &name);

}  // namespace vyx::test
