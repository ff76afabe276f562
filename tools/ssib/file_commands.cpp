// SPDX-License-Identifier: MIT
// The commands that work on whole queue files: merge and delete. The library does not tell how their writing and
// deleting went, so what the files hold afterwards is looked at.
#include <optional>

#include "commands.h"
#include "host.h"
#include "output.h"
#include "stop.h"

namespace tool {
namespace {

void requireExists(const QueueName &name, const std::string &action) {
  if (!exists(name, action)) throw Stop(Exit::NothingThere, "there is no " + name.shown());
}

// After the entries have arrived, the sub-queue is to be gone, or empty; a task list that is not deleted keeps them.
void requireMoved(const Request &request) {
  const QueueName &name = request.queue;
  const bool isMoved = request.deleteFile ? !exists(name, "delete " + name.shown())
                                          : name.form() == Form::TaskList || storedElements(name).empty();
  if (isMoved) return;
  throw Stop(Exit::Refused, std::string("cannot ") + (request.deleteFile ? "delete " : "empty ") + name.shown() + ": " +
                                statusName(EFI_DEVICE_ERROR) + "; its entries are in " + name.mainQueue().shown() +
                                " as well");
}

std::string mergeReport(const Request &request, std::size_t entries) {
  const std::string &name = request.queue.shown();
  const bool isCopy = request.queue.form() == Form::TaskList && !request.deleteFile;
  return (isCopy ? "copied " : "moved ") + counted(entries) + " from " + name + " to " +
         request.queue.mainQueue().shown() + (isCopy ? "; " + name + " keeps them, 'ssib delete' deletes it" : "") +
         "\n";
}

EFI_STATUS mergeQuietly(const Request &request) {
  const QuietSetUp quiet;
  return iMergeToMain(&gSSSIB2pvt, request.queue.wide(), request.deleteFile ? 1 : 0);
}

// What can be read of a queue now; nothing when it cannot be read.
std::optional<std::size_t> countStored(const QueueName &name) {
  try {
    return storedElements(name).size();
  } catch (const Stop &) {
    return std::nullopt;
  }
}

// Writes back what a queue held, where its file does not; false when that failed.
bool restore(const QueueName &name, SSIB2_PRIVATE_DATA &before) {
  const std::size_t entries = elementsOf(before).size();
  if (countStored(name) != entries) iFlushSSIBQueue(&before);
  return countStored(name) == entries;
}

// The merge empties the sub-queue before it writes the main queue: after a failure the entries live on in this process
// alone.
void mergeFiles(const Request &request, SSIB2_PRIVATE_DATA &queue) {
  const QueueName &name = request.queue;
  const QueueName main = name.mainQueue();
  SSIB2_PRIVATE_DATA &mainQueue = openAside(main);
  const std::size_t expected = elementsOf(mainQueue).size() + elementsOf(queue).size();
  const EFI_STATUS status = mergeQuietly(request);
  if (status == EFI_SUCCESS && countStored(main) == expected) return;
  const bool hasMain = restore(main, mainQueue), hasSub = restore(name, queue);
  const std::string action = status == EFI_SUCCESS
                                 ? "write " + main.shown() + ": " + statusName(EFI_DEVICE_ERROR)
                                 : "merge " + name.shown() + " into " + main.shown() + ": " + statusName(status);
  throw Stop(Exit::Refused, "cannot " + action + "; " + name.shown() +
                                (hasSub ? " has its entries as before" : " may have lost its entries") +
                                (hasMain ? "" : "; " + main.shown() + " may have lost its own"));
}

}  // namespace

void mergeQueue(const Request &request) {
  const QueueName &name = request.queue;
  if (name == name.mainQueue())
    throw Stop(Exit::Usage, name.shown() + " is the main queue; --queue names the queue to fold into it");
  const ChangeLock lock;
  requireExists(name, "open " + name.shown());
  SSIB2_PRIVATE_DATA &queue = openAside(name);
  mergeFiles(request, queue);
  requireMoved(request);
  print(mergeReport(request, elementsOf(queue).size()));
}

void deleteQueue(const Request &request) {
  const QueueName &name = request.queue;
  const std::string action = "delete " + name.shown();
  const ChangeLock lock;
  requireExists(name, action);
  require(iDeleteSSIB(&gSSSIB2pvt, name.wide()), action);
  if (exists(name, action)) refuse(action, EFI_DEVICE_ERROR);
}

}  // namespace tool
