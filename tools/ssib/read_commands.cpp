// SPDX-License-Identifier: MIT
// The commands that only look. They take no lock, since a queue file is replaced in one step, and never close the
// queue, since a close writes.
#include "commands.h"
#include "output.h"

namespace tool {

std::string shownEntry(const Request &request, const SSIB_ENTRY_LIST &element) {
  const Form form = request.queue.form();
  return request.json ? entryAsJson(form, element) : entryAsLines(form, element);
}

void listEntries(const Request &request) {
  openQueueUnlocked(request.queue);
  const Form form = request.queue.form();
  const Elements elements = elementsOf(gSSSIB2pvt);
  if (request.json) {
    print(entriesAsJson(form, elements));
  } else {
    print(elements.empty() ? emptyMessage(request.queue) + "\n" : entriesAsTable(form, elements));
  }
}

void showEntry(const Request &request) {
  openQueueUnlocked(request.queue);
  const Elements elements = elementsWith(request.queue, request.number);
  print(shownEntry(request, *elements[request.number - 1]));
}

}  // namespace tool
