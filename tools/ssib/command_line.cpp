// SPDX-License-Identifier: MIT
// The command line: the one file that knows the option parser.
#include "command_line.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <sstream>
#include <utility>

#include "command_table.h"
#include "host.h"
#include "locks.h"
#include "output.h"
#include "stop.h"

namespace tool {
namespace {

// The values are whether the place is the front of a queue that was read from a file.
const std::map<std::string, bool> kLocations = {
    {"prepend-hi", true}, {"append-hi", true}, {"prepend-lo", false}, {"append-lo", false}};

constexpr const char *kJsonHelp = "print JSON, failures on standard error too";

// What stands in the command line.
struct Arguments {
  std::string queue = plainName(SSIB_MAIN_QUEUE);
  std::string file, numbers, wait, source, target, toPlace, tries, failedTo, helpOn;
  std::string location = "append-lo";
  std::vector<std::string> matches, unset, unlessMatch, queues, columns, handler;
  GivenFields fields;
  const CLI::Option *queueOption = nullptr, *fileOption = nullptr;  // looking for them by name could take memory
  bool json = false, deleteFile = false, inPlace = false, dropFields = false, everything = false, yes = false;
  bool force = false, follow = false, wide = false;
};

std::uint32_t parseCount(const char *option, const std::string &text, std::uint32_t least, std::uint32_t largest) {
  std::uint32_t number = 0;
  if (parseNumber(text, largest, number) && number >= least) return number;
  throw Stop(Exit::Usage, std::string(option) + ": " + escaped(text) + " is not a number from " +
                              std::to_string(least) + " to " + std::to_string(largest));
}

bool isInFront(const std::string &location) {
  const auto found = kLocations.find(location);
  if (found != kLocations.end()) return found->second;
  throw Stop(Exit::Usage, "--at: " + escaped(location) + " is none of prepend-hi, append-hi, prepend-lo and append-lo");
}

GivenFields parseMatches(const std::vector<std::string> &texts) {
  GivenFields matches;
  for (const std::string &text : texts) matches.push_back(parseMatch(text));
  return matches;
}

Request requestOf(const Command &command, const Arguments &arguments, bool isQueueNamed) {
  if (!arguments.handler.empty() && (command.takes & Command::Handler) == 0) {
    throw Stop(Exit::Usage, std::string(command.name) + " takes no command after --; 'ssib run' does");
  }
  // GCC 12 releases a nested record twice when what follows throws, unless its type is named.
  Request request = {.operation = command.name,
                     .queue = arguments.file.empty() ? QueueName(arguments.queue) : QueueName::ofFile(arguments.file),
                     .isQueueNamed = isQueueNamed,
                     .isFileNamed = !arguments.file.empty(),
                     .selection = Selection{{}, parseMatches(arguments.matches)},
                     .fields = arguments.fields,
                     .unlessMatch = parseMatches(arguments.unlessMatch),
                     .source = arguments.source,
                     .addInFront = isInFront(arguments.location),
                     .handler = arguments.handler,
                     .follow = arguments.follow,
                     .queues = arguments.queues,
                     .json = arguments.json,
                     .deleteFile = arguments.deleteFile,
                     .inPlace = arguments.inPlace,
                     .dropFields = arguments.dropFields,
                     .everything = arguments.everything,
                     .force = arguments.force,
                     .wide = arguments.wide,
                     .yes = arguments.yes};
  if (isQueueNamed && arguments.file.empty()) request.queues.push_back(arguments.queue);
  if (!arguments.numbers.empty()) request.selection.ranges = parseRanges(arguments.numbers);
  for (const std::string &name : arguments.columns) request.columns.push_back(&requireField(name));
  for (const std::string &name : arguments.unset) request.unset.push_back(&requireField(name));
  if (!arguments.target.empty()) request.target = QueueName(arguments.target);
  if (!arguments.toPlace.empty()) request.toPlace = parseCount("--to-place", arguments.toPlace, 1, UINT32_MAX);
  if (!arguments.failedTo.empty()) request.failedTo = QueueName(arguments.failedTo);
  if (!arguments.tries.empty()) request.tries = parseCount("--tries", arguments.tries, 1, UINT32_MAX);
  constexpr std::uint32_t kLongestWait = 4'000'000;
  if (!arguments.wait.empty()) setLockWait(parseCount("--wait", arguments.wait, 0, kLongestWait) * 1000);
  return request;
}

// Help in this tool's words: usage from the table of commands, nothing but its type after an option.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App *app, std::string name) const override {
    const auto command = std::ranges::find(commands(), app->get_name(), &Command::name);
    if (command != commands().end()) return "Usage: " + name + " " + command->usage + "\n";
    return "Usage: " + name + (app->get_parent() == nullptr ? " [OPTIONS] COMMAND\n" : " [COMMAND]\n");
  }
  std::string make_option_opts(const CLI::Option *option) const override {
    return option->get_type_name().empty() ? "" : " " + option->get_type_name();
  }
  std::string make_help(const CLI::App *app, std::string name, CLI::AppFormatMode mode) const override {
    return CLI::detail::find_and_replace(CLI::Formatter::make_help(app, std::move(name), mode), "\n\n\n", "\n\n");
  }
};

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

