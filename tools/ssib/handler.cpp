// SPDX-License-Identifier: MIT
#include "handler.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "descriptor.h"
#include "host.h"
#include "interruption.h"
#include "stop.h"

namespace tool {
namespace {

[[noreturn]] void fail(const std::vector<std::string> &command, int error) {
  throw Stop(Exit::Refused, "cannot start " + escaped(command.front()) + ": " + std::strerror(error));
}

// A file in memory, not a pipe: the command may end before it has read, or never read at all.
bool fill(int file, const std::string &text) {
  return writeAll(file, text) && lseek(file, 0, SEEK_SET) == 0;
}

std::vector<std::string> environmentWith(const Variables &variables) {
  const auto isNamed = [&](std::string_view setting) {
    return std::ranges::any_of(variables, [&](const auto &variable) {
      return setting.starts_with(variable.first) && setting.substr(variable.first.size()).starts_with('=');
    });
  };
  std::vector<std::string> settings;
  for (char **setting = environ; *setting != nullptr; ++setting) {
    if (!isNamed(*setting)) settings.emplace_back(*setting);
  }
  for (const auto &[name, value] : variables) {
    if (value) settings.push_back(name + "=" + *value);
  }
  return settings;
}

std::vector<char *> pointersTo(std::vector<std::string> &texts) {
  std::vector<char *> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string &text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// In the child. What keeps the command from being started is written to `report`.
[[noreturn]] void become(char *const *arguments, char *const *environment, int input, int report) {
  setpgid(0, 0);
  std::signal(SIGPIPE, SIG_DFL);
  if (dup2(input, STDIN_FILENO) >= 0) execvpe(arguments[0], arguments, environment);
  const int error = errno;
  _exit(write(report, &error, sizeof(error)) == sizeof(error) ? 127 : 126);
}

int waitFor(pid_t child) {
  siginfo_t info;
  while (waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) continue;
  passInterruptionsTo(0);  // before its number can become another's
  int status = 0;
  waitpid(child, &status, 0);
  return status;
}

}  // namespace

std::string Ending::text() const {
  if (WIFSIGNALED(status)) return "was ended by signal " + std::to_string(WTERMSIG(status));
  return "ended with exit status " + std::to_string(WEXITSTATUS(status));
}

Ending runCommand(const std::vector<std::string> &command, const Variables &variables, const std::string &text) {
  const Descriptor input(memfd_create("entry", MFD_CLOEXEC));
  int ends[2] = {-1, -1};
  if (input.get() < 0 || !fill(input.get(), text) || pipe2(ends, O_CLOEXEC) != 0) fail(command, errno);
  const Descriptor reading(ends[0]);
  std::vector<std::string> words = command, settings = environmentWith(variables);
  const std::vector<char *> arguments = pointersTo(words), environment = pointersTo(settings);
  const pid_t child = fork();
  if (child == 0) become(arguments.data(), environment.data(), input.get(), ends[1]);
  const int forkError = errno;
  close(ends[1]);
  if (child < 0) fail(command, forkError);
  setpgid(child, child);
  passInterruptionsTo(child);
  int error = 0;
  ssize_t count = 0;
  while ((count = read(reading.get(), &error, sizeof(error))) < 0 && errno == EINTR) continue;
  const int status = waitFor(child);
  if (count > 0) fail(command, error);
  return {status};
}

}  // namespace tool
