// SPDX-License-Identifier: MIT
#include "command_table.h"

namespace tool {
namespace {

using enum Command::Takes;

constexpr Command kCommands[] = {
    {"add", Fields | Place | Source | Force, "[OPTIONS]", addEntries, "Add an entry, or many from a file",
     "A field that is not given is left out. An XML queue always stores Version and Block_ID, then 0, and Task_Name,\n"
     "LU_Category and the command line, then empty.\n"
     "--from reads JSON, an array or one object after another, as 'list --json' prints it, and adds all entries in\n"
     "one write, or none. What an object leaves out is treated alike.\n"
     "{\"bytes\": \"c3ff\"} is a text that is not UTF-8.\n"
     "Priorities (--at) decide the place in the queue once: they are not stored, and what is in the file already\n"
     "stands between hi and lo. So both hi places are the front of the queue here, and both lo places its end.\n"
     "Refused are: an entry without any field, a number out of range, a field that the queue's form does not store,\n"
     "and a value that the file would not give back: in an XML queue control characters other than tab, line feed and\n"
     "carriage return, and a double quote in front of a command line that has none at its end; in a task list\n"
     "control characters, any of \" \\ { } [ ], an empty value, more than 4095 bytes, the name of a key."},
    {"list", Numbers | Table, "[OPTIONS] [NUMBERS]", listEntries, "Show the entries in order",
     "Changes no queue. \"-\" stands for a field that the entry does not have, \"\" for a text without characters.\n"
     "On a terminal lines are cut at its width."},
    {"show", Numbers, "[OPTIONS] {--match FIELD=VALUE | NUMBERS}", showEntries, "Show entries with all their fields",
     "Changes no queue."},
    {"peek", Numbers, "[OPTIONS] [NUMBERS]", peekEntries,
     "Show the first entry that matches, or those chosen by number", "Changes no queue."},
    {"take", Numbers | Force, "[OPTIONS] [NUMBERS]", takeEntries,
     "Show the first entry that matches, or those chosen by number, and remove them",
     "What is shown is removed only after all of it has been printed. When that fails, standard error says so."},
    {"remove", Numbers | Everything | Yes | Force, "[OPTIONS] {--all | --match FIELD=VALUE | NUMBERS}", removeEntries,
     "Remove entries",
     "With a number and --match the entry goes only if it matches: so what was looked at earlier is what goes.\n"
     "The file of a task list goes with its last entry."},
    {"replace", Numbers | Fields | Unset | Everything | Force, "[OPTIONS] {--all | --match FIELD=VALUE | NUMBERS}",
     replaceEntries, "Give entries new values for the fields named",
     "Fields that are not named keep their values, and the entries keep their places. An entry that is given a\n"
     "command line loses its extra content (Node)."},
    {"move", Numbers | Target | Everything | Force,
     "[OPTIONS] {--to QUEUE | --to-place N} {--all | --match FIELD=VALUE | NUMBERS}", moveEntries,
     "Move entries to another queue or another place",
     "The target is written, and read back, before the entries leave their queue: when the power fails in between,\n"
     "they are in both. --drop-fields leaves out what the form of the target does not hold."},
    {"copy", Numbers | Target | Everything | Force,
     "[OPTIONS] {--to QUEUE | --to-place N} {--all | --match FIELD=VALUE | NUMBERS}", copyEntries,
     "Copy entries to another queue or another place",
     "--drop-fields leaves out what the form of the target does not hold."},
    {"run", Match | Everything | Handler | Force, "[OPTIONS] -- COMMAND [ARG...]", runHandler,
     "Hand the first entry to a command, and remove it then",
     "COMMAND gets the entry on standard input, as the object that 'list --json' prints, and in its environment:\n"
     "SSIB_QUEUE is the queue; SSIB_JOB_ID, SSIB_CMD_LINE and so on are the fields, in upper case. A field that the\n"
     "entry does not have is not set, nor is one of more than 64 KiB, which stands on standard input alone.\n"
     "Only when COMMAND ends with exit status 0 is the entry removed, and only if it is still there as it was. When\n"
     "it has changed or gone meanwhile, nothing is removed, and standard error says so; a changed one is a new job.\n"
     "So each job is handled at least once, and some twice: one whose 'run' is killed, or loses its power, between\n"
     "the end of COMMAND and the write. Other commands work on the queue meanwhile; a second 'run' on it waits for\n"
     "the first one to end, as long as --wait allows.\n"
     "When COMMAND fails, the job stays where it is and 'run' ends with exit status 4; with --failed-to it is moved\n"
     "to the end of that queue, of the same form, and --all and --follow go on.\n"
     "SIGINT and SIGTERM end 'run' between two jobs: a COMMAND that is running is left to finish, but a second signal\n"
     "is passed on to it. When 'run' itself is killed, its COMMAND goes on.\n"
     "Exit status: 0: every job that was handed over is handled, also after a signal; 1: there was no job;\n"
     "4: COMMAND failed; 5: COMMAND ended with 0, but its entry had changed or gone, or a second signal ended the\n"
     "wait for the lock, so nothing was removed; 3: among others, COMMAND cannot be started: then nothing is changed."},
    {"merge", Delete | Force, "{-q NAME | -f PATH} [OPTIONS]", mergeQueue,
     "Move the entries of a queue to the end of its main queue",
     "--queue names the queue to fold into Main.ssib or, when its name contains \"json\", into BIOS_task_list.json.\n"
     "An XML queue's file stays, empty, unless --delete is given; a task list's goes with its last entry. The main\n"
     "queue is written, and read back, first: when the power fails in between, the entries are in both, and the next\n"
     "merge says so."},
    {"diff", Other, "[OPTIONS] OTHER", compareQueues, "Show how two queues differ",
     "Compares the queue of --queue with OTHER. An entry is known again by all its fields or, changed, by its Job_ID.\n"
     "Of queues of two forms only the fields are compared that both store. Exit status 0: the same; 1: different."},
    {"queues", 0, "[OPTIONS]", listQueues, "Show the queue files of the partition", "Changes no queue."},
    {"watch", 0, "[OPTIONS]", watchQueue, "Show what comes, goes and changes in the queue, until it is interrupted",
     "Changes no queue. Prints a line for each entry, with --json an object in one line.\n"
     "It compares what it reads with what it read before: an entry that comes and goes between two looks is not seen.\n"
     "When it was too slow to read what every write left, standard error says so. A new place in the queue is\n"
     "not a change. Ends on SIGINT and SIGTERM, with exit status 0."},
    {"check", Queues, "[OPTIONS] [QUEUE...]", checkQueues, "Say whether queues are sound",
     "Changes no queue. Remarks are what the next write would drop or change, jobs that firmware could never remove\n"
     "or cannot tell apart, and other oddities.\n"
     "Exit status 0: sound; 1: remarks, or a queue is missing; 3: damaged, or a file cannot be read."},
    {"salvage", InPlace, "[OPTIONS]", salvageQueue, "Print the entries of a damaged queue that are whole",
     "They are printed as 'add --from' takes them; standard error says where the file is damaged and what is\n"
     "left out. What 'add' refuses of them it names, a lone double quote in front of a command line for example.\n"
     "--in-place writes them in place of the damaged file, which is kept as NAME.damaged, never over an older one."},
    {"delete", Yes, "{-q NAME | -f PATH} [OPTIONS]", deleteQueue, "Delete the queue's file",
     "--queue has to name it. A queue that has entries, or cannot be read, needs --yes or an answer on the terminal."},
};

}  // namespace

std::span<const Command> commands() {
  return kCommands;
}

const char *const kFooter =
    "Queues: a name that contains \"json\" is a JSON task list, any other an XML queue file. Entries count from 1 and\n"
    "are chosen by number (3), range (2-5), list (1,4-6), by --match FIELD=VALUE, or by both: then those that match.\n"
    "FIELD is an option without its dashes or a name that 'show' prints.\n"
    "--queue, --file and --wait stand before or after the command.\n"
    "--file stands in for --queue. The file may lie anywhere, and is changed there as safely as one of the partition;\n"
    "its name without the directories decides the form. Standard input is a task list unless it begins with '<'.\n"
    "Other queues that a command names, after --to for example, are those of the partition.\n\n"
    "Commands that change a queue wait for each other. Firmware does not: what has the queue open there undoes the\n"
    "change with its next write. A change writes the whole file and reads it back before it is called done. What\n"
    "would be lost by that, because the library does not know it or reads it as something else, is named by commands\n"
    "that look, on standard error, and by 'ssib check'. Commands that change such a queue refuse without --force.\n"
    "Each look at a task list of the partition with UPDATE jobs sets their configuration attribute; 'check' and\n"
    "'salvage' do not.\n\n"
    "Exit status:\n"
    "  0  done\n"
    "  1  there was nothing to do it to: the queue is empty, or there is no such entry or file; diff: they differ;\n"
    "     check: there are remarks; run: there is no job; add: --unless-match found an entry; delete: the answer was\n"
    "     no; salvage --in-place: the file is not damaged\n"
    "  2  wrong usage; nothing was changed\n"
    "  3  the library or the platform refused: standard error names the operation, the file and the status;\n"
    "     check: a queue is damaged, or cannot be read; run: COMMAND cannot be started\n"
    "  4  run: COMMAND failed; its job is still there, or in the queue of --failed-to\n"
    "  5  run: COMMAND did its work, but its entry had changed or gone meanwhile, or a second signal came while 'run'\n"
    "     waited for the lock; nothing was removed\n\n"
    "Statuses:\n"
    "  EFI_INVALID_PARAMETER    open: the file is damaged, or not of the form that its name says: 'ssib check' says\n"
    "                           where, 'ssib salvage' prints what is whole\n"
    "  EFI_ACCESS_DENIED        no permission, not a regular file, a file that cannot be looked at, or not a name for\n"
    "                           a file of the partition: 1 to 255 bytes without '/', not beginning with '.'\n"
    "  EFI_DEVICE_ERROR         not all could be read or written; a full disk, for example\n"
    "  SSIB_STATUS_NO_FILE      write, an XML queue: no permission, or the file cannot be made\n"
    "  EFI_ABORTED              the same, a task list\n"
    "  VYX_HOST_TIMEOUT         another command held the lock for longer than --wait\n"
    "  EFI_OUT_OF_RESOURCES, SSIB_STATUS_NO_DOCUMENT  out of memory, or a file of 4 GiB and more\n\n"
    "Environment:\n"
    "  VARSK_ROOT  directory that stands for the flash: queues are the files in $VARSK_ROOT/VAR025.\n"
    "              Default: $XDG_STATE_HOME/varsk, else ~/.local/state/varsk\n"
    "  VARSK_SYNC  0: do not wait until what is written has reached the disk\n"
    "  QUOR_DEBUG  where the library's debug log goes: 'stderr' or a file; default: nowhere\n"
    "  QUOR_TRACE  level up to which accesses to the partition are traced on standard error (they have level 5)";

}  // namespace tool