void declareList(CLI::App &command, const char *name, std::vector<std::string> &values, const char *type,
                 const char *help) {
  command.add_option(name, values, help)->type_name(type)->allow_extra_args(false);
}

void declareEntries(CLI::App &command, unsigned takes, Arguments &arguments) {
  if (takes & Command::Numbers) {
    command.add_option("NUMBERS", arguments.numbers, "entries: 3, 2-5 or 1,4-6, the first being 1")->type_name("");
  }
  if (takes & (Command::Numbers | Command::Match)) {
    declareList(command, "--match", arguments.matches, "FIELD=VALUE", "entries with that value; may be repeated");
  }
  if (takes & Command::Everything) command.add_flag("--all", arguments.everything, "every entry");
  if (takes & Command::Fields) declareFields(command, arguments);
  if (takes & Command::Unset) declareList(command, "--unset", arguments.unset, "FIELD", "take the field out");
}

void declareHandler(CLI::App &command, Arguments &arguments) {
  const auto misplaced = [](const std::string &word) {
    throw Stop(Exit::Usage,
               escaped(word) + " stands in front of the command's --: ssib run [OPTIONS] -- COMMAND [ARG...]");
  };
  command.add_option_function<std::string>("COMMAND", misplaced, "after --, with its arguments: what handles an entry")
      ->type_name("");
  command.add_flag("--follow", arguments.follow, "every entry, also those that come; ends on SIGINT and SIGTERM");
  command.add_option("--tries", arguments.tries, "how often to try a COMMAND that fails; default: 1")->type_name("N");
  command.add_option("--failed-to", arguments.failedTo, "move an entry whose COMMAND fails to this queue")
      ->type_name("QUEUE");
}

void declareOthers(CLI::App &command, unsigned takes, Arguments &arguments) {
  if (takes & Command::Place) {
    command
        .add_option("--at", arguments.location,
                    "where it goes: prepend-hi, append-hi, prepend-lo or append-lo, the default")
        ->type_name("PLACE");
  }
  if (takes & Command::Source) {
    command.add_option("--from", arguments.source, "add the entries of a JSON file, - for standard input")
        ->type_name("FILE");
    declareList(command, "--unless-match", arguments.unlessMatch, "FIELD=VALUE",
                "add nothing when an entry of the queue has that value; may be repeated");
  }
  if (takes & Command::Target) {
    command.add_option("--to", arguments.target, "the other queue")->type_name("QUEUE");
    command.add_option("--to-place", arguments.toPlace, "number that the first of them gets; default: the end")
        ->type_name("N");
    command.add_flag("--drop-fields", arguments.dropFields, "leave out what the other form does not hold");
  }
  if (takes & Command::Other) {
    command.add_option("OTHER", arguments.target, "the other queue")->required()->type_name("");
  }
  if (takes & Command::Queues) {
    command.add_option("QUEUE", arguments.queues, "the queues; default: all of the partition")->type_name("");
  }
  if (takes & Command::Table) {
    command.add_option("--columns", arguments.columns, "fields of the table, with commas in between")
        ->type_name("FIELD,...")
        ->delimiter(',')
        ->allow_extra_args(false);
    command.add_flag("--wide", arguments.wide, "lines longer than the terminal is wide, too");
  }
  if (takes & Command::InPlace) command.add_flag("--in-place", arguments.inPlace, "write a sound file in its place");
  if (takes & Command::Delete) command.add_flag("--delete", arguments.deleteFile, "then delete the queue's file");
  if (takes & Command::Force) {
    command.add_flag("--force", arguments.force, "write although something of the file is lost");
  }
  if (takes & Command::Yes) command.add_flag("-y,--yes", arguments.yes, "do not ask");
  command.add_flag("--json", arguments.json, kJsonHelp);
}

void declareCommand(CLI::App &app, const Command &command, Arguments &arguments) {
  CLI::App *declared = app.add_subcommand(command.name, command.summary);
  declared->group("Commands")
      ->fallthrough()
      ->footer(std::string(command.details) +
               "\n\nSee 'ssib --help' for --queue, --file, --wait, how entries are chosen and exit statuses.");
  declareEntries(*declared, command.takes, arguments);
  if (command.takes & Command::Handler) declareHandler(*declared, arguments);
  declareOthers(*declared, command.takes, arguments);
}

// Names that could have been meant instead of the first word that is not known.
std::vector<std::string> knownNames(const CLI::App &app, bool isOption) {
  std::vector<std::string> names;
  if (isOption) {
    for (const CLI::Option *option : app.get_options()) names.push_back(option->get_name());
    return names;
  }
  for (const CLI::App *command : app.get_subcommands(nullptr)) names.push_back(command->get_name());
  return names;
}

