#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A partition in use for a long time: eight producers, four consumers, merges, damage and salvages, on a file system
that runs full now and then, while processes are killed. Storms alternate with calms without kills and with room.

Each job that was acknowledged must have been handled, more often only for a reason: a kill, or a refused write, of a
command that hands jobs on, while the job was there. No job may be there that nobody added.

usage: soak.py BUILD DIRECTORY [SECONDS [SEED]]   DIRECTORY/flash is the small file system"""
import bisect, collections, fcntl, json, os, random, signal, subprocess, sys, threading, time

BUILD, DIRECTORY = sys.argv[1:3]
SECONDS = float(sys.argv[3]) if len(sys.argv) > 3 else 300
SEED = int(sys.argv[4]) if len(sys.argv) > 4 else random.randrange(1 << 32)
FLASH, LONG, HANDLED = (os.path.join(DIRECTORY, name) for name in ("flash", "long", "handled"))
PARTITION = FLASH + "/VAR025/"
MOST_WAITING = 150  # jobs; a queue is written beside the old one, and both have to fit
LEAST_ENTRY = 100  # bytes; a file that has fewer is a queue without entries
PATIENCE = 120  # seconds in which something has to be stored
FORMS = [("Main.ssib", "Sub.ssib", "Failed.ssib"), ("BIOS_task_list.json", "Sub.json", "Failed.json")]
HANDLER = ("--", "bash", "-c", '[ $((RANDOM % 100)) -ge $FAILING ] && echo "$EPOCHREALTIME $SSIB_JOB_ID" >>"$HANDLED"')
ENVIRONMENT = os.environ | {"LC_ALL": "C", "HANDLED": HANDLED, "FAILING": "12", "VARSK_ROOT": FLASH}

stopping, storm, guard = threading.Event(), threading.Event(), threading.Lock()
tried, stored, refused = {}, set(), set()  # identifiers; of the tried ones when the command was started
reasons, wrong, counts = [], [], collections.Counter()


def start(program, *words, **environment):
    return subprocess.Popen([BUILD + "/run", f"{BUILD}/bin/{program}", *words], stdin=subprocess.DEVNULL, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=ENVIRONMENT | environment)


def finish(process, chance, expected, is_reason):
    """Waits for a process, which in a storm may be killed; returns its exit status and its output."""
    begin = time.time()
    if storm.is_set() and chance.random() < 0.2:
        threading.Timer(chance.uniform(0, 0.1), process.kill).start()
    output, messages = process.communicate()
    status, name = process.returncode, process.args[2] if process.args[1].endswith("ssib") else "C client"
    with guard:
        counts[f"{name} ended with {status}"] += 1
        counts["kills"] += status == -signal.SIGKILL
        if is_reason and status in (3, -signal.SIGKILL):
            reasons.append((begin, time.time()))
        if status not in (*expected, 3, -signal.SIGKILL):
            wrong.append(f"{process.args[1:6]} ended with {status}: {messages}")
    return status, output


def produce(chance, number):
    """Four add a job at a time, two from a file, two are C programs."""
    batch, path = 0, f"{DIRECTORY}/jobs.{number}"
    while not stopping.wait(chance.uniform(0, 0.3)):
        if len(stored) - counts["handled"] > MOST_WAITING:
            continue
        batch += 1
        ids = [f"{number}-{batch}-{i}" for i in range(1 if number < 4 else chance.randrange(1, 6))]
        tried.update(dict.fromkeys(ids, time.time()))
        if number >= 6:
            done = finish(start("soak_producer", *ids), chance, (0, 1), False)[1].split()
        else:
            with open(path, "w", encoding="ascii") as file:
                json.dump([{"Job_ID": id} for id in ids], file)
            how = ("--job-id", ids[0]) if number < 4 else ("--from", path)
            queue = chance.choice(FORMS)[chance.randrange(2)]
            status = finish(start("ssib", "add", "-q", queue, *how), chance, (0,), False)[0]
            done = ids if status == 0 else []
            refused.update(ids if status == 3 else [])
        stored.update(done)


def run(chance, form):
    words = ("-q", FORMS[form][0], "--follow", "--tries", "2", "--failed-to", FORMS[form][2], *HANDLER)
    while not stopping.is_set():
        process = start("ssib", "run", *words)
        end = time.time() + chance.uniform(0.5, 6)
        while process.poll() is None and not stopping.is_set() and not (storm.is_set() and time.time() > end):
            time.sleep(0.05)
        process.terminate() if stopping.is_set() else process.kill()
        finish(process, chance, (0, 4), True)


def take(chance, form):
    while not stopping.wait(chance.uniform(0, 0.3)):
        output = finish(start("ssib", "take", "--json", "-q", FORMS[form][1]), chance, (0, 1), True)[1]
        with open(HANDLED, "a", encoding="ascii") as file:
            file.write(f"{time.time()} {json.loads(output)['Job_ID']}\n" if output.endswith("\n}\n") else "")


def damage(chance, queue):
    """Cuts off what stands after the entries, and salvages until that succeeds."""
    with open(PARTITION + ".lock", "a", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if not os.path.exists(PARTITION + queue) or os.path.getsize(PARTITION + queue) < LEAST_ENTRY:
            return
        os.truncate(PARTITION + queue, os.path.getsize(PARTITION + queue) - len("  ]\n}\n"))
    begin = time.time()
    while finish(start("ssib", "salvage", "--in-place", "-q", queue), chance, (0, 1), True)[0] not in (0, 1):
        if time.time() > begin + PATIENCE:
            sys.exit(f"soak: {queue} cannot be salvaged")
        time.sleep(0.1)
    os.unlink(PARTITION + queue + ".damaged")


def maintain(chance):
    while not stopping.wait(chance.uniform(0, 0.5)):
        if chance.random() < 0.15:
            damage(chance, chance.choice(chance.choice(FORMS)[:2]))
        else:
            finish(start("ssib", "merge", "-q", chance.choice(chance.choice(FORMS)[1:])), chance, (0, 1), True)


def follow(_):
    """A run that nothing disturbs: what it takes of memory once it has begun is what it takes at the end."""
    place, sizes = {"VARSK_ROOT": LONG, "HANDLED": "/dev/null"}, []
    process = start("ssib", "run", "--follow", "--", "true", **place)
    with open(DIRECTORY + "/jobs", "w", encoding="ascii") as file:
        json.dump([{"Job_ID": "long"}] * 20, file)
    while not stopping.wait(0.1):
        start("ssib", "add", "--unless-match", "job-id=long", "--from", file.name, **place).communicate()
        with open(f"/proc/{process.pid}/status", encoding="ascii") as status:
            sizes += [int(line.split()[1]) for line in status if line.startswith("VmHWM")]
    process.terminate()
    process.communicate()
    counts["KiB at most of a run that follows"], counts["KiB at its begin"] = sizes[-1], sizes[len(sizes) // 5]
    wrong.extend(["a run that follows has grown"] * (sizes[-1] > sizes[len(sizes) // 5] + 128))


def weather(chance):
    """Storms and calms; in a storm the file system runs full now and then."""
    while not stopping.wait(8):
        storm.set()
        end = time.time() + 10
        while time.time() < end and not stopping.wait(chance.uniform(0.5, 2)):
            try:
                with open(FLASH + "/ballast", "wb") as file:
                    file.write(bytes(1 << 20))
            except OSError:
                counts["times full"] += 1
            stopping.wait(chance.uniform(0, 1.5))
            os.unlink(FLASH + "/ballast")
        storm.clear()


def handled():
    times = collections.defaultdict(list)
    with open(HANDLED, encoding="ascii") as file:
        for when, id in map(str.split, file):
            times[id].append(float(when))
    counts["handled"], counts["more than once"] = len(times), sum(len(when) > 1 for when in times.values())
    return times


def drain():
    for main, *others in FORMS:
        for queue in others:
            finish(start("ssib", "merge", "-q", queue), random, (0, 1), False)
        finish(start("ssib", "run", "-q", main, "--all", *HANDLER, FAILING="0"), random, (0, 1), False)


def judge():
    times = handled()
    wrong.extend(f"{id} was stored, and is gone" for id in stored - times.keys())
    wrong.extend(f"{id} was never added" for id in times.keys() - tried.keys())
    wrong.extend(f"{id} was refused, and was there" for id in refused & times.keys())
    begins, ends = map(sorted, zip((0, 0), *reasons))
    for id, when in times.items():
        within = bisect.bisect(begins, max(when)) - bisect.bisect_left(ends, tried.get(id, 0))
        wrong.extend([f"{id} was handled {len(when)} times, with {within} reasons"] * (len(when) - 1 > within))
    wrong.extend(f"{name} is left" for name in {*os.listdir(PARTITION)} - {".lock", *FORMS[0]})


def main():
    print(f"soak: {SECONDS:.0f} s, seed {SEED}", flush=True)
    open(HANDLED, "w", encoding="ascii").close()
    parts = [(produce, number) for number in range(8)]
    parts += [(run, 0), (run, 1), (take, 0), (take, 1), (maintain,), (follow,), (weather,)]
    threads = [threading.Thread(target=part, args=(random.Random(SEED + i), *more))
               for i, (part, *more) in enumerate(parts)]
    for thread in threads:
        thread.start()
    begin = shown = progress = time.time()
    while time.time() < min(begin + SECONDS, progress + PATIENCE) and all(thread.is_alive() for thread in threads):
        before = len(stored)
        time.sleep(0.5)
        handled()
        progress = progress if len(stored) == before else time.time()
        if time.time() > shown + 10:
            shown = time.time()
            print(f"{shown - begin:5.0f} s: {len(stored)} stored,",
                  ", ".join(f"{counts[what]} {what}" for what in ("handled", "kills", "times full")), flush=True)
    wrong.extend("a part of the soak itself has ended" for thread in threads if not thread.is_alive())
    wrong.extend(["nothing is stored any more"] * (time.time() > progress + PATIENCE))
    stopping.set()
    for thread in threads:
        thread.join()
    drain()
    judge()
    print(f"stored: {len(stored)}", *(f"{what}: {count}" for what, count in sorted(counts.items())), sep="\n")
    print(*wrong[:20], f"soak: {len(wrong)} things went wrong", sep="\n")
    return 1 if wrong or not stored else 0


if __name__ == "__main__":
    sys.exit(main())
