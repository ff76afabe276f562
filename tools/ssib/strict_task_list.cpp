// SPDX-License-Identifier: MIT
// A JSON task list, strictly: objects of quoted keys and values, in any white space. An entry counts as whole when it
// reads as it stands in the library too, which balances brackets inside values and takes the first occurrence of a
// quoted key for the key.
#include <algorithm>
#include <array>
#include <utility>

#include "strict_reader.h"

namespace tool {
namespace {

using Position = std::size_t;
constexpr Position kNone = std::string_view::npos;
constexpr const char *kWhite = " \t\r\n";

const Field *fieldOfKey(std::string_view name) {
  const auto found = std::ranges::find(fieldsByKey(), name, [](const Field *field) { return field->key.name; });
  return found == fieldsByKey().end() ? nullptr : *found;
}

// The texts of an object's keys, in their order; empty where there is none.
using Texts = std::array<std::string_view, kKeys>;

// What the library makes of a text.
class LibraryView {
 public:
  explicit LibraryView(std::string_view text) : text_(text) {}

  bool readsAlone(Position begin, Position end, const Texts &texts) const {
    return balance(begin, end, '{', '}') == end - 1 && staysInList(begin, end) && textsOf(begin, end - 1) == texts;
  }

  bool reads(const std::vector<Texts> &entries) const {
    const Position open = text_.find('[');
    const Position close = open == kNone ? kNone : balance(open, text_.size(), '[', ']');
    if (close == kNone) return false;
    std::size_t count = 0;
    for (Position at = open; (at = text_.find('{', at)) != kNone; ++count) {
      const Position end = at < close ? balance(at, close, '{', '}') : kNone;
      if (end == kNone || count == entries.size() || textsOf(at, end) != entries[count]) return false;
      at = end + 1;
    }
    return count == entries.size();
  }

 private:
  Position balance(Position from, Position end, char opening, char closing) const {
    std::size_t depth = 0;
    for (Position at = from; at < end; ++at) {
      if (text_[at] == opening) ++depth;
      if (text_[at] == closing && --depth == 0) return at;
    }
    return kNone;
  }

  bool staysInList(Position from, Position end) const {
    std::size_t depth = 0;
    for (Position at = from; at < end; ++at) {
      if (text_[at] == '[') ++depth;
      if (text_[at] == ']' && depth-- == 0) return false;
    }
    return depth == 0;
  }

  Texts textsOf(Position begin, Position end) const {
    Texts texts;
    std::array<bool, kKeys> isFound = {};
    const auto fields = fieldsByKey();
    for (Position quote = text_.find('"', begin); quote < end; quote = text_.find('"', quote + 1)) {
      for (const Field *field : fields) {
        const auto [name, place] = field->key;
        const Position keyEnd = quote + name.size() + 2;
        if (isFound[place] || keyEnd > end || text_[keyEnd - 1] != '"') continue;
        if (text_.substr(quote + 1, name.size()) != name) continue;
        isFound[place] = true;
        texts[place] = valueAfter(keyEnd);
      }
    }
    return texts;
  }

  std::string_view valueAfter(Position keyEnd) const {
    const Position opening = text_.find('"', keyEnd + 1);
    const Position closing = opening == kNone ? kNone : text_.find('"', opening + 1);
    return closing == kNone ? std::string_view() : text_.substr(opening + 1, closing - opening - 1);
  }

  std::string_view text_;
};

class TaskListReader {
 public:
  TaskListReader(std::string_view bytes, StrictReading &reading)
      : bytes_(bytes), text_(upToNul(bytes)), reading_(reading) {}

  void read() {
    const Position open = text_.find('[');
    if (open == kNone) {
      damage(text_.size(), "there is no \"[\", which opens the list");
    } else if (acceptHead(open)) {
      at_ = open + 1;
      readList();
    } else {
      damage(0, "the list is not the first thing in the document, and the library does not read the rest");
    }
    if (!reading_.damage || !LibraryView(upToNul(bytes_)).reads(texts_)) return;
    const Remark oddity = *std::exchange(reading_.damage, std::nullopt);
    reading_.remark(oddity.byte - 1, oddity.text + "; the library reads the entries all the same", true);
  }

 private:
  enum class Result { Whole, Otherwise, Broken };

  bool accept(char wanted) {
    at_ = std::min(text_.find_first_not_of(kWhite, at_), text_.size());
    if (at_ == text_.size() || text_[at_] != wanted) return false;
    ++at_;
    return true;
  }

  bool isAtEnd() { return text_.find_first_not_of(kWhite, at_) == kNone; }

