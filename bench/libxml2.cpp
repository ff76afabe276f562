// SPDX-License-Identifier: MIT
// An XML queue read by libxml2's reader, into the same tree as the XML service's.
#include <libxml/xmlreader.h>

#include <memory>

#include "jobs.h"
#include "peers.h"
#include "tree.h"

namespace bench {
namespace {

struct FreeReader {
  void operator()(xmlTextReader *reader) const { xmlFreeTextReader(reader); }
};
using Reader = std::unique_ptr<xmlTextReader, FreeReader>;

const char *plain(const xmlChar *text) {
  return reinterpret_cast<const char *>(text);
}

class TreeReader {
 public:
  explicit TreeReader(const Image &image)
      : reader_(xmlReaderForMemory(image.text.get(), static_cast<int>(image.size), nullptr, nullptr,
                                   XML_PARSE_HUGE | XML_PARSE_NONET)) {}

  XML_NODE *read() {
    while (xmlTextReaderRead(reader_.get()) == 1) take(xmlTextReaderNodeType(reader_.get()));
    return top_.firstChild;
  }

 private:
  void take(int type) {
    if (type == XML_READER_TYPE_ELEMENT) begin();
    if (type == XML_READER_TYPE_TEXT) current_->value = newString(plain(xmlTextReaderConstValue(reader_.get())));
    if (type == XML_READER_TYPE_END_ELEMENT) end();
  }

  void begin() {
    const bool isEmpty = xmlTextReaderIsEmptyElement(reader_.get()) == 1;
    current_ = append(current_, previous_, plain(xmlTextReaderConstName(reader_.get())));
    previous_ = nullptr;
    XML_ATTRIBUTE *last = nullptr;
    while (xmlTextReaderMoveToNextAttribute(reader_.get()) == 1) {
      last = append(current_, last, plain(xmlTextReaderConstName(reader_.get())),
                    plain(xmlTextReaderConstValue(reader_.get())));
    }
    if (isEmpty) end();
  }

  void end() {
    previous_ = current_;
    current_ = current_->parent;
  }

  Reader reader_;
  XML_NODE top_ = {};                                // stands for the document
  XML_NODE *current_ = &top_, *previous_ = nullptr;  // the open element, and the last one closed in it
};

Timed parsing(std::size_t count) {
  const auto image = std::make_shared<Image>();
  const auto prepare = [=] {
    writeQueue(count, kXml);
    *image = readImage(kXml);
  };
  return {prepare, [=] { release(TreeReader(*image).read()); }, {}};
}

const Peer parse(kXmlParse, {"libxml2 reader, same tree", parsing, 1.0, 100});

}  // namespace
}  // namespace bench
