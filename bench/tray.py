"""Runs a command on a desktop of its own: an X server without a screen, a session bus without services, an empty home.

tray.py FOLDER RESULT.json COMMAND...; started by run.py through scripts/sound-server. What the command prints becomes
the result.
"""

import os
import pathlib
import subprocess
import sys
import time

from measure import Failed

BUS = """<busconfig><type>session</type><listen>unix:path={0}/bus</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*"/><allow receive_type="*"/><allow own="*"/></policy></busconfig>"""


def main():
    folder, result, *command = sys.argv[1:]
    folder = pathlib.Path(folder).resolve()
    environment = {**os.environ, "NO_AT_BRIDGE": "1", "DBUS_SESSION_BUS_ADDRESS": f"unix:path={folder}/bus"}
    for name in ("HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"):
        environment[name] = str(folder / name.lower())
        (folder / name.lower()).mkdir(mode=0o700)
    for name in ("QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "SESSION_MANAGER", "QT_SCALE_FACTOR"):
        environment.pop(name, None)
    (folder / "bus.conf").write_text(BUS.format(folder))
    servers = []
    try:
        bus = ["dbus-daemon", f"--config-file={folder}/bus.conf", "--nofork", "--nopidfile"]
        servers.append(subprocess.Popen(bus, stdin=subprocess.DEVNULL))
        screen = ["Xvfb", "-displayfd", "1", "-screen", "0", "1280x900x24", "-nolisten", "tcp"]
        servers.append(subprocess.Popen(screen, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE))
        display = servers[-1].stdout.readline().decode().strip()
        if not display:
            raise Failed("Xvfb does not start")
        environment["DISPLAY"] = ":" + display
        deadline = time.monotonic() + 10
        while not (folder / "bus").exists():
            if time.monotonic() > deadline:
                raise Failed("the session bus does not start")
            time.sleep(0.02)
        done = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, check=True)
        pathlib.Path(result).write_bytes(done.stdout)
    finally:
        for server in reversed(servers):
            server.terminate()
            server.wait()


if __name__ == "__main__":
    main()
