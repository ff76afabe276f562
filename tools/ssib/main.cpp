// SPDX-License-Identifier: MIT
// ssib, the tool for the person who looks after a device's queues: command line, help and exit status.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>
#include <sstream>

#include "commands.h"
#include "host.h"
#include "output.h"
#include "stop.h"

namespace tool {
namespace {

enum Takes : unsigned { kNumber = 1, kFields = 2, kJson = 4, kLocation = 8, kDelete = 16, kQueues = 32, kInPlace = 64 };

struct Command {
  const char *name;
  unsigned takes;
  Exit (*run)(const Request &);
  const char *summary;
  const char *details;
};

template <auto command>
Exit done(const Request &request) {
  command(request);
  return Exit::Done;
}

constexpr Command kCommands[] = {
    {"add", kFields | kLocation, done<addEntry>, "Add one entry",
     "An option that is not given leaves its field out; a command line that is not given is stored empty.\n"
     "Priorities (--at) decide the place in the queue once: they are not stored, and what is in the file already\n"
     "stands between hi and lo. So both hi places are the front of the queue here, and both lo places its end.\n"
     "An entry of a task list is found again, to be taken or removed, only when it has all of --display-name,\n"
     "--job-type, --fqdd, --resource-uri, --resource-type and --resource-namespace.\n"
     "Refused are: a number out of range, a field that the queue's form does not store, and a value that the file\n"
     "would not give back: in an XML queue control characters other than tab, line feed and carriage return; in a\n"
     "task list control characters, any of \" \\ { } [ ], an empty value, more than 4095 bytes, the name of a key."},
    {"list", kJson, done<listEntries>, "Show the entries in order",
     "Changes no queue. An empty or missing one is exit status 0. \"-\" stands for a field that the entry does not\n"
     "have, \"\" for a text without characters."},
    {"show", kNumber | kJson, done<showEntry>, "Show one entry with all its fields", "Changes no queue."},
    {"peek", kJson, done<showEntry>, "Show the first entry", "Changes no queue."},
    {"take", kJson, done<takeEntry>, "Show the first entry and remove it from the queue",
     "The entry is removed only after all of it has been printed. When the removal fails, standard error says so.\n"
     "The last entry of a task list is shown but not removed: 'ssib delete' deletes the file."},
    {"remove", kNumber, done<removeEntry>, "Remove one entry",
     "Refused when the library could not tell the entry from another one. It does not go by the place: in an XML\n"
     "queue it compares Version, Block_ID, RB_Type, RB_Req, Timeout, Rtn_Code, Job_ID, Cmd_Line, Task_Name and\n"
     "LU_Category, in a task list Display_Name, Job_Type, FQDD, Resource_URI, Resource_Type and Resource_Namespace.\n"
     "'ssib take' takes the first entry, whatever others are like.\n"
     "The last entry of a task list cannot be removed: 'ssib delete' deletes the file."},
    {"replace", kNumber | kFields, done<replaceEntry>, "Give one entry new values for the fields named",
     "Fields that are not named keep their values, and the entry keeps its place. Refused when the library could not\n"
     "tell the entry from another one: in an XML queue it compares all fields, in a task list Display_Name, Job_Type,\n"
     "FQDD and Resource_Namespace. An entry that is given a command line loses its extra content (Node)."},
    {"merge", kDelete, done<mergeQueue>, "Move the entries of a queue to the end of its main queue",
     "--queue names the queue to fold into Main.ssib or, when its name contains \"json\", into BIOS_task_list.json.\n"
     "The queue's file stays, empty. A task list's keeps its entries unless --delete is given: merged once more, they\n"
     "are in the main queue twice."},
    {"delete", 0, done<deleteQueue>, "Delete the queue's file", ""},
    {"check", kQueues | kJson, checkQueues, "Say whether queues are sound",
     "Without QUEUE all queue files of the partition. Changes no queue. Remarks are what the next write would drop or\n"
     "change, jobs that firmware could never remove or cannot tell apart, and other oddities.\n"
     "Exit status 0: sound; 1: remarks, or a queue is missing; 3: damaged, or a file cannot be read."},
    {"salvage", kInPlace, salvageQueue, "Print the entries of a damaged queue that are whole",
     "They are printed as 'list --json' prints entries; standard error says where the file is damaged and what was "
     "left\n"
     "out. --in-place writes them in place of the damaged file, which is kept as NAME.damaged."},
};

constexpr const char *kFooter =
    "Queues: a name that contains \"json\" is a JSON task list, any other an XML queue file. Entries count from 1.\n"
    "Commands that change a queue wait for each other. Firmware does not: what has the queue open there undoes the\n"
    "change with its next write. A change writes the whole file anew, so what 'list' and 'show' do not show is gone\n"
    "then, and so is the extra content (Node) of an entry that has a command line. Each look at a task list with\n"
    "UPDATE jobs sets their configuration attribute.\n\n"
    "Exit status:\n"
    "  0  done\n"
    "  1  there was nothing to do it to: the queue is empty, or there is no such entry or file; check: remarks\n"
    "  2  wrong usage; nothing was looked at\n"
    "  3  the library or the platform refused: standard error names the operation, the file and the status; check: a\n"
    "     damaged queue\n\n"
    "Statuses:\n"
    "  EFI_INVALID_PARAMETER    open: the file is damaged, or not of the form that its name says: 'ssib check' says\n"
    "                           where, 'ssib salvage' reads what is whole\n"
    "  EFI_ACCESS_DENIED        no permission, not a regular file, a file that cannot be looked at, or not a name for\n"
    "                           a file of the partition: 1 to 255 bytes without '/', not beginning with '.'\n"
    "  EFI_DEVICE_ERROR         not all could be read or written; a full disk, for example\n"
    "  SSIB_STATUS_NO_FILE      write, an XML queue: no permission, or the file cannot be made\n"
    "  EFI_ABORTED              the same, a task list\n"
    "  EFI_OUT_OF_RESOURCES, SSIB_STATUS_NO_DOCUMENT  out of memory\n\n"
    "Environment:\n"
    "  VARSK_ROOT  directory that stands for the flash: queues are the files in $VARSK_ROOT/VAR025.\n"
    "              Default: $XDG_STATE_HOME/varsk, else ~/.local/state/varsk\n"
    "  VARSK_SYNC  0: do not wait until what is written has reached the disk\n"
    "  QUOR_DEBUG  where the library's debug log goes: 'stderr' or a file; default: nowhere\n"
    "  QUOR_TRACE  level up to which accesses to the partition are traced on standard error (they have level 5)";

const std::map<std::string, std::uint32_t> kLocations = {{"prepend-hi", SSIB_ADD_PREPEND_HI},
                                                         {"append-hi", SSIB_ADD_APPEND_HI},
                                                         {"prepend-lo", SSIB_ADD_PREPEND_LO},
                                                         {"append-lo", SSIB_ADD_APPEND_LO}};

// What the command line says, as it stands there.
struct Arguments {
  std::string queue = plainName(SSIB_MAIN_QUEUE);
  std::string number = "1";
  std::string location = "append-lo";
  GivenFields fields;
  bool json = false;
  bool deleteFile = false;
  bool inPlace = false;
  std::vector<std::string> queues;
};

std::size_t parseEntryNumber(const std::string &text) {
  const bool isDigits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
  if (!isDigits || text.find_first_not_of('0') == std::string::npos) {
    throw Stop(Exit::Usage, escaped(text) + " is not a number of an entry; the first is 1");
  }
  std::uint32_t number = 0;
  return parseNumber(text, UINT32_MAX, number) ? number : UINT32_MAX;
}

Request requestOf(const Arguments &arguments) {
  return {.queue = QueueName(arguments.queue),
          .fields = arguments.fields,
          .number = parseEntryNumber(arguments.number),
          .addLocation = kLocations.at(arguments.location),
          .json = arguments.json,
          .deleteFile = arguments.deleteFile,
          .queues = {arguments.queues.begin(), arguments.queues.end()},
          .inPlace = arguments.inPlace};
}

const char *groupOf(const Field &field) {
  if (field.storedIn(Form::Xml) && field.storedIn(Form::TaskList)) return "Fields of both forms";
  return field.storedIn(Form::Xml) ? "Fields of an XML queue" : "Fields of a task list";
}

void declareField(CLI::App &command, const Field &field, Arguments &arguments) {
  std::string help = field.help;
  if (field.kind == Field::Kind::Number) help = "0.." + std::to_string(field.largest) + "; " + help;
  command
      .add_option_function<std::string>(
          std::string("--") + field.option,
          [&](const std::string &value) {
            arguments.fields.push_back({&field, value});
          },
          help)
      ->type_name(field.kind == Field::Kind::Number ? "NUMBER" : "TEXT")
      ->group(groupOf(field));
}

void declareFields(CLI::App &command, Arguments &arguments) {
  for (const Field &field : fields()) {
    if (field.option != nullptr) declareField(command, field, arguments);
  }
}

CLI::App *declareCommand(CLI::App &app, const Command &command, Arguments &arguments) {
  CLI::App *declared = app.add_subcommand(command.name, command.summary);
  declared->fallthrough()->footer(std::string(command.details) +
                                  "\n\nSee 'ssib --help' for --queue and exit statuses.");
  if (command.takes & kNumber) {
    declared->add_option("N", arguments.number, "number of the entry, the first being 1")->required()->type_name("");
  }
  if (command.takes & kFields) declareFields(*declared, arguments);
  if (command.takes & kJson)
    declared->add_flag("--json", arguments.json, "print JSON, with the record's field names as keys");
  if (command.takes & kLocation) {
    declared->add_option("--at", arguments.location, "priority of the entry, which decides its place")
        ->check(CLI::IsMember(kLocations))
        ->type_name("PLACE")
        ->capture_default_str();
  }
  if (command.takes & kDelete) declared->add_flag("--delete", arguments.deleteFile, "then delete the queue's file");
  if (command.takes & kQueues) declared->add_option("QUEUE", arguments.queues, "names of queues")->type_name("");
  if (command.takes & kInPlace) declared->add_flag("--in-place", arguments.inPlace, "write a sound file");
  return declared;
}

std::map<const CLI::App *, const Command *> declareAll(CLI::App &app, Arguments &arguments) {
  app.set_version_flag("--version", [&app]() -> std::string {
    if (app.get_subcommands().empty()) return "ssib " SSIB_VERSION;
    throw Stop(Exit::Usage, "--version stands alone; the field's option is --version-number");
  });
  app.add_option("-q,--queue", arguments.queue, "name of the queue's file; works after the command, too")
      ->type_name("NAME")
      ->capture_default_str();
  app.footer(kFooter);
  app.require_subcommand(1);
  app.failure_message([](const CLI::App *parsed, const CLI::Error &error) {
    const std::vector<std::string> rest = parsed->remaining();
    const bool isUnknown = parsed->get_subcommands().empty() && !rest.empty();
    const std::string what = isUnknown ? rest.front() + " is neither a command nor an option" : error.what();
    return "ssib: " + escaped(what) + "\nRun 'ssib --help' for help.\n";
  });
  std::map<const CLI::App *, const Command *> commands;
  for (const Command &command : kCommands) commands.emplace(declareCommand(app, command, arguments), &command);
  return commands;
}

// A descriptor that is closed at start would be given to the next file opened, and the output with it: to a queue. What
// takes its place fails when it is used.
void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const int mode = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (fcntl(descriptor, F_GETFD) == -1) static_cast<void>(open("/dev/null", mode));
  }
}

