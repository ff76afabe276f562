// SPDX-License-Identifier: MIT
// ssib, the tool for the person who looks after a device's queues.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <new>
#include <string_view>

#include "command_line.h"
#include "host.h"
#include "json.h"
#include "stop.h"

namespace tool {
namespace {

// A descriptor that is closed at start would be given to the next file opened, and the output with it: to a queue. What
// takes its place fails when it is used.
void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const int mode = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (fcntl(descriptor, F_GETFD) == -1) static_cast<void>(open("/dev/null", mode));
  }
}

Exit fail(const Parsed &parsed, bool isJson, const Stop &stop) {
  complain(parsed.request ? &*parsed.request : nullptr, isJson, stop);
  return stop.exit();
}

Exit run(int argc, char **argv) {
  Parsed parsed;
  // Until the command line is understood, the word itself tells.
  bool isJson = std::any_of(argv, argv + argc, [](std::string_view word) { return word == "--json"; });
  try {
    parsed = parseCommandLine(argc, argv);
    if (parsed.command == nullptr) return Exit::Done;
    isJson = parsed.request->json;
    startLibrary();
    return parsed.command->run(*parsed.request);
  } catch (const Stop &stop) {
    return fail(parsed, isJson, stop);
  } catch (const std::bad_alloc &) {
    // A message in another form would take memory.
    std::fputs(hasChangeBegun ? "ssib: out of memory; the change may have been made\n" : "ssib: out of memory\n",
               stderr);
    return Exit::Refused;
  } catch (const std::exception &error) {
    return fail(parsed, isJson, Stop(Exit::Refused, escaped(error.what())));
  }
}

}  // namespace
}  // namespace tool

int main(int argc, char **argv) {
  tool::occupyStandardDescriptors();
  return static_cast<int>(tool::run(argc, argv));
}
