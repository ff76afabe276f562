// SPDX-License-Identifier: MIT
// run: hands jobs to another command, one after another. No lock is held while that works, so that others can use the
// queue; what it has handled is looked for again before it is removed.
#include <algorithm>
#include <cctype>
#include <csignal>
#include <optional>

#include "commands.h"
#include "handler.h"
#include "host.h"
#include "interruption.h"
#include "locks.h"
#include "open_queue.h"
#include "partition_watch.h"
#include "values.h"

namespace tool {
namespace {

std::string variableOf(const char *field) {
  std::string name = std::string("SSIB_") + field;
  std::ranges::transform(name, name.begin(), [](unsigned char letter) { return std::toupper(letter); });
  return name;
}

// The system limits what one variable holds, and what all hold together.
Variables variablesOf(const Queue &queue, std::size_t place) {
  constexpr std::size_t kLongest = 65536;
  const QueueName &name = queue.name();
  Variables variables = {
      {variableOf("Queue"), name.place() != nullptr ? directoryOf(name) + "/" + name.plain() : name.plain()}};
  for (const Field &field : fields()) {
    Value value = valueOf(queue.form(), field, *queue.elements[place]);
    if (value && value->size() > kLongest) value.reset();
    variables.emplace_back(variableOf(field.name), std::move(value));
  }
  return variables;
}

// With its identifier: by the time that somebody looks, the number may be another one's.
std::string describe(const Queue &queue, std::size_t place) {
  const Value identifier = valueOf(queue.form(), *findField("Job_ID"), *queue.elements[place]);
  return "entry " + std::to_string(place + 1) + (identifier ? " (Job_ID " + escaped(*identifier) + ")" : "") + " of " +
         queue.name().shown();
}

class Runner {
 public:
  explicit Runner(const Request &request)
      : request_(request), alone_(request.queue), watch_(request.queue), queue_(openQueue()) {}

  Exit run();

 private:
  Queue openQueue() const;
  std::optional<std::size_t> firstPlace() const;
  std::optional<std::size_t> findAgain(std::size_t place);
  Ending tryCommand(std::size_t place) const;
  void handle(std::size_t place);
  void settle(std::size_t place, const Ending &ending);
  void end(std::optional<std::size_t> place, const Ending &ending, const std::string &entry);
  void lookAgain();
  void note(Exit exit, const std::string &text);
  bool goesOn() const { return request_.everything || request_.follow; }

