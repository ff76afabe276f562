// SPDX-License-Identifier: MIT
#include "selection.h"

#include <algorithm>

#include "host.h"
#include "stop.h"
#include "values.h"

namespace tool {
namespace {

std::size_t parseEntryNumber(const std::string &text) {
  const bool isDigits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
  if (!isDigits || text.find_first_not_of('0') == std::string::npos) {
    throw Stop(Exit::Usage, escaped(text) + " is not a number of an entry; the first is 1");
  }
  std::uint32_t number = 0;
  return parseNumber(text, UINT32_MAX, number) ? number : UINT32_MAX;
}

std::pair<std::size_t, std::size_t> parseRange(const std::string &text) {
  const std::size_t dash = text.find('-', 1);
  const std::size_t first = parseEntryNumber(text.substr(0, dash));
  const std::size_t last = dash == std::string::npos ? first : parseEntryNumber(text.substr(dash + 1));
  if (last < first) throw Stop(Exit::Usage, text + " is not a range of entries: it ends before it begins");
  return {first, last};
}

Places numberedPlaces(const Ranges &ranges, const Queue &queue) {
  std::vector<bool> isChosen(queue.elements.size(), ranges.empty());
  for (const auto &[first, last] : ranges) {
    if (last > isChosen.size()) {
      throw Stop(Exit::NothingThere, queue.name().shown() + " has only " + counted(isChosen.size()));
    }
    std::fill(isChosen.begin() + static_cast<std::ptrdiff_t>(first - 1),
              isChosen.begin() + static_cast<std::ptrdiff_t>(last), true);
  }
  Places places;
  for (std::size_t i = 0; i < isChosen.size(); ++i) {
    if (isChosen[i]) places.push_back(i);
  }
  return places;
}

std::string noMatchMessage(const Ranges &ranges, const Queue &queue) {
  const std::string &name = queue.name().shown();
  if (ranges.empty()) return "no entry of " + name + " matches";
  const bool isOne = ranges.size() == 1 && ranges.front().first == ranges.front().second;
  return isOne ? "entry " + std::to_string(ranges.front().first) + " of " + name + " does not match"
               : "none of these entries of " + name + " matches";
}

}  // namespace

Ranges parseRanges(const std::string &text) {
  Ranges ranges;
  for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
    end = text.find(',', begin);
    ranges.push_back(parseRange(text.substr(begin, end == std::string::npos ? end : end - begin)));
  }
  return ranges;
}

GivenField parseMatch(const std::string &text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) throw Stop(Exit::Usage, escaped(text) + " is not FIELD=VALUE");
  return {&requireField(text.substr(0, equals)), text.substr(equals + 1)};
}

void checkMatches(Form form, const GivenFields &matches) {
  for (const GivenField &match : matches) {
    requireStoredIn(form, *match.field);
    if (match.field->kind == Field::Kind::Number) checkNumber(*match.field, match.value);
  }
}

bool matchesAll(Form form, const GivenFields &matches, const SSIB_ENTRY_LIST &element) {
  return std::ranges::all_of(matches, [&](const GivenField &match) {
    const Value value = valueOf(form, *match.field, element);
    std::uint32_t number = 0;
    const bool isNumber = match.field->kind == Field::Kind::Number;
    if (isNumber && parseNumber(match.value, match.field->largest, number)) return value == std::to_string(number);
    return value == match.value;
  });
}

Places chosenPlaces(const Selection &selection, const Queue &queue) {
  if (queue.elements.empty()) throw Stop(Exit::NothingThere, emptyMessage(queue.name()));
  checkMatches(queue.form(), selection.matches);
  Places places = numberedPlaces(selection.ranges, queue);
  std::erase_if(
      places, [&](std::size_t place) { return !matchesAll(queue.form(), selection.matches, *queue.elements[place]); });
  if (places.empty()) throw Stop(Exit::NothingThere, noMatchMessage(selection.ranges, queue));
  return places;
}

Places firstPlaces(const Selection &selection, const Queue &queue) {
  Places places = chosenPlaces(selection, queue);
  if (selection.ranges.empty()) places.resize(1);
  return places;
}

}  // namespace tool
