// SPDX-License-Identifier: MIT
// A task list read by simdjson on demand, into the same list.
#include <simdjson.h>

#include <cstring>
#include <memory>

#include "jobs.h"
#include "peers.h"

namespace bench {
namespace {

static_assert(kImageRoom >= simdjson::SIMDJSON_PADDING);

char *copyOf(std::string_view value) {
  return value.empty() ? nullptr : strndup(value.data(), value.size());
}

void readList(simdjson::ondemand::parser &parser, List &list) {
  const Image image = readImage(kTaskList);
  simdjson::ondemand::document document = parser.iterate(image.text.get(), image.size, image.size + kImageRoom);
  for (simdjson::ondemand::object object : document["SMAJob"].get_array()) {
    SSIB_ENTRY &entry = list.append();
    for (const TaskText &text : kTaskTexts) entry.*text.member = copyOf(object[text.key].get_string());
  }
}

Timed opening(std::size_t count) {
  auto list = std::make_shared<List>();
  auto parser = std::make_shared<simdjson::ondemand::parser>();
  return {[=] { writeQueue(count, kTaskList); }, [=] { readList(*parser, *list); }, [=] { list->clear(); }};
}

const Peer open(kTaskListOpen, {"simdjson on demand", opening});

}  // namespace
}  // namespace bench
