// SPDX-License-Identifier: MIT
#include "difference.h"

#include <map>

#include "values.h"

namespace tool {
namespace {

// What two queues have in common: pairs of places, and for each place whether it is in a pair.
struct Pairs {
  std::map<std::size_t, std::size_t> secondOf;
  std::vector<bool> isSecondPaired;
};

using Describe = std::string (*)(Form, Form, const SSIB_ENTRY_LIST &);

// All that both forms store, as one text. Each value is announced by its length, so that no two entries have one text.
std::string contents(Form form, Form other, const SSIB_ENTRY_LIST &element) {
  std::string text;
  for (const Field &field : fields()) {
    const Value value = field.storedIn(other) ? valueOf(form, field, element) : std::nullopt;
    text += value ? std::to_string(value->size()) + ":" + *value : "-";
  }
  return text;
}

// Empty for an entry without an identifier, by which it cannot be known again.
std::string identifier(Form form, Form /*other*/, const SSIB_ENTRY_LIST &element) {
  return valueOf(form, *findField("Job_ID"), element).value_or("");
}

// Pairs what has the same description and no partner yet, in order.
void pairUp(const Queue &first, const Queue &second, Describe describe, Pairs &pairs) {
  std::multimap<std::string, std::size_t> unpaired;
  for (std::size_t i = 0; i < second.elements.size(); ++i) {
    if (pairs.isSecondPaired[i]) continue;
    std::string text = describe(second.form(), first.form(), *second.elements[i]);
    if (!text.empty()) unpaired.emplace(std::move(text), i);
  }
  for (std::size_t i = 0; i < first.elements.size(); ++i) {
    if (pairs.secondOf.contains(i)) continue;
    const std::string text = describe(first.form(), second.form(), *first.elements[i]);
    const auto found = unpaired.lower_bound(text);
    if (found == unpaired.end() || found->first != text) continue;
    pairs.secondOf.emplace(i, found->second);
    pairs.isSecondPaired[found->second] = true;
    unpaired.erase(found);
  }
}

std::string changedFields(const Queue &first, const Queue &second, std::size_t i, std::size_t j) {
  std::string names;
  for (const Field &field : fields()) {
    if (!field.storedIn(first.form()) || !field.storedIn(second.form())) continue;
    if (valueOf(first.form(), field, *first.elements[i]) == valueOf(second.form(), field, *second.elements[j]))
      continue;
    names += (names.empty() ? "" : ", ") + std::string(field.name);
  }
  return names;
}

}  // namespace

std::vector<Difference> differencesOf(const Queue &first, const Queue &second) {
  Pairs pairs = {{}, std::vector<bool>(second.elements.size())};
  pairUp(first, second, contents, pairs);
  pairUp(first, second, identifier, pairs);
  std::vector<Difference> differences;
  for (std::size_t i = 0; i < first.elements.size(); ++i) {
    const auto pair = pairs.secondOf.find(i);
    if (pair == pairs.secondOf.end()) {
      differences.push_back({i + 1, 0, ""});
      continue;
    }
    std::string changed = changedFields(first, second, i, pair->second);
    if (i != pair->second || !changed.empty()) differences.push_back({i + 1, pair->second + 1, std::move(changed)});
  }
  for (std::size_t j = 0; j < second.elements.size(); ++j) {
    if (!pairs.isSecondPaired[j]) differences.push_back({0, j + 1, ""});
  }
  return differences;
}

}  // namespace tool