// The parser's own words are not for everybody. What it says of an option begins with its name.
std::string inPlainWords(const CLI::Error &error, const std::string &command, const std::string &unknown) {
  std::string what = error.what();
  const std::string kind = error.get_name();
  const std::string option = what.substr(0, what.find(':'));
  if (!unknown.empty() && command.empty()) return unknown + " is neither a command nor an option";
  if (unknown.starts_with("-")) return unknown + " is not an option of 'ssib " + command + "'";
  if (!unknown.empty()) return unknown + " is more than 'ssib " + command + "' takes";
  if (kind == "RequiredError") {
    return command.empty() ? "no command is given" : what.substr(0, what.find(' ')) + " is missing";
  }
  if (kind == "ArgumentMismatch") {
    return option + (what.find("At Most") != std::string::npos ? " is given more than once" : ": its value is missing");
  }
  if (kind == "ConversionError") return "a value is given where none belongs" + what.substr(what.find(':'));
  return what;
}

std::string explained(const CLI::App &app, const CLI::Error &error) {
  const std::vector<CLI::App *> given = app.get_subcommands();
  const CLI::App &command = given.empty() ? app : *given.front();
  const std::vector<std::string> rest = app.remaining(true);
  const std::string what =
      inPlainWords(error, given.empty() ? "" : command.get_name(), rest.empty() ? "" : rest.front());
  std::string meant;
  if (!rest.empty()) meant = didYouMean(rest.front(), knownNames(command, rest.front().starts_with("-")));
  return escaped(what) + meant + "\nRun 'ssib " + (given.empty() ? "" : command.get_name() + " ") + "--help' for help.";
}

void declareAll(CLI::App &app, Arguments &arguments) {
  app.formatter(std::make_shared<HelpFormatter>());
  app.set_help_flag("-h,--help", "show this help");
  app.set_version_flag(
      "-V,--version",
      [&app]() -> std::string {
        if (app.get_subcommands().empty()) return "ssib " SSIB_VERSION;
        throw Stop(Exit::Usage, "--version stands alone; the field's option is --version-number");
      },
      "show the version");
  arguments.queueOption =
      app.add_option("-q,--queue", arguments.queue, "name of the queue's file; default: Main.ssib")->type_name("NAME");
  arguments.fileOption = app.add_option("-f,--file", arguments.file,
                                        "a queue file anywhere, in place of --queue; -: standard input, to look only")
                             ->type_name("PATH")
                             ->excludes("--queue");
  app.add_option("--wait", arguments.wait, "how long to wait for other commands; default: until they are done")
      ->type_name("SECONDS");
  app.add_flag("--json", arguments.json, kJsonHelp);
  app.footer(kFooter);
  app.require_subcommand(1);
  for (const Command &command : commands()) declareCommand(app, command, arguments);
  app.add_subcommand("help", "Show this help, or that of a command")
      ->group("Commands")
      ->add_option("COMMAND", arguments.helpOn, "the command")
      ->type_name("");
}

void printHelp(const CLI::App &app, const std::string &name) {
  for (const Command &command : commands()) {
    if (name == command.name) return print(app.get_subcommand(name)->help(app.get_name()));
  }
  if (!name.empty() && name != "help") {
    throw Stop(Exit::Usage, escaped(name) + " is not a command" + didYouMean(name, knownNames(app, false)));
  }
  // The application's own help() is that of the command parsed, here "help".
  print(app.get_formatter()->make_help(&app, app.get_name(), CLI::AppFormatMode::Normal));
}

// What stands after "--" is the business of the command that `run` starts. The parser would look into it.
int cutHandler(int argc, char **argv, std::vector<std::string> &handler) {
  char **const end = argv + argc;
  const auto is = [](const char *word) { return [word](const std::string &other) { return other == word; }; };
  char **const dashes = std::find_if(argv, end, is("--"));
  if (dashes == end || std::none_of(argv, dashes, is("run"))) return argc;
  handler.assign(dashes + 1, end);
  return static_cast<int>(dashes - argv);
}

}  // namespace

Parsed parseCommandLine(int argc, char **argv) {
  CLI::App app("Looks after the queues of jobs in a device's flash partition.", "ssib");
  Arguments arguments;
  declareAll(app, arguments);
  try {
    app.parse(cutHandler(argc, argv, arguments.handler), argv);
  } catch (const CLI::ParseError &error) {
    if (error.get_exit_code() != 0) throw Stop(Exit::Usage, explained(app, error));
    std::ostringstream asked;  // help or version
    app.exit(error, asked);
    print(asked.str());
    return {};
  }
  const std::string name = app.get_subcommands().front()->get_name();
  for (const Command &command : commands()) {
    if (name != command.name) continue;
    return {&command,
            requestOf(command, arguments, arguments.queueOption->count() + arguments.fileOption->count() != 0)};
  }
  printHelp(app, arguments.helpOn);
  return {};
}

}  // namespace tool
