// SPDX-License-Identifier: MIT
// The commands that only look. They take no lock, since a queue file is replaced in one step, and never close the
// queue, since a close writes.
#include "commands.h"
#include "json.h"
#include "open_queue.h"
#include "options.h"
#include "output.h"

namespace tool {
namespace {

Exit show(const Request &request, Places (*choose)(const Selection &, const Queue &)) {
  const Queue queue = openToLook(request.queue);
  print(shownEntries(request, queue, choose(request.selection, queue)));
  return Exit::Done;
}

}  // namespace

std::string shownEntries(const Request &request, const Queue &queue, const Places &places) {
  std::string out;
  for (const std::size_t place : places) {
    if (!out.empty() && !request.json) out += "\n";
    out += request.json ? entryAsJson(queue, place) : entryAsLines(queue.form(), *queue.elements[place]);
  }
  return out;
}

Exit listEntries(const Request &request) {
  for (const Field *column : request.columns) requireStoredIn(request.queue.form(), *column);
  const Queue queue = openToLook(request.queue);
  if (queue.elements.empty() && request.selection.isEverything()) {
    requireExists(request.queue, "open " + request.queue.shown());
    print(request.json ? entriesAsJson(queue, {}) : emptyMessage(request.queue) + "\n");
    return Exit::Done;
  }
  const Places places = chosenPlaces(request.selection, queue);
  const std::size_t width = request.wide ? kUnlimited : terminalWidth();
  print(request.json ? entriesAsJson(queue, places) : entriesAsTable(queue, places, request.columns, width));
  return Exit::Done;
}

Exit showEntries(const Request &request) {
  requireSelection(request);
  return show(request, chosenPlaces);
}

Exit peekEntries(const Request &request) {
  return show(request, firstPlaces);
}

}  // namespace tool
