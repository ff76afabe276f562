// SPDX-License-Identifier: MIT
#include "interruption.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <iterator>

namespace tool {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM};

volatile std::sig_atomic_t seen = 0;
volatile std::sig_atomic_t group = 0;

void onSignal(int signal) {
  const int error = errno;
  if (seen > 0 && group > 0) kill(-static_cast<pid_t>(group), signal);
  seen = 1 + (seen > 0 ? 1 : 0);
  errno = error;
}

}  // namespace

void catchInterruptions() {
  for (const int signal : kSignals) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = onSignal;
    for (const int other : kSignals) sigaddset(&action.sa_mask, other);
    sigaction(signal, &action, nullptr);
  }
}

bool isInterrupted() {
  return seen > 0;
}

bool isInterruptedAgain() {
  return seen > 1;
}

void passInterruptionsTo(pid_t processes) {
  group = processes;
}

bool isReaderGone() {
  pollfd output = {STDOUT_FILENO, 0, 0};
  return poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0;
}

// The signals are let in by the wait alone: none comes between the look and the wait.
void pauseFor(std::uint32_t milliseconds, int file) {
  sigset_t blocked, before;
  sigemptyset(&blocked);
  for (const int signal : kSignals) sigaddset(&blocked, signal);
  sigprocmask(SIG_BLOCK, &blocked, &before);
  if (!isInterrupted()) {
    const timespec wait = {static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
    pollfd awaited[] = {{file, POLLIN, 0}, {isReaderGone() ? -1 : STDOUT_FILENO, 0, 0}};
    ppoll(awaited, std::size(awaited), &wait, &before);
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace tool
