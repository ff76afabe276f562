#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Cuts the power at each step of a life of queues, and fails each call of its commands.

What a cut or a fault leaves is looked at by the library and by the tool's strict reader: each queue has to be the old
or the new one, no job that both have may be missing, what was acknowledged has to be there, and the next write removes
what was left over.
"""
import argparse, collections, concurrent.futures, json, os, pathlib, random, re, shlex, shutil, signal, subprocess
import sys, tempfile, time

from disk import Disk, node_of

ROOT, PARTITION = "a/b", "a/b/VAR025"  # below the base; the first write makes them
ENOUGH = 10  # faults that each worker finds before it stops
ERRORS = {"EIO": 5, "EMFILE": 24, "ENOSPC": 28, "EINTR": 4, "EDQUOT": 122, "EROFS": 30, "half": 0}
FAULTS = collections.defaultdict(lambda: ["EIO"], {
    "open": ["EIO", "EMFILE"], "openat": ["EIO", "EMFILE", "ENOSPC"], "mkostemp": ["EMFILE", "ENOSPC", "EDQUOT"],
    "mkdir": ["EIO", "ENOSPC"], "write": ["EIO", "ENOSPC", "EDQUOT", "EINTR", "half"], "read": ["EIO", "EINTR", "half"],
    "flock": ["EIO", "EINTR"], "fsync": ["EIO", "EROFS"], "renameat": ["EIO", "ENOSPC", "EDQUOT"]})


class Flash:
    """A directory that is given contents, in which commands run and the checker looks."""

    def __init__(self, arguments):
        self.home = tempfile.mkdtemp(prefix="vyx-torture-", dir="/dev/shm" if os.path.isdir("/dev/shm") else None)
        self.base, self.log = self.home + "/base", self.home + "/log"
        os.mkdir(self.base)
        os.mkdir(self.home + "/tmp")
        self.environment = os.environ | {"TMPDIR": self.home + "/tmp", "VARSK_ROOT": os.path.join(self.base, ROOT)}
        self.run, self.ssib = shlex.split(arguments.run), arguments.ssib
        self.checker = subprocess.Popen(self.run + [arguments.checker], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        text=True, env=self.environment)
        self.known = {}  # what stands there; None for a directory and for bytes that may have changed
        self.answers = {}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.checker.stdin.close()
        self.checker.wait()
        shutil.rmtree(self.home)

    def fill(self, state):
        for path in sorted(self.known.keys() - state.keys(), reverse=True):
            at = os.path.join(self.base, path)
            os.rmdir(at) if os.path.isdir(at) else os.remove(at)
        for path in sorted(state):
            at, data = os.path.join(self.base, path), state[path]
            if data is None and path not in self.known:
                os.mkdir(at)
            elif data is not None and self.known.get(path) != data:
                with open(at, "wb") as file:
                    file.write(data)
        self.known = dict(state)

    def command(self, line, fault="", log="VYX_RECORD"):
        """Runs a command; its status, both outputs, and what was recorded."""
        words, _, text = line.partition(" < ")
        pathlib.Path(self.log).write_text("")
        done = subprocess.run(self.run + [self.ssib] + shlex.split(words), input=text, capture_output=True, text=True,
                              timeout=60, cwd=self.base, env=self.environment | {log: self.log, "VYX_FAULT": fault})
        return done.returncode, done.stdout, done.stderr, pathlib.Path(self.log).read_text().splitlines()

    def look(self):
        """The jobs by queue, and what is left over after the next write, which this makes."""
        self.checker.stdin.write(os.path.join(self.base, ROOT) + "\n")
        self.checker.stdin.flush()
        line = self.checker.stdout.readline()
        if line not in self.answers:
            answer = json.loads(line)
            expected = {"VAR025", ".lock", "attributes.json"} | answer["found"].keys()
            self.answers[line] = answer["found"], [
                name for name in answer["left"] if name not in expected and not name.startswith(".run-")]
        found, litter = self.answers[line]
        if litter or PARTITION not in self.known:
            self.known = dict.fromkeys(Disk(self.base).now())
        else:
            self.known = {path: data for path, data in self.known.items() if "/.new-" not in path}
            self.known |= {ROOT + "/attributes.json": None, ROOT + "/.lock": None}
        return found, litter


def jobs_of(queues):
    return collections.Counter(job for jobs in queues.values() for job in jobs or [])


def wrong_with(found, litter, old, new):
    """Why this is neither the old nor the new, nor what stands between them; None when it is."""
    if litter:
        return "left over: %s" % litter
    for queue in found.keys() | old.keys() | new.keys():
        if found.get(queue) not in (old.get(queue), new.get(queue)):
            return "%s holds %s" % (queue, found.get(queue))
    missing = (jobs_of(old) & jobs_of(new)) - jobs_of(found)
    return "missing: %s" % list(missing) if missing else None


class Life:
    """The commands, each with what it recorded, and what stood on the disk and in the queues before and after."""

    def __init__(self, flash, path):
        lines = [line for line in path.read_text().splitlines() if not line.startswith("#")]
        self.commands, self.start = lines, Disk(flash.base)
        self.records, self.outputs, self.trees = [], [], [{}]
        for line in self.commands:
            self.live(flash, line)
            self.trees.append(Disk(flash.base).now())
        flash.known = dict.fromkeys(self.trees[-1])
        self.queues = [flash.fill(tree) or flash.look()[0] for tree in self.trees]

    def live(self, flash, line):
        if line.startswith("damage "):
            path = os.path.join(flash.base, PARTITION, line.split()[1])
            node, length = node_of(path), os.stat(path).st_size * 2 // 3
            os.truncate(path, length)
            status, output, record = 0, "", ["truncate %s %d" % (node, length), "sync " + node]
        else:
            status, output, error, record = flash.command(line)
            if status not in (0, 1, 4):  # 4: a job failed, as it was to
                sys.exit("torture: %s: %d %s" % (line, status, error))
        self.outputs.append((status, output))
        self.records.append(record)


class Report:
    """What one of several workers has found; their reports are added up."""

    def __init__(self, name, worker):
        self.name, self.worker, self.start, self.shown = name, worker, time.time(), time.time()
        self.counts, self.bad = collections.Counter(), []

    def count(self, what):
        self.counts[what] += 1
        if self.worker == 0 and time.time() - self.shown > 10:
            self.shown = time.time()
            print("%s, the first worker: %s" % (self.name, self.figures()), flush=True)

    def fail(self, *lines):
        self.bad.append("\n  ".join(lines))

    def add(self, other):
        self.counts += other.counts
        self.bad += other.bad

    def figures(self):
        counts = ", ".join("%d %s" % (count, what) for what, count in self.counts.items())
        return "%s; %d wrong; %.0f s" % (counts, len(self.bad), time.time() - self.start)


def cut_power(life, flash, arguments, worker):
    """Checks each state that a cut may leave; each contents once."""
    report, disk, looks = Report("power cuts", worker), life.start, {}
    chance = random.Random(arguments.seed)

    def offsets(length):
        return range(length) if length <= arguments.offsets else chance.sample(range(length), arguments.offsets)

    def check(at, old, new):
        for state in disk.states(offsets):
            if len(report.bad) >= ENOUGH:
                return
            key = hash(frozenset(state.items()))
            if key % arguments.jobs != worker:
                continue
            if key not in looks:
                report.count("different contents")
                flash.fill(state)
                looks[key] = flash.look()
            report.count("states")
            wrong = wrong_with(*looks[key], old, new)
            if wrong:
                report.fail("%s: %s" % (at, wrong), "files: %s" % ", ".join(sorted(state)))

    for i, command in enumerate(life.commands):
        if len(report.bad) >= ENOUGH:
            break
        for line in life.records[i]:
            if not line.startswith("call ") and disk.apply(line) and not command.startswith("damage "):
                check("%s: cut after %.60s" % (command, line), life.queues[i], life.queues[i + 1])
        check(command + ": cut when it was done", life.queues[i + 1], life.queues[i + 1])
        if disk.now() != life.trees[i + 1]:
            report.fail(command + ": changes something that is not recorded")
    return report


def faults_of(life):
    """(COMMAND'S NUMBER, CALL, ITS NUMBER, ERROR, whether it lasts) for each call of each command."""
    for i, record in enumerate(life.records):
        calls = [line.split()[1] for line in record if line.startswith("call ")]
        for nth, call in enumerate(calls, 1):
            for error in FAULTS[call]:
                yield i, call, nth, error, False
                if error != "EINTR":
                    yield i, call, nth, error, True


def wanted_after(old, new, is_done, error):
    """The two states between which a command that met a fault must have ended, by what it says."""
    twice = re.search("entries are in (.*) as well", error)
    if is_done:
        first = last = new
    elif "may have been made" in error or "terminate called" in error:
        first, last = old, new
    else:
        first = last = old | ({twice[1]: new[twice[1]]} if twice else {})
    # An attribute that cannot be set fails no command, and what was put aside is found by the next salvage.
    loose = [name for name in old | new if name == "attributes.json" or name.endswith(".damaged")]
    return (wanted | {name: tree.get(name) for name in loose} for wanted, tree in ((first, old), (last, new)))


def wrong_with_fault(life, flash, report, i, fault):
    """Why a command that met a fault did or said what it should not; None when it did not."""
    flash.fill(life.trees[i])
    disk = Disk(flash.base)
    log = "VYX_RECORD" if fault.startswith("any") else "VYX_UNUSED"
    status, output, error, record = flash.command(life.commands[i], fault, log)
    for line in record:
        if not line.startswith("call "):
            disk.apply(line)
    flash.known = dict.fromkeys(Disk(flash.base).now())
    found, litter = flash.look()
    is_done = status == life.outputs[i][0] and (output == life.outputs[i][1] or output.startswith("deleted "))
    wanted = list(wanted_after(life.queues[i], life.queues[i + 1], is_done, error))
    is_refused = re.search("cannot |out of memory", output + error) and (
        status in (2, 3) or life.commands[i] == "queues")
    if status == -signal.SIGABRT and fault.startswith("malloc"):
        # The JSON library releases its values, and the C++ library lists a directory, with memory that it must have.
        report.counts["ended by these libraries"] += 1
        is_refused = True
    if "has to be looked at" in error and fault.startswith("malloc"):
        return litter  # an extra content that the library has written in part
    wrong = wrong_with(found, litter, *wanted) if is_done or is_refused else "neither done nor refused"
    if is_done and record and not wrong:
        flash.fill(disk.lasting())
        wrong = wrong_with(*flash.look(), *wanted)
        wrong = wrong and "does not last: " + wrong
    return wrong and "%s\n  %d %s%s" % (wrong, status, output, error)


def fail_calls(life, flash, arguments, worker):
    report, chance = Report("failing calls", worker), random.Random(arguments.seed)
    faults = list(faults_of(life))
    if 0 < arguments.faults < len(faults):
        faults = chance.sample(faults, arguments.faults)
    for i, call, nth, error, lasts in faults[worker::arguments.jobs]:
        report.count("faults")
        fault = "any %d %d %d" % (nth, ERRORS[error], lasts)
        wrong = len(report.bad) < ENOUGH and wrong_with_fault(life, flash, report, i, fault)
        if wrong:
            what = "%s %s%s, VYX_FAULT='%s'" % (call, error, ", lasting" * lasts, fault)
            report.fail("%s: %s: %s" % (life.commands[i], what, wrong))
    return report


def fail_allocations(life, flash, arguments, worker):
    report, chance = Report("failing allocations", worker), random.Random(arguments.seed)
    faults = []
    for i, command in enumerate(life.commands):
        if not command.startswith("damage "):
            flash.fill(life.trees[i])
            count = int(flash.command(command, log="VYX_ALLOCATIONS")[3][0])
            flash.known = dict.fromkeys(Disk(flash.base).now())
            faults += [(i, nth, lasts) for nth in range(1, count + 1) for lasts in (0, 1)]
    report.counts["allocations"] = len(faults) // 2 if worker == 0 else 0
    for i, nth, lasts in chance.sample(faults, arguments.allocations)[worker::arguments.jobs]:
        report.count("faults")
        fault = "malloc %d 0 %d" % (nth, lasts)
        wrong = len(report.bad) < ENOUGH and wrong_with_fault(life, flash, report, i, fault)
        if wrong:
            report.fail("%s: VYX_FAULT='%s': %s" % (life.commands[i], fault, wrong))
    return report


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("ssib", type=os.path.abspath, help="the tool with faults")
    parser.add_argument("checker", help="torture_checker")
    parser.add_argument("--run", default="env", help="build/PRESET/run, which starts the programs of a build")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--offsets", type=int, default=1 << 32, help="where a write is torn; default: at each byte")
    parser.add_argument("--faults", type=int, default=0, help="so many of all faults, by chance; default: all of them")
    parser.add_argument("--allocations", type=int, default=20000, help="so many of those that fail, by chance")
    arguments = parser.parse_args()
    with Flash(arguments) as flash:
        life = Life(flash, pathlib.Path(__file__).with_name("life.txt"))
    failed = False
    for campaign in (cut_power, fail_calls) + (fail_allocations,) * (arguments.allocations > 0):
        with concurrent.futures.ProcessPoolExecutor(arguments.jobs) as pool:
            first, *others = pool.map(work, *zip(*((campaign, life, arguments, n) for n in range(arguments.jobs))))
        for other in others:
            first.add(other)
        for bad in first.bad[:10]:
            print(bad)
        print("%s, seed %d: %d commands, %s" % (first.name, arguments.seed, len(life.commands), first.figures()))
        failed = failed or first.bad
    return 1 if failed else 0


def work(campaign, life, arguments, worker):
    with Flash(arguments) as flash:
        return campaign(life, flash, arguments, worker)


if __name__ == "__main__":
    sys.exit(main())