  // There are no escapes: the next quote ends a text.
  std::optional<std::string_view> acceptText() {
    const Position before = at_;
    if (!accept('"')) return std::nullopt;
    const Position begin = at_, closing = text_.find('"', at_);
    if (closing == kNone) {
      at_ = before;
      return std::nullopt;
    }
    at_ = closing + 1;
    return text_.substr(begin, closing - begin);
  }

  bool fail(std::string why) {
    failure_ = std::move(why);
    return false;
  }

  // Whether there is in front of the list what is to be, or nothing.
  bool acceptHead(Position open) {
    hasHead_ = accept('{') && acceptText() == "SMAJob" && accept(':');
    if (hasHead_) return text_.find_first_not_of(kWhite, at_) == open;
    if (text_.find_first_not_of(kWhite) != open) return false;
    reading_.remark(0, "there is no \"SMAJob\" around the list; the next write adds it", false);
    return true;
  }

  void readList() {
    for (bool isFirst = true;; isFirst = false) {
      const Position from = at_;
      at_ = text_.find_first_of("{[]", at_);
      if (at_ == kNone) return damage(text_.size(), "the list is not closed");
      remarkBetween(from, isFirst);
      if (text_[at_] == ']') return readTail(at_ + 1);
      const Position begin = at_;
      if (text_[at_] == '[') return damage(begin, "\"[\" between two entries");
      const Result result = readEntry(begin);
      if (result == Result::Whole) continue;
      return damage(result == Result::Broken ? at_ : begin, failure_);
    }
  }

  void remarkBetween(Position from, bool isFirst) {
    std::string_view between = text_.substr(from, at_ - from);
    between.remove_prefix(std::min(between.find_first_not_of(kWhite), between.size()));
    between = between.substr(0, between.find_last_not_of(kWhite) + 1);
    if (between == (isFirst || text_[at_] == ']' ? "" : ",")) return;
    reading_.remark(from, "entries are separated by one comma; the next write drops what is here", true);
  }

  void readTail(Position from) {
    at_ = from;
    const Position brace = text_.find('{', from);
    if (brace != kNone) return damage(brace, "\"{\" after the end of the list");
    const bool isClosed = !hasHead_ || accept('}');
    if (!isAtEnd()) {
      reading_.remark(at_, "bytes after the end of the list, which the next write drops", true);
    } else if (!isClosed) {
      reading_.remark(text_.size(), "the last \"}\" is missing; the next write adds it", false);
    }
  }

  // After damage, and as well before it, any object that has a field may be an entry: where the list begins and ends is
  // not known any more.
  void damage(Position place, std::string why) {
    reading_ = {};
    reading_.damageAt(place, std::move(why));
    texts_.clear();
    text_ = bytes_;
    isSalvaging_ = true;
    for (Position from = 0; (from = text_.find('{', from)) != kNone;) {
      const Result result = readEntry(from);
      if (result == Result::Otherwise || (result == Result::Broken && holdsKey(from)))
        reading_.leaveOut(from, failure_);
      from = result == Result::Broken ? from + 1 : at_;
    }
  }

  // Whether what begins there, up to the next one, was an entry.
  bool holdsKey(Position begin) const {
    const std::string_view object = text_.substr(begin, text_.find('{', begin + 1) - begin);
    return std::ranges::any_of(fieldsByKey(),
                               [&](const Field *field) { return object.find(field->key.name) != kNone; });
  }

  // Reads the object at `begin`; at_ is its end, or the place where it is broken.
  Result readEntry(Position begin) {
    const std::size_t remarks = reading_.remarks.size();
    const Texts texts = readObject(begin);
    Result result = failure_.empty() ? Result::Whole : Result::Broken;
    if (result == Result::Whole && !LibraryView(text_).readsAlone(begin, at_, texts)) {
      fail("the library reads this entry otherwise: a value holds a bracket or the name of a key");
      result = Result::Otherwise;
    }
    if (isSalvaging_ && texts == Texts{}) result = Result::Broken;
    if (result == Result::Whole) {
      keep(begin, texts);
    } else {
      reading_.remarks.resize(remarks);
    }
    return result;
  }

  void keep(Position begin, const Texts &texts) {
    StrictEntry &entry = reading_.entries.emplace_back(StrictEntry{.offset = begin, .values = {}});
    texts_.push_back(texts);
    for (const Field *field : fieldsByKey()) {
      const std::string_view text = texts[field->key.place];
      if (!text.empty()) entry.values.push_back({.field = field, .text = std::string(text)});
    }
  }

