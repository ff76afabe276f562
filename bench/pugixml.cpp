// SPDX-License-Identifier: MIT
// An XML queue through pugixml: read in place into the same list; built as a document and written.
#include <pugixml.hpp>

#include <cstring>
#include <memory>

#include "jobs.h"
#include "peers.h"

namespace bench {
namespace {

char *copyOf(pugi::xml_attribute attribute) {
  return strdup(attribute.value());
}

void readBlock(pugi::xml_node block, SSIB_ENTRY &entry) {
  entry.Version = static_cast<std::uint32_t>(block.attribute("Version").as_int());
  entry.Block_ID = static_cast<std::uint16_t>(block.attribute("BLOCK_ID").as_int());
  entry.Timeout = static_cast<std::uint16_t>(block.attribute("TIMEOUT").as_int());
  entry.Job_ID = copyOf(block.attribute("JOB_ID"));
  entry.Task_Name = copyOf(block.attribute("TASK_NAME"));
  entry.LU_Category = copyOf(block.attribute("LU_CATEGORY"));
  entry.Cmd_Line = strdup(block.child("CMD_LINE").text().get());
}

void readList(List &list) {
  const Image image = readImage(kXml);
  pugi::xml_document document;
  must(bool(document.load_buffer_inplace(image.text.get(), image.size)));
  for (pugi::xml_node block : document.first_child()) readBlock(block, list.append());
}

void addBlock(pugi::xml_node root, const SSIB_ENTRY &entry) {
  pugi::xml_node block = root.append_child("SSIB_BLOCK");
  block.append_attribute("Version") = entry.Version + 0;
  block.append_attribute("BLOCK_ID") = entry.Block_ID + 0;
  block.append_attribute("TIMEOUT") = entry.Timeout + 0;
  block.append_attribute("LU_CATEGORY") = entry.LU_Category;
  block.append_attribute("TASK_NAME") = entry.Task_Name;
  block.append_attribute("JOB_ID") = entry.Job_ID;
  block.append_child("CMD_LINE").text() = entry.Cmd_Line;
}

void writeList(std::FILE *stream) {
  pugi::xml_document document;
  pugi::xml_node root = document.append_child("SSIB_INFO");
  for (const SSIB_ENTRY_LIST *element = handle.ssibEntryListHead; element != nullptr; element = element->next)
    addBlock(root, element->entry);
  pugi::xml_writer_file writer(stream);
  document.save(writer, "", pugi::format_raw | pugi::format_no_declaration);
}

Timed opening(std::size_t count) {
  auto list = std::make_shared<List>();
  return {[=] { writeQueue(count, kXml); }, [=] { readList(*list); }, [=] { list->clear(); }};
}

Timed flushing(std::size_t count) {
  return {[=] { openNewQueue(count, kXml); }, [] { writeFile(kXml, writeList); }, closeQueue};
}

const Peer open(kXmlOpen, {"pugixml in place", opening});
const Peer flush(kXmlFlush, {"pugixml", flushing});

}  // namespace
}  // namespace bench
