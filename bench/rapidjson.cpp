// SPDX-License-Identifier: MIT
// A task list through RapidJSON: read in place, into the same list, and written by its formatting writer.
#include <rapidjson/document.h>
#include <rapidjson/filewritestream.h>
#include <rapidjson/prettywriter.h>

#include <cstring>
#include <memory>

#include "jobs.h"
#include "peers.h"

namespace bench {
namespace {

char *copyOf(const rapidjson::Value &value) {
  return value.GetStringLength() == 0 ? nullptr : strdup(value.GetString());
}

void readList(List &list) {
  const Image image = readImage(kTaskList);
  rapidjson::Document document;
  document.ParseInsitu(image.text.get());
  must(!document.HasParseError());
  for (const auto &object : document["SMAJob"].GetArray()) {
    SSIB_ENTRY &entry = list.append();
    for (const TaskText &text : kTaskTexts) entry.*text.member = copyOf(object[text.key]);
  }
}

void writeList(std::FILE *stream) {
  char buffer[65536];
  rapidjson::FileWriteStream out(stream, buffer, sizeof(buffer));
  rapidjson::PrettyWriter writer(out);
  writer.SetIndent(' ', 2);
  writer.StartObject();
  writer.Key("SMAJob");
  writer.StartArray();
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next) {
    writer.StartObject();
    for (const TaskText &text : kTaskTexts) {
      writer.Key(text.key);
      writer.String(element->entry.*text.member);
    }
    writer.EndObject();
  }
  writer.EndArray();
  writer.EndObject();
}

Timed opening(std::size_t count) {
  auto list = std::make_shared<List>();
  return {[=] { writeQueue(count, kTaskList); }, [=] { readList(*list); }, [=] { list->clear(); }};
}

Timed flushing(std::size_t count) {
  return {[=] { openNewQueue(count, kTaskList); }, [] { writeFile(kTaskList, writeList); }, closeQueue};
}

const Peer open(kTaskListOpen, {"RapidJSON in place", opening, kOnNullPlatform ? 0.6 : 0.7, 1000});
const Peer flush(kTaskListFlush, {"RapidJSON PrettyWriter", flushing, kOnNullPlatform ? 0.5 : 0.6, 1000});

}  // namespace
}  // namespace bench
