#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds manual, completion and --help against one another, and the library's page against its header. Arguments are
build/PRESET/run and the tool."""
import os, pathlib, re, shlex, subprocess, sys, tempfile

TOP = pathlib.Path(__file__).resolve().parents[2]
# What a shell completes in place of the last argument, and what it says; zsh without its completion system.
BASH = '. "$0/ssib.bash"; COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)); _ssib ssib; printf "%s\\n" "${COMPREPLY[@]}"'
ZSH = """compset() { return 1 }; _describe() { print -rl -- ${${(P)@[-1]}%%:*} }
compadd() { shift ${@[(i)--]}; print -rl -- "$@" }; words=("$@") CURRENT=$# PREFIX=$@[-1]; . "$0/_ssib" """
HOSTILE = "a $(echo b) c.json"
failures = []


def same(what, expected, actual):
    expected, actual = set(expected), set(actual)
    if expected != actual:
        failures.append("%s: %s missing, %s too many" % (what, sorted(expected - actual), sorted(actual - expected)))


def output(*command):
    streams = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.STDOUT}
    return subprocess.run(command, text=True, **streams).stdout


def options(pattern, text):
    return {"-" + name for names in re.findall(pattern, text, re.M) for name in names if name}


def check_help():
    """Returns what the manual says: the options of all commands, and each command with its own."""
    sections = dict(re.findall(r"^\.Sh (.*)\n((?:(?!\.Sh ).*\n)*)", (TOP / "docs/man/ssib.1").read_text(), re.M))
    common = options(r"^\.It Fl (?:(\w) , )?(-\S+)", sections["DESCRIPTION"])
    fields, commands = options(r"^\.It Fl (\S+)() Ta", sections["ENTRY FIELDS"]), {}
    for item in re.findall(r"^\.It (?:Xo\n(?:(?!\.Xc).*\n)*|Ic .*\n)", sections["COMMANDS"], re.M):
        name = re.search(r"Ic (\S+)", item)[1]
        commands.setdefault(name, {"-h", "--help", "--json"} - ({"--json"} if name == "help" else set())).update(
            options(r"Fl (\w|-\w\S+)(?: \| (\S+))?", item), fields if "Fl - Ns Ar field" in item else [])
    text = output("ssib", "--help")
    status = r"\b(?:EFI|SSIB_STATUS|VYX_HOST)_\w+"
    for title, in_help, section, in_manual in (
            ("Commands", r"^  (\w+)", "COMMANDS", r"\bIc (\w+)"),
            ("Exit status", r"^  (\d) ", "EXIT STATUS", r"^\.It (\d)$"),
            ("Environment", r"^  (\w+)", "ENVIRONMENT", r"^\.It Ev (\w+)"),
            ("Statuses", status, "DIAGNOSTICS", status)):
        block = re.search(r"^%s:\n((?:.+\n)*)" % title, text, re.M)[1]
        same(section, re.findall(in_help, block, re.M), re.findall(in_manual, sections[section], re.M))
    for command, known in {"": common, **commands}.items():
        helped = output("ssib", *command.split(), "--help")
        same("options in manual " + command, options(r"^  (?:-(\w),)?-(-[a-z-]+)", helped), known)
    return common, commands


def check_completion(shell, common, commands):
    def completed(*words):
        found = output(*shell, TOP / "completions", "ssib", *words).splitlines()
        return [word.replace("\\", "").rstrip("=") for word in found if word and word.startswith(words[-1])]

    same("completed without a queue", [], completed("list", "") + completed("check", "-q", ""))
    for name in "Main.ssib", HOSTILE:
        output("ssib", "add", "--job-id", "x", "-q", name)
    for command, known in commands.items():
        same("completed " + command, {name for name in known | common if name[:2] == "--"}, completed(command, "--"))
    for words, expected in (([""], commands), (["show", "--match", "job"], ["job-id", "job-type"]),
                            (["add", "--at", "pre"], ["prepend-hi", "prepend-lo"]), (["run", ""], ["--"]),
                            (["list", "--columns", "job"], ["job-id", "job-type"]),
                            (["-q", shlex.quote(HOSTILE), "show", ""], "1"),
                            (["move", "1", "--to", ""], ["Main.ssib", HOSTILE])):
        same("completed " + " ".join(words), expected, completed(*words))


def check_library():
    def squashed(text):
        return re.sub(r"\s+|/\*.*?\*/|.\x08", "", text, flags=re.S)

    path = TOP / "docs/man/libVyxSSIBBackend.3"
    page, header = path.read_text(), squashed((TOP / "include/VyxSSIBBackend.h").read_text())
    exported = re.findall(r"^    (\w+);", (TOP / "src/VyxSSIBBackend.map").read_text(), re.M)
    same("names", exported + [path.stem], re.findall(r"^\.Nm (\w+)", page, re.M))
    same("descriptions", exported, re.findall(r"^\.It (?:Fn|Va) (\w+)", page, re.M))
    declared = re.findall(r"[^;]+;", re.search(r"Backend\.h>(.*)DESCRIPTION", squashed(output("mandoc", path)))[1])
    same("number of declarations", [len(exported)], [len(declared)])
    same("declarations", [text for text in declared if text in header], declared)
    producer = squashed((TOP / "examples/producer.c").read_text())
    for text in page, (TOP / "README.md").read_text():
        example = squashed(re.search(r"^(?:```c|\.Bd -literal)\n(.*?)^(?:```|\.Ed)$", text, re.M | re.S)[1])
        same("examples", [example], [example] * (example in producer))
    os.chdir(path.parent)  # where mandoc looks for the pages that others refer to
    same("remarks of mandoc", [], output("mandoc", "-T", "lint", *pathlib.Path().glob("*.[135]")).splitlines())


with tempfile.TemporaryDirectory() as base:
    tool = pathlib.Path(base) / "ssib"
    tool.write_text('#!/bin/sh\nexec %s %s "$@"\n' % tuple(sys.argv[1:]))
    tool.chmod(0o755)
    os.environ.update(PATH="%s:%s" % (base, os.environ["PATH"]), LC_ALL="C.UTF-8")
    known_options = check_help()
    for shell in ("bash", "-c", BASH), ("zsh", "-fc", ZSH):
        os.environ["VARSK_ROOT"] = "%s/%s" % (base, shell[0])
        check_completion(shell, *known_options)
check_library()
sys.exit("\n".join(failures) or 0)