  Texts readObject(Position begin) {
    Texts texts;
    isSeen_ = {};
    failure_.clear();
    at_ = begin + 1;
    if (accept('}')) return texts;
    do {
      if (!readPair(texts)) return texts;
    } while (accept(','));
    if (!accept('}')) fail("a comma or \"}\" is missing");
    if (text_.substr(begin, at_ - begin).find('\0') != kNone) fail("a NUL inside an entry");
    return texts;
  }

  bool readPair(Texts &texts) {
    const std::optional<std::string_view> name = acceptText();
    if (!name) return fail("the name of a key is missing");
    const Position begin = at_ - name->size() - 2;
    if (!accept(':')) return fail("a colon is missing");
    const Field *field = fieldOfKey(*name);
    if (field == nullptr) {
      note(begin, "key " + quoted(*name) + " is unknown; the next write drops it", true);
      return skipValue();
    }
    const std::optional<std::string_view> value = acceptText();
    if (!value) return fail("the value of " + std::string(*name) + " is not a quoted text");
    if (std::exchange(isSeen_[field->key.place], true)) {
      note(begin, "key " + quoted(*name) + " is repeated; the first counts, and the next write drops this one", true);
      return true;
    }
    texts[field->key.place] = *value;
    remarkOnValue(begin, field->key, *value);
    return true;
  }

  void remarkOnValue(Position at, const Field::Key &key, std::string_view value) {
    const auto say = [&](const char *what, bool drops) { note(at, std::string(key.name) + what, drops); };
    const auto isControl = [](char ch) { return static_cast<unsigned char>(ch) < 0x20; };
    if (value.size() > SSIB_TASK_LIST_TEXT_MAX) say(" has more than 4095 bytes; the next write drops the rest", true);
    if (value.find_first_of("{}[]") != kNone) say(" holds brackets, which the library counts as the file's", false);
    if (value.find('\\') != kNone || std::ranges::any_of(value, isControl)) {
      say(" holds backslashes or control characters, which the library takes as they are", false);
    }
    if (const Field *named = fieldOfKey(value)) {
      say(" has the name of a key for its value, which is taken for the key where that comes later",
          named->key.place > key.place);
    }
  }

  void note(Position at, std::string text, bool drops) { reading_.remarkOnNext(at, std::move(text), drops); }

  // The value of an unknown key may be any JSON.
  bool skipValue() {
    if (acceptText()) return true;
    const Position begin = std::min(text_.find_first_not_of(kWhite, at_), text_.size());
    at_ = begin;
    if (begin < text_.size() && (text_[begin] == '{' || text_[begin] == '[')) return skipNested();
    at_ = std::min(text_.find_first_of(",}] \t\r\n{[\":", begin), text_.size());
    return at_ > begin || fail("the value of a key is missing");
  }

  // After damage what is nested may be entries, and a byte is read once for each bracket that is open around it.
  bool skipNested() {
    constexpr std::size_t kDeepest = 32;
    const Position begin = at_;
    std::string open;  // what closes the brackets that are open
    while ((at_ = text_.find_first_of("\"{}[]", at_)) != kNone && !(isSalvaging_ && open.size() > kDeepest)) {
      const char ch = text_[at_];
      if (ch == '"') {
        const std::optional<std::string_view> text = acceptText();
        if (!text || (isSalvaging_ && fieldOfKey(*text) != nullptr)) break;
        continue;
      }
      ++at_;
      if (ch == '{' || ch == '[') {
        open += ch == '{' ? '}' : ']';
      } else {
        if (open.back() != ch) break;
        open.pop_back();
        if (open.empty()) return true;
      }
    }
    at_ = begin;
    return fail("a nested value does not end");
  }

  std::string_view bytes_;  // the file
  std::string_view text_;   // what is read of it
  StrictReading &reading_;
  Position at_ = 0;
  bool hasHead_ = false;
  bool isSalvaging_ = false;
  std::array<bool, kKeys> isSeen_ = {};
  std::string failure_;       // why the object at hand is none
  std::vector<Texts> texts_;  // of the entries
};

}  // namespace

// As it is written, but for the white space.
bool isTaskListEntry(const StrictEntry &entry) {
  Texts texts;
  std::string written = "{";
  for (const Field *field : fieldsByKey()) {
    const StrictValue *value = entry.find(*field);
    std::string_view &text = texts[field->key.place];
    if (value != nullptr) text = value->text;
    if (text.size() > SSIB_TASK_LIST_TEXT_MAX) return false;
    written.append("\"").append(field->key.name).append("\" : \"").append(text).append("\",");
  }
  written.back() = '}';
  return LibraryView(written).readsAlone(0, written.size(), texts);
}

void readTaskListStrictly(std::string_view bytes, StrictReading &reading) {
  TaskListReader(bytes, reading).read();
}

}  // namespace tool
