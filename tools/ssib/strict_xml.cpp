// SPDX-License-Identifier: MIT
// An XML queue file, strictly. Expat judges the whole document; after damage each "<SSIB_BLOCK" begins a piece of its
// own, which is an entry when it holds a whole block. A damaged block that holds another one is not looked into.
#include <expat.h>
#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "strict_reader.h"

namespace tool {
namespace {

constexpr std::string_view kRoot = "SSIB_INFO", kBlock = "SSIB_BLOCK", kCommand = "CMD_LINE";
constexpr const char *kSingleBytes = "ISO-8859-1";
constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n";
constexpr std::string_view kWrapper = "<SSIB_INFO>";

bool isWhite(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// Back to the bytes of an ISO-8859-1 document, which expat hands out as UTF-8. Characters beyond them stay UTF-8.
std::string narrowed(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool isPair = (byte == 0xC2 || byte == 0xC3) && i + 1 < text.size();
    bytes += isPair ? static_cast<char>((byte & 0x03) << 6 | (text[++i] & 0x3F)) : text[i];
  }
  return bytes;
}

// As the library reads it: by its first digits, within 32 bits, cut to the field's width.
std::uint32_t numberIn(const std::string &text, const Field &field) {
  const long number = std::clamp<long>(std::strtol(text.c_str(), nullptr, 10), INT32_MIN, INT32_MAX);
  return static_cast<std::uint32_t>(number) & field.largest;
}

// Where the event at hand begins in the document, and how many bytes of it the event stands for.
#if XML_MAJOR_VERSION * 100 + XML_MINOR_VERSION >= 209
std::int64_t eventBegin(XML_Parser parser) {
  return XML_GetCurrentByteIndex64(parser);
}
std::int64_t eventBytes(XML_Parser parser) {
  return XML_GetCurrentByteCount64(parser);
}
#else
std::int64_t eventBegin(XML_Parser parser) {
  return XML_GetCurrentByteIndex(parser);
}
std::int64_t eventBytes(XML_Parser parser) {
  return XML_GetCurrentByteCount(parser);
}
#endif

struct FreeParser {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

// Where a reading that went wrong goes back to.
struct Mark {
  std::size_t offset = 0;  // in the text at hand
  std::size_t entries = 0, remarks = 0;
};

// A run of expat over a document, or over a block that stands alone.
class Run {
 public:
  Run(std::string_view text, std::size_t base, StrictReading &reading) : text_(text), base_(base), reading_(reading) {}

  // Reads a document; false when it is damaged, and then the reading has the entries that were whole before.
  bool readDocument();
  // Reads the block with which the text begins; false when it is not whole, and then the reading is as before.
  bool readBlock(const char *encoding);

  bool isSingleBytes() const { return isSingleBytes_; }
  // Where blocks may be whole after the damage.
  std::size_t resume() const { return resume_; }

 private:
  enum class State { Reading, Whole, Refused };
  static constexpr std::size_t kNone = std::string::npos;

  template <auto handle, class... Arguments>
  static void handler(void *data, Arguments... arguments) {
    auto &run = *static_cast<Run *>(data);
    if (run.failure_ != nullptr || run.state_ != State::Reading) return;
    try {
      (run.*handle)(arguments...);
    } catch (...) {  // nothing may be thrown through expat
      run.failure_ = std::current_exception();
    }
    if (run.failure_ != nullptr || run.state_ != State::Reading) XML_StopParser(run.parser_.get(), XML_FALSE);
  }

  void begin(const char *encoding);
  bool feed(std::string_view text, bool isLast);
  void goBack();

  void start(const char *name, const char **attributes);
  void startRoot(std::string_view name, const char **attributes);
  void startBlock(std::string_view name, const char **attributes);
  void startChild(std::string_view name, const char **attributes);
  void end(const char *);
  void endCommand();
  void endBlock();
  void addText(const char *text, int length);
  void declare(const char *, const char *encoding, int) {
    isSingleBytes_ = encoding != nullptr && strcasecmp(encoding, kSingleBytes) == 0;
  }
  void comment(const char *) { note("a comment, which the next write drops", true); }
  void instruct(const char *, const char *) { note("an instruction, which the next write drops", true); }
  void refuseDoctype(const char *, const char *, const char *, int) {
    reading_.damageAt(base_ + place(), "a document type declaration");
    state_ = State::Refused;
  }

  void readAttribute(std::string_view name, const char *value);
  Mark mark() const { return {place(), reading_.entries.size(), reading_.remarks.size()}; }
  // Of the event at hand, in the text.
  std::size_t place() const {
    const auto index = static_cast<std::size_t>(std::max<std::int64_t>(eventBegin(parser_.get()), 0));
    return std::min(index - std::min(index, prefix_), text_.size());
  }
  void note(std::string text, bool drops) {
    const std::size_t offset = base_ + place();
    depth_ >= 2 ? reading_.remarkOnNext(offset, std::move(text), drops)
                : reading_.remark(offset, std::move(text), drops);
  }
  std::string bytesOf(std::string_view given) const { return isSingleBytes_ ? narrowed(given) : std::string(given); }

