// SPDX-License-Identifier: MIT
// Files outside the partition.
#pragma once

#include <cstdio>
#include <string>

namespace tool {

// Adds what a stream still holds to a text; false when that could not be read.
bool readRest(std::FILE *stream, std::string &text);

// All that a file holds, or standard input when the path is "-". Throws Stop.
std::string readAll(const std::string &path);

// Whether there is a file at a path. Throws Stop when there is something else, a symbolic link for example, or when it
// cannot be found out.
bool isFile(const std::string &path);

// Makes a file hold these bytes in one step: whatever fails, the old one stays, whole. Owner, group and mode stay, as
// far as the system permits that; a new file is for its owner alone. Throws Stop.
void replaceFile(const std::string &path, const std::string &bytes);

// Removes a file, when there is one, for good. Throws Stop.
void removeFile(const std::string &path);

}  // namespace tool
