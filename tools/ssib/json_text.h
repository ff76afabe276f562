// SPDX-License-Identifier: MIT
// Texts of a queue as JSON values. A queue's texts are bytes; JSON's are Unicode. So that every text comes back byte
// for byte, one that is not UTF-8 is an object with its bytes in hexadecimal: {"bytes": "6162ff"}.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

// The value that stands for a text: a string, or the object with its bytes where the text is not UTF-8.
nlohmann::ordered_json jsonOfText(std::string_view text);

// The text that a value stands for; none when it stands for no text of a queue, which has no NUL in it.
std::optional<std::string> textOfJson(const nlohmann::ordered_json &value);

}  // namespace tool
