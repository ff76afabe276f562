/* SPDX-License-Identifier: MIT */
// Stands between this process and the C library: makes system calls fail, and writes down what they change on the disk.
//
// A program that is not told otherwise takes its fault from the variable VYX_FAULT, "CALL NTH ERROR LASTS". When
// VYX_RECORD names a file, a line is added to it for each call, "call NAME", and for each change that was made:
//   create NODE PATH; mkdir NODE PATH; write NODE OFFSET HEX; truncate NODE LENGTH; rename FROM TO; unlink PATH;
//   sync NODE; a NODE is DEVICE:INODE
#pragma once

#include <string>

namespace vyx::tests {

// Fails the nth call from now on, once or with all that follow it; the call "any" is each of those that are counted
// here. Error 0 reads or writes half, where there is more than a byte to read or write.
struct Fault {
  std::string call;
  int nth, error;
  bool lasts = false;
  int seen = 0;
};
Fault &fault();

}  // namespace vyx::tests