  std::string_view text_;
  std::size_t base_;        // of the text in the file
  std::size_t prefix_ = 0;  // bytes that expat was given in front of the text
  StrictReading &reading_;
  std::unique_ptr<XML_ParserStruct, FreeParser> parser_;
  std::exception_ptr failure_;
  State state_ = State::Reading;
  std::size_t depth_ = 0;  // 1 in the root, 2 in a block, 3 in a child of a block
  bool isAlone_ = false, isSingleBytes_ = false;
  std::size_t resume_ = 0;
  std::string entryName_;      // any name will do, as long as all have it
  std::optional<Mark> doubt_;  // the first element that has not the name that it should have at its depth

  // The block that is open, and the child that is open in it.
  Mark block_;
  StrictEntry entry_;
  std::optional<std::string> command_;
  std::size_t extra_ = kNone;  // place of the last child that is no command line
  std::size_t extras_ = 0;
  bool isCommand_ = false, hasChild_ = false, isAfterChild_ = false, hasStray_ = false;
  bool counts_ = false;  // whether the text is one: white space alone need not be
  std::string childText_;
};

void Run::begin(const char *encoding) {
  if (text_.size() > INT_MAX) throw std::bad_alloc();
  parser_.reset(XML_ParserCreate(encoding));
  if (parser_ == nullptr) throw std::bad_alloc();
  XML_SetUserData(parser_.get(), this);
  XML_SetElementHandler(parser_.get(), handler<&Run::start>, handler<&Run::end>);
  XML_SetCharacterDataHandler(parser_.get(), handler<&Run::addText>);
  XML_SetCommentHandler(parser_.get(), handler<&Run::comment>);
  XML_SetProcessingInstructionHandler(parser_.get(), handler<&Run::instruct>);
  XML_SetXmlDeclHandler(parser_.get(), handler<&Run::declare>);
  XML_SetStartDoctypeDeclHandler(parser_.get(), handler<&Run::refuseDoctype>);
}

bool Run::feed(std::string_view text, bool isLast) {
  const bool isTaken = XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), isLast) == XML_STATUS_OK;
  if (failure_ != nullptr) std::rethrow_exception(failure_);
  if (XML_GetErrorCode(parser_.get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  return isTaken;
}

bool Run::readDocument() {
  begin(nullptr);
  if (feed(text_, true)) return true;
  reading_.damageAt(place(), XML_ErrorString(XML_GetErrorCode(parser_.get())));
  goBack();
  return false;
}

// The remarks on what is given up go, too. An element that is not named as the first entry is believed in sound files
// alone: the start of a block may be what is missing in front of it.
void Run::goBack() {
  if (!doubt_ && depth_ < 2) return;
  const Mark &to = doubt_ ? *doubt_ : block_;
  reading_.entries.resize(to.entries);
  reading_.remarks.resize(to.remarks);
  resume_ = doubt_ ? to.offset : to.offset + 1;
}

bool Run::readBlock(const char *encoding) {
  isAlone_ = true;
  isSingleBytes_ = encoding != nullptr;
  prefix_ = kWrapper.size();
  begin(encoding);
  if (feed(kWrapper, false)) feed(text_, false);
  if (state_ != State::Whole) goBack();
  return state_ == State::Whole;
}

void Run::start(const char *given, const char **attributes) {
  const std::string_view name = given;
  ++depth_;
  isAfterChild_ = false;
  if (depth_ == 1) return startRoot(name, attributes);
  if (depth_ == 2) return startBlock(name, attributes);
  if (name == kBlock && !doubt_) doubt_ = block_;
  if (depth_ == 3) return startChild(name, attributes);
  hasChild_ = true;
  if (depth_ == 4 && isCommand_) note("an element inside a command line, which the next write drops", true);
}

void Run::startRoot(std::string_view name, const char **attributes) {
  if (name == kBlock) doubt_ = mark();
  if (name != kRoot) note("the document is " + quoted(name) + "; the next write makes it SSIB_INFO", true);
  if (*attributes != nullptr) note("attributes of the document, which the next write drops", true);
}

void Run::startBlock(std::string_view name, const char **attributes) {
  block_ = mark();
  if (entryName_.empty() && name != kCommand) entryName_ = name;
  if (name != entryName_ && !doubt_) doubt_ = block_;
  if (name != kBlock && isAlone_) state_ = State::Refused;
  entry_ = {.offset = base_ + place(), .values = {}};
  command_.reset();
  extra_ = kNone;
  extras_ = 0;
  hasStray_ = false;
  if (name != kBlock) note("the entry is " + quoted(name) + "; the next write makes it SSIB_BLOCK", true);
  for (; *attributes != nullptr; attributes += 2) readAttribute(attributes[0], attributes[1]);
}

void Run::readAttribute(std::string_view name, const char *value) {
  const auto found = std::ranges::find(fields(), name, &Field::attribute);
  if (found == fields().end()) {
    return note("attribute " + quoted(bytesOf(name)) + " is unknown; the next write drops it", true);
  }
  const Field &field = *found;
  std::string text = bytesOf(value);
  if (field.kind == Field::Kind::Text) {
    entry_.values.push_back({.field = &field, .text = std::move(text)});
    return;
  }
  const std::uint32_t number = numberIn(text, field);
  entry_.values.push_back({.field = &field, .number = number, .text = ""});
  if (text == std::to_string(static_cast<std::int32_t>(number))) return;
  note(std::string(name) + " " + quoted(text) + " is read as " + std::to_string(number) + "; the next write changes it",
       true);
}

void Run::startChild(std::string_view name, const char **attributes) {
  isCommand_ = name == kCommand;
  hasChild_ = counts_ = false;
  childText_.clear();
  if (!isCommand_) {
    extra_ = place();
    if (++extras_ == 2) note("several elements beside CMD_LINE, of which the next write keeps the last", true);
  } else if (*attributes != nullptr && extra_ == kNone) {
    note("attributes of a command line, which the next write drops", true);
  }
}

void Run::end(const char *) {
  if (depth_ == 3 && isCommand_) endCommand();
  if (depth_ == 2) endBlock();
  isAfterChild_ = depth_ > 3;
  --depth_;
}

// The end of "<CMD_LINE/>", which is no text, has no bytes of its own.
void Run::endCommand() {
  isCommand_ = false;
  if (!counts_ && (hasChild_ || eventBytes(parser_.get()) == 0)) {
    if (extra_ == kNone) note("a command line without text, which the next write drops", true);
    return;
  }
  if (command_) note("several command lines, of which the next write keeps the last", true);
  command_ = bytesOf(childText_);
  if (command_->starts_with('"')) {
    note("the command line begins with a quote; the next write drops its first and its last character", true);
  }
}

void Run::endBlock() {
  if (command_) entry_.values.push_back({.field = findField("Cmd_Line"), .text = *command_});
  if (extra_ != kNone) {
    if (command_) note("an element beside the command line, which the next write drops", true);
    std::string node(isSingleBytes_ ? kDeclaration : "");
    node += text_.substr(extra_, place() - extra_);
    entry_.values.push_back({.field = findField("Node"), .text = std::move(node)});
  }
  for (const char *always : {"Version", "Block_ID"}) {  // 0 when they are missing
    const Field &field = *findField(always);
    if (entry_.find(field) == nullptr) entry_.values.push_back({.field = &field, .text = ""});
  }
  reading_.entries.push_back(std::move(entry_));
  resume_ = place();
  if (isAlone_) state_ = State::Whole;
}

void Run::addText(const char *text, int length) {
  const std::string_view added(text, static_cast<std::size_t>(length));
  // White space itself takes a byte, a line end at most two; a reference to it four or more.
  const bool counts = !isWhite(added) || (length == 1 && eventBytes(parser_.get()) > 2);
  if (depth_ == 3 && isCommand_) {
    counts_ = counts_ || counts;
    childText_ += added;
  } else if (counts && (depth_ <= 2 || isAfterChild_) && !hasStray_) {
    hasStray_ = true;
    note(depth_ <= 2 ? "text outside the command line, which the next write drops"
                     : "text after an element, which the next write puts in front of it",
         true);
  }
}

// Blocks that are whole after the damage. The declaration of their bytes may be among what is damaged.
void salvageBlocks(std::string_view bytes, const Run &document, StrictReading &reading) {
  const std::string start = "<" + std::string(kBlock);
  std::size_t next = 0;
  for (std::size_t at = bytes.find(start, document.resume()); at != std::string::npos; at = next) {
    next = bytes.find(start, at + 1);
    const std::string_view piece = bytes.substr(at, next - at);
    if (!document.isSingleBytes() && Run(piece, at, reading).readBlock(nullptr)) continue;
    if (Run(piece, at, reading).readBlock(kSingleBytes)) continue;
    reading.leaveOut(at, "a block that is not whole");
  }
}

}  // namespace

void readXmlStrictly(std::string_view bytes, StrictReading &reading) {
  Run document(upToNul(bytes), 0, reading);
  if (!document.readDocument()) salvageBlocks(bytes, document, reading);
}

}  // namespace tool