Exit fail(Exit exit, const std::string &message) {
  std::fprintf(stderr, "ssib: %s\n", message.c_str());
  return exit;
}

Exit run(int argc, char **argv) {
  CLI::App app("Looks after the queues of jobs in a device's flash partition.", "ssib");
  Arguments arguments;
  const auto commands = declareAll(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &error) {
    std::ostringstream asked;  // help or version
    const int status = app.exit(error, asked);
    print(asked.str());
    return status == 0 ? Exit::Done : Exit::Usage;
  }
  if (app.count("--queue") > 0) arguments.queues.push_back(arguments.queue);
  const Request request = requestOf(arguments);
  startLibrary();
  return commands.at(app.get_subcommands().front())->run(request);
}

}  // namespace
}  // namespace tool

int main(int argc, char **argv) {
  using tool::Exit;
  tool::occupyStandardDescriptors();
  Exit exit = Exit::Done;
  try {
    exit = tool::run(argc, argv);
  } catch (const tool::Stop &stop) {
    exit = tool::fail(stop.exit(), stop.what());
  } catch (const std::bad_alloc &) {
    exit = tool::fail(Exit::Refused, "out of memory");
  } catch (const std::exception &error) {
    exit = tool::fail(Exit::Refused, tool::escaped(error.what()));
  }
  return static_cast<int>(exit);
}
