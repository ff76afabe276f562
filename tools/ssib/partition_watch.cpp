// SPDX-License-Identifier: MIT
#include "partition_watch.h"

#include <sys/inotify.h>

#include "interruption.h"

namespace tool {
namespace {

// A file that is replaced moves to its name, and may be closed before or after that: one write, not two.
constexpr std::uint32_t kChanges = IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
constexpr std::uint32_t kDirectoryIsGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED;

}  // namespace

PartitionWatch::PartitionWatch(const QueueName &name) : directory_(directoryOf(name)), file_(name.plain()) {
  start();
}

// False while there is no directory, or when the system has no more watches to give.
bool PartitionWatch::start() {
  events_ = Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (inotify_add_watch(events_.get(), directory_.c_str(), kChanges | IN_CLOSE_WRITE | kDirectoryIsGone | IN_ONLYDIR) >=
      0)
    return true;
  events_ = Descriptor();
  return false;
}

std::size_t PartitionWatch::wait() {
  constexpr std::uint32_t kSafetyNet = 10'000, kWithoutEvents = 1'000;
  if (events_.get() < 0 && start()) return 0;  // to be looked at: what happened before is not known
  pauseFor(events_.get() < 0 ? kWithoutEvents : kSafetyNet, events_.get());
  return events_.get() < 0 ? 0 : changes();
}

std::size_t PartitionWatch::changes() {
  alignas(inotify_event) char buffer[16384];
  std::size_t changes = 0;
  for (ssize_t size = 0; (size = read(events_.get(), buffer, sizeof(buffer))) > 0;) {
    for (const char *at = buffer; at < buffer + size;) {
      const auto *event = reinterpret_cast<const inotify_event *>(at);
      at += sizeof(inotify_event) + event->len;
      if ((event->mask & kDirectoryIsGone) != 0) {
        events_ = Descriptor();
        return changes;
      }
      if ((event->mask & kChanges) != 0 && event->len != 0 && file_ == event->name) ++changes;
    }
  }
  return changes;
}

}  // namespace tool
