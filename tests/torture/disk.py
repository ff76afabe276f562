# SPDX-License-Identifier: MIT
"""What a power cut may leave of recorded changes on a POSIX file system.

The data of a file last when the file was synchronised, names when their directory was. Until then each name that was
made, changed or removed may be as before or as after, in any order, and of the data any part may be there.
"""
import itertools, os


class Node:
    """A file or a directory: what has lasted, and what was done since."""

    def __init__(self, is_directory):
        self.is_directory = is_directory
        self.kept = {} if is_directory else b""
        self.pending = []

    def now(self):
        return after(self.kept, self.pending) if self.is_directory else written(self.kept, self.pending)

    def sync(self):
        self.kept, self.pending = self.now(), []

    def may_be(self, offsets):
        if not self.pending:
            return [self.kept]
        return name_states(self) if self.is_directory else data_states(self, offsets)


def node_of(path):
    status = os.stat(path)
    return "%d:%d" % (status.st_dev, status.st_ino)


def after(names, changes):
    """The names of a directory after changes (OLD NAME or None, NEW NAME or None, NODE)."""
    names = dict(names)
    for old, new, node in changes:
        if names.get(old) is node:
            del names[old]
        if new is not None:
            names[new] = node
    return names


def name_states(node):
    """Each change is lost or there; a rename may also have made the new name and not yet removed the old one."""
    found = []
    for choice in itertools.product(*([[], [(old, new, at)]] + ([[(None, new, at)]] if old and new else [])
                                      for old, new, at in node.pending)):
        names = after(node.kept, itertools.chain(*choice))
        if names not in found:
            found.append(names)
    return found


def written(data, changes):
    """The data of a file after writes (OFFSET, BYTES) and changes of its length (LENGTH, None)."""
    data = bytearray(data)
    for offset, more in changes:
        data.extend(bytes(max(0, offset - len(data))))
        data[offset:None if more is None else offset + len(more)] = more or b""
    return bytes(data)


def data_states(node, offsets):
    """Lost, there, one change missing among the others, torn at some offsets with zeros or the end after that."""
    states = [node.kept, node.now()]
    for i, (offset, more) in enumerate(node.pending):
        states.append(written(node.kept, node.pending[:i] + node.pending[i + 1:]))
        for cut in offsets(len(more or b"")):
            torn = written(node.kept, node.pending[:i] + [(offset, more[:cut])])
            states += [torn, torn + bytes(len(more) - cut)]
    return list(dict.fromkeys(states))


class Disk:
    def __init__(self, base):
        """Takes what is below a directory for what has lasted."""
        self.base, self.nodes = base, {}
        self.top = self.load(base)

    def load(self, path):
        node = self.nodes[node_of(path)] = Node(os.path.isdir(path))
        if node.is_directory:
            node.kept = {name: self.load(os.path.join(path, name)) for name in os.listdir(path)}
        else:
            with open(path, "rb") as file:
                node.kept = file.read()
        return node

    def find(self, path):
        """The directory and the name of a path, as things stand."""
        *above, name = os.path.relpath(path, self.base).split("/")
        directory = self.top
        for step in above:
            directory = directory.now()[step]
        return directory, name

    def make(self, key, path, is_directory):
        directory, name = self.find(path)
        self.nodes[key] = Node(is_directory)
        directory.pending.append((None, name, self.nodes[key]))

    def apply(self, line):
        """A recorded change; true when it changes what a cut may leave here, below the base."""
        step, *words = line.split(" ")
        is_new, path = step in ("create", "mkdir"), words[-1]
        if not (path.startswith(self.base + "/") if is_new or step in ("rename", "unlink") else words[0] in self.nodes):
            return False
        if is_new:
            self.make(words[0], path, step == "mkdir")
        elif step == "write":
            self.nodes[words[0]].pending.append((int(words[1]), bytes.fromhex(words[2])))
        elif step == "truncate":
            self.nodes[words[0]].pending.append((int(words[1]), None))
        elif step == "rename":
            (directory, old), (other, new) = map(self.find, words)
            assert directory is other, "a rename between two directories"
            directory.pending.append((old, new, directory.now()[old]))
        elif step == "unlink":
            directory, name = self.find(path)
            directory.pending.append((name, None, directory.now()[name]))
        elif step == "sync":
            self.nodes[words[0]].sync()
        return True

    def states(self, offsets):
        """All that a cut may leave now, as {PATH: bytes, or None for a directory}."""
        return trees(self.top, "", lambda node: node.may_be(offsets))

    def now(self):
        return next(trees(self.top, "", lambda node: [node.now()]))

    def lasting(self):
        return next(trees(self.top, "", lambda node: [node.kept]))


def trees(directory, path, views):
    for names in views(directory):
        options = []
        for name, node in names.items():
            at = path + name
            if node.is_directory:
                options.append([{at: None} | tree for tree in trees(node, at + "/", views)])
            else:
                options.append([{at: data} for data in views(node)])
        for chosen in itertools.product(*options):
            yield {at: data for part in chosen for at, data in part.items()}
