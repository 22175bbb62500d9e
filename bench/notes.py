"""Times how long a recording takes to become a note: in a vault, and in the notes application Joplin, which runs without
a screen and with a profile of its own meanwhile."""

import filecmp
import http.client
import json
import os
import secrets
import shutil
import socket
import statistics
import subprocess
import time
import urllib.parse

from measure import Failed, progress, run

ROUNDS = 5
START_LIMIT_S = 40


def whole(path, recording):
    """The attachment has to be the recording, byte for byte."""
    if not filecmp.cmp(path, recording, shallow=False):
        raise Failed(f"{path.name} is not the recording")


def times(walls):
    return f"{min(walls):.2f} (median {statistics.median(walls):.2f})"


class Notes:
    """Quillet with settings of its own."""

    def __init__(self, quillet, folder, log):
        homes = [f"{name}={folder / name.lower()}" for name in ("XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME")]
        self.command = ["env", *homes, quillet]
        self.log = log

    def set(self, key, value):
        run([*self.command, "settings", "set", "corvane." + key, str(value)], self.log)

    def create(self, recording, title):
        """Seconds of the whole process."""
        return run([*self.command, "notes", "create", str(recording), "--title", title], self.log).wall_s


class Joplin:
    """For the length of a with block."""

    def __init__(self, installed, folder, log):
        self.installed, self.profile, self.log = installed, folder, log
        self.token = secrets.token_hex(16)
        with socket.create_server(("127.0.0.1", 0)) as free:
            self.port = free.getsockname()[1]

    @staticmethod
    def why_unavailable(installed):
        if not (installed / ".complete").exists():
            return "Joplin not installed"
        return "" if shutil.which("node") else "node not installed"

    def version(self):
        return json.loads((self.installed / "node_modules/joplin/package.json").read_text())["version"]

    def __enter__(self):
        self.uploads = self.profile / "uploads"
        self.uploads.mkdir()
        settings = {"api.token": self.token, "api.port": self.port}
        (self.profile / "settings.json").write_text(json.dumps(settings))
        main = self.installed / "node_modules" / "joplin" / "main.js"
        command = ["node", str(main), "--profile", str(self.profile), "server", "start", "--quiet"]
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log,
                                        env={**os.environ, "TMPDIR": str(self.uploads)})
        try:
            self.wait()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()

    def get(self, path, **query):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=10)
        try:
            connection.request("GET", f"{path}?{urllib.parse.urlencode({'token': self.token, **query})}")
            return connection.getresponse().read().decode(errors="replace")
        finally:
            connection.close()

    def wait(self):
        deadline = time.monotonic() + START_LIMIT_S
        while self.process.poll() is None and time.monotonic() < deadline:
            try:
                if self.get("/ping") == "JoplinClipperServer":
                    return
            except OSError:
                time.sleep(0.1)
        raise Failed("Joplin does not start; see the log")

    def take_resource(self, recording):
        """The id of what arrived since the last call, which is compared and removed, as are the copies that Joplin
        leaves behind."""
        made = list((self.profile / "resources").glob("*.m4a"))
        if len(made) != 1:
            raise Failed(f"Joplin has {len(made)} recordings instead of one")
        whole(made[0], recording)
        for path in (made[0], *self.uploads.iterdir()):
            path.unlink()
        return made[0].stem

    def check_note(self, title, resource):
        found = json.loads(self.get("/notes", fields="title,body", limit="100"))["items"]
        if [f":/{resource})" in note["body"] for note in found if note["title"] == title] != [True]:
            raise Failed(f"Joplin's notes are {found}")

    def upload(self, recording):
        """The command for the same upload, without a note."""
        url = f"http://127.0.0.1:{self.port}/resources?token={self.token}"
        return ["curl", "-sS", "--fail", "--noproxy", "*", "-o", os.devnull, "-F", 'props={"title":"peer"}',
                "-F", f"data=@{recording}", url]


def in_vault(quillet, recording, folder, log):
    """Seconds of each round, ours and those of copying the file."""
    notes = Notes(quillet, folder, log)
    vault = folder / "vault"
    vault.mkdir()
    notes.set("notesApplication", "vault")
    notes.set("notesVaultFolder", vault)
    ours, theirs = [], []
    for number in range(ROUNDS):
        progress(f"round {number + 1} of {ROUNDS}: a note in a vault")
        ours.append(notes.create(recording, f"Round {number + 1}"))
        if len(list(vault.rglob("*.md"))) != number + 1:
            raise Failed("there is no note in the vault")
        copy = folder / "copy.m4a"
        theirs.append(run(["cp", "--reflink=never", str(recording), str(copy)], log).wall_s)
        copy.unlink()
    for path in vault.rglob("*.m4a"):
        whole(path, recording)
    return ours, theirs


def in_joplin(quillet, recording, folder, installed, log):
    """Joplin's version; seconds of each round, ours and curl's; none of curl's where there is none."""
    notes = Notes(quillet, folder, log)
    profile = folder / "joplin"
    profile.mkdir()
    ours, theirs = [], []
    with Joplin(installed, profile, log) as joplin:
        notes.set("notesApplication", "joplin")
        notes.set("joplinPort", joplin.port)
        notes.set("joplinToken", joplin.token)
        for number in range(ROUNDS):
            progress(f"round {number + 1} of {ROUNDS}: a note in Joplin")
            title = f"Round {number + 1}"
            ours.append(notes.create(recording, title))
            joplin.check_note(title, joplin.take_resource(recording))
            if shutil.which("curl"):
                theirs.append(run(joplin.upload(recording), log).wall_s)
                joplin.take_resource(recording)
        return joplin.version(), ours, theirs
