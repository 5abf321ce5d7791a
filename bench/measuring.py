"""What bench/compare and bench/build_cost share: running commands and knowing what they cost, and ports to build."""
import collections
import contextlib
import ctypes
import os
import plistlib
import resource
import subprocess
import sys
import threading
import time

Cost = collections.namedtuple("Cost", "processor wall own memory")
"""Seconds of the command and all that it started; seconds until it ended; seconds of its process alone; KiB at most."""

servants = set()  # our own servers: nobody waits for them


def adopt_orphans():
    """From here on, what outlives its parent becomes a child of ours, as Wine's server does."""
    ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)


def children():
    found = set()
    for task in os.listdir("/proc/self/task"):
        with contextlib.suppress(FileNotFoundError):  # a thread that has just ended
            with open(f"/proc/self/task/{task}/children") as file:
                found |= {int(pid) for pid in file.read().split()}
    return found - servants


def reap():
    """Waits until nothing runs any more of what was started."""
    while left := children():
        os.waitpid(next(iter(left)), 0)


def own_seconds(pid):
    with open(f"/proc/{pid}/stat") as file:
        fields = file.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def watch_memory(pid, peak):
    """The kernel's own mark of a child begins with the size of this process: the files tell the child's."""
    while True:
        try:
            with open(f"/proc/{pid}/status") as file:
                lines = [line for line in file if line.startswith("VmHWM")]
        except OSError:
            return
        if not lines:  # it has ended
            return
        peak[0] = max(peak[0], int(lines[0].split()[1]))
        time.sleep(0.005)


def run(command, memory=False, output=subprocess.DEVNULL):
    before, start = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    child = subprocess.Popen(command, stdout=output, stderr=subprocess.PIPE)
    said, peak = [], [0]
    watchers = [threading.Thread(target=lambda: said.append(child.stderr.read()))]
    if memory:
        watchers.append(threading.Thread(target=watch_memory, args=(child.pid, peak)))
    for watcher in watchers:
        watcher.start()
    os.waitid(os.P_PID, child.pid, os.WEXITED | os.WNOWAIT)
    wall, own = time.monotonic() - start, own_seconds(child.pid)
    code = child.wait()
    reap()
    for watcher in watchers:
        watcher.join()
    child.stderr.close()
    if code != 0:
        sys.exit(f"{command}: exit code {code}\n{said[0].decode(errors='replace')}")
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    used = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return Cost(used, wall, own, peak[0])


def make_cki(morvane, description, archive):
    """The port's description as a file that `morvane install` takes."""
    source = archive + ".plist"
    with open(source, "wb") as file:
        plistlib.dump(description, file)
    subprocess.check_call([morvane, "cki", "make", source, archive], stdout=subprocess.DEVNULL)
    return archive


def port(programs, folder="C:/Program Files/Some Game"):
    exes = [{"name": f"Program {i}", "main": "X" if i == 0 else "", "automatic": True, "virtualdesktop": i,
             "path": f"{folder}/program{i}.exe", "resolution": "1024x768", "version": "1.0"}
            for i in range(programs)]
    overrides = [f'[Software\\\\Wine\\\\AppDefaults\\\\program{i}.exe]\n"Version"="winxp"' for i in range(programs)]
    return {"CKI Version": "1.6.1", "Engine": "CK9Wine3.0", "EXEs": exes, "Overrides": overrides}


def port_to_build(programs, files, folder="C:/Game"):
    """A port that needs nobody: its programs come with the extra files."""
    return port(programs, folder) | {
        "Engine": "CK9Wine8.0", "Port Type": "Caskery", "Creator": "Bench", "Creator Mail": "bench@morvane.example",
        "Original Installer Needed": False, "MacDriver": False, "Winetricks": [],
        "Before Extra Files": [{"origin": link, "destiny": folder, "autorun": False} for link in files]}


def install(morvane, cki, made):
    return [morvane, "install", cki, "--to", made, "--answer", "License Agreement=I Agree",
            "--answer", "Warning=Install it anyway", "--answer", "Warning=Yes"]


def windows_program(source, target):
    subprocess.check_call(["x86_64-w64-mingw32-gcc", "-O2", "-s", "-nostdlib", "-D_WIN32_WINNT=0x0602", "-mwindows",
                           "-e", "start", source, "-o", target, "-lkernel32"])
    return target


def serve(folder, port_number):
    """nginx on loopback, with every file as well below /slow/, 4 MB a second for each connection. Its address."""
    log = f"{folder}/../nginx.log"
    with open(f"{folder}/../nginx.conf", "w") as file:
        file.write(f"daemon off; pid {folder}/../nginx.pid; error_log {log}; user root;\n"
                   "events { worker_connections 64; }\n"
                   f"http {{ access_log off; sendfile on; server {{ listen 127.0.0.1:{port_number}; root {folder};\n"
                   f"location /slow/ {{ alias {folder}/; limit_rate 4m; }} }} }}\n")
    server = subprocess.Popen(["nginx", "-p", folder, "-e", log, "-c", f"{folder}/../nginx.conf"])
    servants.add(server.pid)
    time.sleep(0.5)
    return server, f"http://127.0.0.1:{port_number}/"
