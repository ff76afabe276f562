// SPDX-License-Identifier: MIT
#include "support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace vyx::test {
namespace {

struct Pipe {
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
    read = ends[0];
    write = ends[1];
  }
  ~Pipe() { close(write); }
  Pipe(const Pipe &) = delete;
  Pipe &operator=(const Pipe &) = delete;

  int read, write;
};

// Appends what a pipe holds; false when that was the end, and the pipe is left out of the next poll.
bool drain(pollfd &source, std::string &text) {
  char block[4096];
  const ssize_t length = read(source.fd, block, sizeof(block));
  if (length > 0) text.append(block, static_cast<std::size_t>(length));
  if (length <= 0) source.fd = -1;
  return length > 0;
}

void drainBoth(int out, int err, Outcome &outcome) {
  pollfd sources[] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
  std::string *const texts[] = {&outcome.out, &outcome.err};
  for (int open = 2; open > 0;) {
    poll(sources, 2, -1);
    for (int i = 0; i < 2; ++i) {
      if (sources[i].fd >= 0 && sources[i].revents != 0 && !drain(sources[i], *texts[i])) --open;
    }
  }
}

std::vector<std::string> changedEnvironment(const Environment &changes) {
  std::vector<std::string> variables;
  for (char **variable = environ; *variable != nullptr; ++variable) variables.emplace_back(*variable);
  for (const auto &change : changes) {
    const std::string prefix = change.first + "=";
    std::erase_if(variables, [&](const std::string &variable) { return variable.starts_with(prefix); });
    variables.push_back(prefix + change.second);
  }
  return variables;
}

std::vector<char *> pointersTo(std::vector<std::string> &texts) {
  std::vector<char *> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string &text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

Process::Process(const Arguments &program, const Environment &changes, const std::string &outPath) {
  const Pipe out, err;
  out_ = out.read;
  err_ = err.read;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out.write, STDOUT_FILENO);
  if (!outPath.empty()) posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, err.write, STDERR_FILENO);
  Arguments arguments = program;
  std::vector<std::string> variables = changedEnvironment(changes);
  const int error = posix_spawnp(&pid_, arguments[0].c_str(), &actions, nullptr, pointersTo(arguments).data(),
                                 pointersTo(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("cannot start " + arguments[0]);
}

Process::Process(Process &&other) noexcept
    : pid_(std::exchange(other.pid_, -1)), out_(std::exchange(other.out_, -1)), err_(std::exchange(other.err_, -1)) {}

Process::~Process() {
  if (pid_ > 0) {
    kill();
    waitpid(pid_, nullptr, 0);
  }
  if (out_ >= 0) close(out_);
  if (err_ >= 0) close(err_);
}

void Process::kill() const {
  ::kill(pid_, SIGKILL);
}

Outcome Process::wait() {
  Outcome outcome;
  drainBoth(out_, err_, outcome);
  int status = 0;
  waitpid(std::exchange(pid_, -1), &status, 0);
  if (WIFEXITED(status)) outcome.exit = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
  return outcome;
}

Arguments emulated(Arguments program) {
  std::istringstream words(VYX_EMULATOR);
  Arguments command;
  for (std::string word; words >> word;) command.push_back(word);
  std::move(program.begin(), program.end(), std::back_inserter(command));
  return command;
}

bool isInstalled(const std::string &name) {
  const char *path = std::getenv("PATH");
  std::istringstream directories(path == nullptr ? "" : path);
  for (std::string directory; std::getline(directories, directory, ':');) {
    if (access((std::filesystem::path(directory) / name).c_str(), X_OK) == 0) return true;
  }
  return false;
}

}  // namespace vyx::test
