// SPDX-License-Identifier: MIT
// The commands that work on whole queue files: merge and delete. The library does not tell how their writing and
// deleting went, so what the files hold afterwards is looked at.
#include "commands.h"
#include "lock.h"
#include "output.h"
#include "stop.h"
#include "text.h"

namespace ssib {
namespace {

// Asking for a second deletion tells whether the first one took place.
bool isGone(const QueueName &name) {
  return iDeleteSSIB(&gSSSIB2pvt, name.wide()) == EFI_NOT_FOUND;
}

// After the entries have arrived, the sub-queue is to be gone, or empty; a task list that is not deleted keeps them.
void requireMoved(const Request &request) {
  const QueueName &name = request.queue;
  const bool isMoved =
      request.deleteFile ? isGone(name) : name.form() == Form::TaskList || storedElements(name).empty();
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

// The merge empties the sub-queue before it writes the main queue: after a failure the entries live
// on in this process alone.
[[noreturn]] void putBack(const QueueName &name, SSIB2_PRIVATE_DATA &queue) {
  iFlushSSIBQueue(&queue);
  const bool isBack = storedElements(name).size() == elementsOf(queue).size();
  throw Stop(Exit::Refused, "cannot write " + name.mainQueue().shown() + ": " + statusName(EFI_DEVICE_ERROR) + "; " +
                                name.shown() + (isBack ? " has its entries as before" : " has lost its entries"));
}

EFI_STATUS mergeQuietly(const Request &request) {
  const QuietSetUp quiet;
  return iMergeToMain(&gSSSIB2pvt, request.queue.wide(), request.deleteFile ? 1 : 0);
}

void mergeFiles(const Request &request, SSIB2_PRIVATE_DATA &queue) {
  const QueueName &name = request.queue;
  const QueueName main = name.mainQueue();
  const std::size_t expected = storedElements(main).size() + elementsOf(queue).size();
  const EFI_STATUS status = mergeQuietly(request);
  if (status == EFI_NOT_FOUND) throw Stop(Exit::NothingThere, "there is no " + name.shown());
  require(status, "merge " + name.shown() + " into " + main.shown());
  if (storedElements(main).size() != expected) putBack(name, queue);
}

}  // namespace

void mergeQueue(const Request &request) {
  const QueueName &name = request.queue;
  if (name == name.mainQueue())
    throw Stop(Exit::Usage, name.shown() + " is the main queue; --queue names the queue to fold into it");
  const ChangeLock lock;
  SSIB2_PRIVATE_DATA &queue = openAside(name);
  mergeFiles(request, queue);
  requireMoved(request);
  print(mergeReport(request, elementsOf(queue).size()));
}

void deleteQueue(const Request &request) {
  const QueueName &name = request.queue;
  const ChangeLock lock;
  const EFI_STATUS status = iDeleteSSIB(&gSSSIB2pvt, name.wide());
  if (status == EFI_NOT_FOUND) {
    require(iOpenSSIB(&gSSSIB2pvt, name.wide()), "delete " + name.shown());
    throw Stop(Exit::NothingThere, "there is no " + name.shown());
  }
  require(status, "delete " + name.shown());
  if (!isGone(name)) refuse("delete " + name.shown(), EFI_DEVICE_ERROR);
}

}  // namespace ssib