  const Request &request_;
  const RunLock alone_;
  PartitionWatch watch_;  // from before the first look on
  Queue queue_;
  std::optional<Exit> outcome_;  // none before the first job
};

// Reads under the lock. What could not be removed later is refused now, before a command handles it.
Queue Runner::openQueue() const {
  const ChangeLock lock({request_.queue});
  return openToChange(request_.queue, request_.force);
}

std::optional<std::size_t> Runner::firstPlace() const {
  for (std::size_t i = 0; i < queue_.elements.size(); ++i) {
    if (matchesAll(queue_.form(), request_.selection.matches, *queue_.elements[i])) return i;
  }
  return std::nullopt;
}

// Looks in the queue as it is now for the job that was at that place, nearest to it: the same in all fields, or as a
// write of another command gives it back, which for example makes a missing text an empty one.
std::optional<std::size_t> Runner::findAgain(std::size_t place) {
  if (queue_.isCurrent()) return place;
  Queue now = openToChange(request_.queue, request_.force);
  std::optional<std::size_t> nearest;
  const auto distance = [&](std::size_t i) { return i < place ? place - i : i - place; };
  for (std::size_t i = 0; i < now.elements.size(); ++i) {
    if (nearest && distance(i) >= distance(*nearest)) continue;
    const SSIB_ENTRY_LIST &was = *queue_.elements[place], &is = *now.elements[i];
    if (isSame(now.form(), is, was) || isGivenBack(now.form(), was, is)) nearest = i;
  }
  queue_ = std::move(now);
  return nearest;
}

Ending Runner::tryCommand(std::size_t place) const {
  const Variables variables = variablesOf(queue_, place);
  const std::string input = entryAsJson(queue_, place);
  constexpr std::uint32_t kLongestPause = 10'000;
  std::uint32_t pause = 100;
  for (std::uint32_t tries = 1;; ++tries) {
    const Ending ending = runCommand(request_.handler, variables, input);
    if (ending.isSuccess() || tries == request_.tries) return ending;
    pauseFor(pause);
    if (isInterrupted()) return ending;
    pause = std::min(2 * pause, kLongestPause);
  }
}

// Says what did not go well, and remembers it for the exit status.
void Runner::note(Exit exit, const std::string &text) {
  complain(&request_, request_.json, Stop(exit, text));
  if (outcome_ != Exit::HandlerFailed) outcome_ = exit;
}

// What becomes of a job that was handled, under the lock.
void Runner::end(std::optional<std::size_t> place, const Ending &ending, const std::string &entry) {
  if (!place) {
    note(ending.isSuccess() ? Exit::NotRemoved : Exit::HandlerFailed,
         entry + " had changed or gone when the command " + ending.text() + "; nothing was removed");
  } else if (ending.isSuccess()) {
    release(queue_.takeOut({*place}));
    queue_.store();
  } else {
    Queue target = openToChange(*request_.failedTo, request_.force);
    moveToEnd(queue_, *place, target);
    note(Exit::HandlerFailed, "the command " + ending.text() + "; " + entry + " is now in " + target.name().shown());
  }
}

void Runner::settle(std::size_t place, const Ending &ending) {
  const std::string entry = describe(queue_, place);
  const std::string handled = "; the command " + ending.text();
  const std::string stays = handled + ", and " + entry + " was not removed";
  setLockInterruption(isInterruptedAgain);
  try {
    const ChangeLock lock(request_.failedTo ? std::vector{request_.queue, *request_.failedTo}
                                            : std::vector{request_.queue});
    end(findAgain(place), ending, entry);
  } catch (const Unconfirmed &stop) {
    throw Stop(stop.exit(), stop.what() + handled, stop.status());
  } catch (const Stop &stop) {
    throw Stop(stop.exit(), stop.what() + stays, stop.status());
  } catch (const Interrupted &) {
    throw Stop(Exit::NotRemoved, "interrupted" + stays);
  }
  setLockInterruption(isInterrupted);
}

void Runner::handle(std::size_t place) {
  const Ending ending = tryCommand(place);
  if (!ending.isSuccess() && (!request_.failedTo || isInterrupted())) {
    throw Stop(Exit::HandlerFailed, "the command " + ending.text() + "; " + describe(queue_, place) + " stays");
  }
  if (!outcome_) outcome_ = Exit::Done;
  settle(place, ending);
}

// An interruption ends the wait for the queue, and for its lock.
void Runner::lookAgain() {
  watch_.wait();
  try {
    if (!queue_.isCurrent()) queue_ = openQueue();
  } catch (const Interrupted &) {
    return;
  }
}

Exit Runner::run() {
  while (!isInterrupted()) {
    const std::optional<std::size_t> place = firstPlace();
    if (place) {
      handle(*place);
      if (!goesOn()) return *outcome_;
    } else if (request_.follow) {
      lookAgain();
    } else {
      if (!outcome_) chosenPlaces(request_.selection, queue_);  // says why there is none
      return *outcome_;
    }
  }
  return outcome_.value_or(Exit::Done);
}

void check(const Request &request) {
  if (request.handler.empty()) throw Stop(Exit::Usage, "no command is given; it stands after --: ssib run -- COMMAND");
  checkMatches(request.queue.form(), request.selection.matches);
  if (!request.failedTo) return;
  if (*request.failedTo == request.queue)
    throw Stop(Exit::Usage, "--failed-to: names the queue that the jobs are from");
  if (request.failedTo->form() != request.queue.form()) {
    throw Stop(Exit::Usage,
               "--failed-to: " + request.failedTo->shown() + " is of the other form than " + request.queue.shown());
  }
}

}  // namespace

Exit runHandler(const Request &request) {
  check(request);
  std::signal(SIGPIPE, SIG_IGN);
  catchInterruptions();
  setLockInterruption(isInterrupted);
  try {
    static_cast<void>(ChangeLock({request.queue}));  // makes the directory, when it is missing
    return Runner(request).run();
  } catch (const Interrupted &) {
    return Exit::Done;
  }
}

}  // namespace tool
