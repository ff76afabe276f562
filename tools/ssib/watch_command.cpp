// SPDX-License-Identifier: MIT
// watch: what comes, goes and changes in a queue, by comparing what is in its file with what was there before.
#include <csignal>
#include <optional>

#include "commands.h"
#include "difference.h"
#include "host.h"
#include "interruption.h"
#include "open_queue.h"
#include "output.h"
#include "partition_watch.h"
#include "values.h"

namespace tool {
namespace {

// The fields that say something: numbers other than 0 and texts that are not empty.
std::string fieldsInLine(const Queue &queue, std::size_t place) {
  std::string out;
  for (const Field &field : fields()) {
    const Value value = valueOf(queue.form(), field, *queue.elements[place]);
    if (!value || *value == (field.kind == Field::Kind::Number ? "0" : "")) continue;
    out += (out.empty() ? "" : ", ") + std::string(field.name) + ": " + escaped(*value);
  }
  return out;
}

void say(const Request &request, const Queue &queue, std::size_t number, const char *event,
         const std::string &changed = "") {
  if (request.json) return print(eventAsJson(queue, number - 1, event, changed));
  const std::string how = changed.empty() ? event : event + (" in " + changed);
  print("entry " + std::to_string(number) + " " + how + ": " + fieldsInLine(queue, number - 1) + "\n");
}

void sayDifferences(const Request &request, const Queue &before, const Queue &now) {
  for (const auto &[first, second, changed] : differencesOf(before, now)) {
    if (second == 0) {
      say(request, before, first, "went");
    } else if (first == 0) {
      say(request, now, second, "came");
    } else if (!changed.empty()) {
      say(request, now, second, "changed", changed);
    }
  }
}

// The queue as one write left it; none when it cannot be read.
std::optional<Queue> readNow(const Request &request) {
  static std::string problem;  // the last one, which is reported once
  try {
    for (int again = 10;; --again) {
      Queue queue(request.queue, Queue::Access::Unlocked);
      if (!queue.isCurrent() && again > 0) continue;
      problem.clear();
      return queue;
    }
  } catch (const Stop &stop) {
    if (problem != stop.what()) complain(&request, request.json, stop);
    problem = stop.what();
    return std::nullopt;
  }
}

// Looks once. Each write of which no look has seen the file was missed; the look may have come before or after it.
void look(const Request &request, std::size_t writes, std::optional<Queue> &last) {
  const bool isNew = !last->isCurrent();
  if (writes > (isNew ? 1U : 0U)) {
    complain(&request, request.json,
             Stop(Exit::Done, request.queue.shown() + " was written more than once between two looks; what was there "
                                                      "only in between is not shown"));
  }
  if (!isNew) return;
  std::optional<Queue> now = readNow(request);
  if (!now) return;
  sayDifferences(request, *last, *now);
  last = std::move(now);
}

}  // namespace

Exit watchQueue(const Request &request) {
  if (request.queue.place() != nullptr && request.queue.place()->isInput()) {
    throw Stop(Exit::Usage, "standard input does not change");
  }
  std::signal(SIGPIPE, SIG_IGN);
  catchInterruptions();
  PartitionWatch watch(request.queue);
  std::optional<Queue> last(openToLook(request.queue));
  watch.changes();  // whatever was written before that look
  try {
    look(request, 0, last);
    while (!isInterrupted() && !isReaderGone()) look(request, watch.wait(), last);
  } catch (const Stop &) {
    if (!isReaderGone()) throw;
  }
  return Exit::Done;
}

}  // namespace tool
