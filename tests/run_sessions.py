#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs sessions: shell commands and what they print, recorded in a text file or in a page.

  # Title          begins a session, in a flash of its own: an empty directory, the current one and $VARSK_ROOT
  $ COMMAND        finds PROGRAMs and what stands beside the file along PATH; $ROUNDS says how often to try what is slow
  > MORE           goes on with the command
  printed          a line of standard output; in it "..." is any text, and alone any lines
  ! printed        a line of standard error
  ? 3              the exit status, when it is not 0; after 77, which says that it cannot run here, a session is skipped

What stands before the first command of a session is a comment; blank lines after an output are not compared.

In a page, each section with ```console blocks (.md) or .Bd -literal displays (a manual page) is a session. There the
two outputs are one, as on a terminal, and a status shows only where a command prints it.
"""
import argparse, difflib, os, pathlib, re, subprocess, sys, tempfile


SKIPPED = 77

# By suffix: the lines around a transcript, what begins a session, and how a character is written.
PLAIN = None, None, r"#+ (?=\S)", {}
MANUAL = ".Bd -literal", ".Ed", r"\.Sh ", {"-": "\\-", "'": "\\(aq", "\\": "\\e"}
FORMS = {".md": ("```console", "```", r"#+ (?=\S)", {}), ".1": MANUAL, ".3": MANUAL, ".5": MANUAL}


class Command:
    def __init__(self, line, title, is_page):
        self.lines, self.title, self.is_page, self.recorded, self.blanks = [line], title, is_page, [], []

    def add(self, line):
        if line.startswith("> ") and not self.recorded:
            self.lines.append(line)
        elif line == "":
            self.blanks.append(line)
        else:
            self.recorded += self.blanks + [line]
            self.blanks = []

    def run(self, environment):
        flash = environment["VARSK_ROOT"]
        text = "\n".join(line[2:] for line in self.lines)
        done = subprocess.run(["sh", "-c", text], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, cwd=flash,
                              stderr=subprocess.STDOUT if self.is_page else subprocess.PIPE, env=environment)
        out, err = (stream.decode("utf-8", "backslashreplace").replace(flash, "$VARSK_ROOT")
                    for stream in (done.stdout, done.stderr or b""))
        if out and not out.endswith("\n"):
            out += "\n\\ no line end\n"
        status = ["? %d" % done.returncode] if done.returncode != 0 and not self.is_page else []
        return out.rstrip("\n").split("\n") * (out != "") + ["! " + line for line in err.splitlines()] + status

    def is_recorded(self, actual):
        pattern = [r"(.*\n)*" if line == "..." else re.escape(line).replace(r"\.\.\.", ".*") + "\n"
                   for line in self.recorded]
        return re.fullmatch("".join(pattern), "".join(line + "\n" for line in actual)) is not None


def parse(path):
    """The file as a list of plain lines and of Commands with what belongs to them."""
    opening, closing, heading, escapes = FORMS.get(path.suffix, PLAIN)
    items, title, command, is_open = [], "", None, opening is None
    for line in path.read_text().split("\n")[:-1]:
        if line in (opening, closing):
            is_open, command = line == opening, None
        elif re.match(heading, line):
            title, command = re.sub(heading, "", line, count=1).strip(), None
        elif is_open:
            text = line
            for character, escape in escapes.items():
                text = text.replace(escape, character)
            if text.startswith("$ "):
                command = Command(text, title, opening is not None)
                items.append(command)
                continue
            if command:
                command.add(text)
                continue
        items.append(line)
    return items


def write(path, items):
    escapes = str.maketrans(FORMS.get(path.suffix, PLAIN)[3])
    texts = ["\n".join(i.lines + i.recorded + i.blanks).translate(escapes) if isinstance(i, Command) else i
             for i in items]
    path.write_text("\n".join(texts) + "\n")


def prepare(base, arguments):
    """The environment of the sessions, with a wrapper for each program."""
    (base / "bin").mkdir()
    for program in arguments.programs:
        wrapper = base / "bin" / program.name
        wrapper.write_text('#!/bin/sh\nexec %s %s "$@"\n' % (arguments.run, program.resolve()))
        wrapper.chmod(0o755)
    path = "%s:%s:%s" % (base / "bin", arguments.file.resolve().parent, os.environ["PATH"])
    hidden = ("QUOR_DEBUG", "QUOR_TRACE")
    is_emulated = arguments.run != "env" and "VYXSSIB_EMULATED" in pathlib.Path(arguments.run).read_text()
    return {key: value for key, value in os.environ.items() if key not in hidden} | {
        "PATH": path, "VARSK_ROOT": str(base / "flash"), "VARSK_SYNC": "0", "LC_ALL": "C",
        "ROUNDS": "20" if is_emulated else "200"}


def run_session(commands, arguments):
    """Whether all commands did what is recorded; prints or rewrites what differs."""
    with tempfile.TemporaryDirectory() as base:
        environment = prepare(pathlib.Path(base), arguments)
        os.mkdir(environment["VARSK_ROOT"])
        ran = [(command, command.run(environment)) for command in commands]
    if any(actual[-1:] == ["? %d" % SKIPPED] for _, actual in ran):
        sys.exit(SKIPPED)
    differs = [(command, actual) for command, actual in ran if not command.is_recorded(actual)]
    for command, actual in differs:
        print("\n".join(["", "# " + command.title] + command.lines))
        print("\n".join(list(difflib.unified_diff(command.recorded, actual, "recorded", "actual", lineterm=""))[2:]))
        if arguments.rewrite:
            command.recorded = actual
    return not differs


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("file", type=pathlib.Path)
    parser.add_argument("programs", type=pathlib.Path, nargs="*", metavar="PROGRAM")
    parser.add_argument("--run", default="env", help="build/PRESET/run, which starts the programs of a build")
    parser.add_argument("--only", metavar="TITLE", help="run one session")
    parser.add_argument("--rewrite", action="store_true", help="record what is printed now")
    arguments = parser.parse_args()
    items, sessions = parse(arguments.file), {}
    for item in items:
        if isinstance(item, Command) and arguments.only in (None, item.title):
            sessions.setdefault(item.title, []).append(item)
    results = [run_session(commands, arguments) for commands in sessions.values()]
    if arguments.rewrite:
        write(arguments.file, items)
    return 0 if results and all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
