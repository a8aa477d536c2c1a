#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
"""The queue window as a screen reader meets it.

Starts the real program on an X display of its own (Xvfb), with a private
session bus and the AT-SPI bus beside it, opens a queue of two tasks and walks
the window's accessible tree with pyatspi: the task list must be a list of
list items named and described as the rows read, the bars must carry their
value, the row buttons must say which file they act on and the status bar
must read what it shows.

    test_accessibility.py PATH_TO_FERROWICK

Exits 0 when every check holds, 1 with one line per failed check, 77 (skip)
when a tool it needs is missing, unless CI is set: then that fails too.
"""

import ctypes
import importlib.util
import os
import plistlib
import select
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

DEADLINE_SECONDS = 90
FILES = {"big.iso": 4_000_000, "notes.txt": 1_000}
SKIP = 77

BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir={folder}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


class Failure(Exception):
    pass


def missing(what):
    print(f"test_accessibility: {what} is missing", file=sys.stderr)
    sys.exit(1 if os.environ.get("CI") else SKIP)


def on_deadline(signum, frame):
    raise Failure(f"gave up after {DEADLINE_SECONDS} s: something did not answer")


def write_queue(folder):
    """A paused queue: one task suspended part way, one waiting."""
    out = os.path.join(folder, "out")
    os.makedirs(out)
    for name, size in FILES.items():
        with open(os.path.join(folder, name), "wb") as f:
            f.write(b"x" * size)

    def task(name, state, done):
        return {
            "Type": "CopyTask",
            "Source": {"Type": "FileSystemReader", "Path": os.path.join(folder, name)},
            "Destination": {"Type": "FileSystemWriter", "Path": out, "IsDirectory": True},
            "State": state,
            "ProgressBytes": done,
            "TotalBytes": FILES[name],
            "TransferMode": "Copy",
        }

    document = {
        "Type": "FerrowickDocument",
        "State": "Paused",
        "Tasks": [task("big.iso", "Suspended", 1_600_000), task("notes.txt", "PendingProcessing", 0)],
    }
    path = os.path.join(folder, "two tasks.queue")
    with open(path, "wb") as f:
        plistlib.dump(document, f)
    return path


class Processes:
    """Every process the test starts, each in a group of its own, so that
    what they start in turn (the AT-SPI registry) ends with them. What they
    write to standard error goes to a log, shown when a check fails."""

    def __init__(self, folder):
        self.folder = folder
        self.started = []
        self.logs = []

    @staticmethod
    def end_with_the_test():
        # Should the test itself be killed (a timeout of ctest), its
        # children go with it instead of living on.
        PR_SET_PDEATHSIG = 1
        ctypes.CDLL(None, use_errno=True).prctl(PR_SET_PDEATHSIG, signal.SIGTERM)

    def start(self, args, env, **options):
        log = os.path.join(self.folder, os.path.basename(args[0]) + ".log")
        with open(log, "ab") as errors:
            process = subprocess.Popen(args, env=env, start_new_session=True, stderr=errors,
                                       preexec_fn=self.end_with_the_test, **options)
        self.started.append(process)
        self.logs.append(log)
        return process

    def show_logs(self):
        for log in self.logs:
            try:
                with open(log, errors="replace") as f:
                    lines = f.read().splitlines()[-15:]
            except OSError:
                continue
            if lines:
                print(f"--- the last lines of {os.path.basename(log)}:")
                print("\n".join(lines))

    def stop_all(self):
        for process in reversed(self.started):
            self.signal(process, signal.SIGTERM)
        for process in reversed(self.started):
            try:
                process.wait(timeout=5)
            except subprocess.TimeoutExpired:
                self.signal(process, signal.SIGKILL)
                process.wait(timeout=5)
            # Whatever the process left in its group.
            self.signal(process, signal.SIGKILL)

    @staticmethod
    def signal(process, number):
        try:
            os.killpg(process.pid, number)
        except (ProcessLookupError, PermissionError):
            pass


def wait_for(what, condition, seconds=20):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.2)
    raise Failure(f"{what} did not happen within {seconds} s")


def start_session(processes, folder, env):
    from gi.repository import Gio, GLib

    config = os.path.join(folder, "session.conf")
    with open(config, "w") as f:
        f.write(BUS_CONFIG.format(folder=folder))
    bus = processes.start(
        ["dbus-daemon", "--config-file", config, "--nofork", "--print-address=1"],
        env,
        stdout=subprocess.PIPE,
        text=True,
    )
    # Not the whole wait: a bus that does not start must not hang the test.
    if not select.select([bus.stdout], [], [], 10)[0]:
        raise Failure("the private session bus did not start within 10 s")
    address = bus.stdout.readline().strip()
    if not address:
        raise Failure("the private session bus gave no address")
    env["DBUS_SESSION_BUS_ADDRESS"] = address

    read, write = os.pipe()
    processes.start(
        ["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x1024x24", "-nolisten", "tcp"],
        env,
        pass_fds=[write],
    )
    os.close(write)
    # The number and its newline come in two writes; Xvfb dies if the pipe
    # is closed between them.
    written = b""
    while not written.endswith(b"\n"):
        chunk = os.read(read, 64)
        if not chunk:
            break
        written += chunk
    os.close(read)
    display = written.decode().strip()
    if not display:
        raise Failure("Xvfb gave no display number")
    env["DISPLAY"] = ":" + display
    with socket.socket(socket.AF_UNIX) as x:
        try:
            x.connect(f"/tmp/.X11-unix/X{display}")
        except OSError as error:
            raise Failure(f"Xvfb on display :{display} does not answer: {error}")

    processes.start([LAUNCHER, "--launch-immediately"], env, stdout=subprocess.DEVNULL)
    # The program asks the session bus for the accessibility bus as it
    # starts; the launcher must own its name by then.
    connection = Gio.DBusConnection.new_for_address_sync(
        address,
        Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
        None,
        None,
    )

    def launcher_ready():
        reply = connection.call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "NameHasOwner", GLib.Variant("(s)", ("org.a11y.Bus",)), None,
            Gio.DBusCallFlags.NONE, 2000, None)
        return reply.unpack()[0]

    wait_for("the AT-SPI bus launcher", launcher_ready)
    return connection


def call_queue(connection, method, arguments=None, signature=None):
    """A method of the program's own scripting interface, on its only queue
    when the method takes one."""
    from gi.repository import Gio, GLib

    def call(name, values, types):
        return connection.call_sync(
            "com.velmarind.Ferrowick", "/com/velmarind/Ferrowick",
            "com.velmarind.Ferrowick.Queue", name,
            GLib.Variant(types, values) if values is not None else None,
            None, Gio.DBusCallFlags.NONE, 5000, None).unpack()

    queues = call("ListQueues", None, None)[0]
    if len(queues) != 1:
        raise Failure(f"the program has {len(queues)} queues open, wanted 1")
    return call(method, (queues[0],) + tuple(arguments or ()), "(u" + (signature or "") + ")")


def rows_as_the_program_reads_them(connection):
    """Title, detail and state of each task, as the program's scripting
    interface reports what its rows show."""
    from gi.repository import GLib

    try:
        tasks = [(t["title"], t["detail"], t["state"])
                 for t in call_queue(connection, "GetTasks")[0]]
    except GLib.Error:
        return None  # not on the bus yet
    return tasks if len(tasks) == len(FILES) and all(t[1] for t in tasks) else None


def children(accessible):
    return [accessible.getChildAtIndex(i) for i in range(accessible.childCount)]


def descendants(accessible):
    for child in children(accessible):
        if child is None:
            continue
        yield child
        yield from descendants(child)


def check_window(pyatspi, application, tasks, failures):
    def check(ok, message):
        if not ok:
            failures.append(message)
        return ok

    everything = list(descendants(application))
    role = pyatspi
    # The combo boxes of the toolbar hold lists too; the task list is the one
    # that is not inside a combo box.
    lists = [a for a in everything
             if a.getRole() == role.ROLE_LIST and a.parent.getRole() != role.ROLE_COMBO_BOX]
    if not check(len(lists) == 1, f"found {len(lists)} task lists, wanted 1"):
        return
    rows = children(lists[0])
    check(len(rows) == len(tasks), f"the task list has {len(rows)} children, wanted {len(tasks)}")
    for number, (row, (title, detail, _)) in enumerate(zip(rows, tasks), 1):
        where = f"row {number}"
        check(row.getRole() == role.ROLE_LIST_ITEM,
              f"{where} has the role {row.getRoleName()!r}, wanted 'list item'")
        check(row.name == title, f"{where} is named {row.name!r}, its title reads {title!r}")
        check(row.description == detail,
              f"{where} is described as {row.description!r}, its detail line reads {detail!r}")
        check(row.getState().contains(role.STATE_FOCUSABLE), f"{where} cannot take the focus")
        check(row.parent == lists[0], f"{where} does not name the task list as its parent")

        inside = list(descendants(row))
        bars = [a for a in inside if a.getRole() == role.ROLE_PROGRESS_BAR]
        if check(len(bars) == 1, f"{where} holds {len(bars)} progress bars, wanted 1"):
            check_bar(role, bars[0], where, check)
        file = next(name for name in FILES if name in title)
        buttons = [a for a in inside if a.getRole() == role.ROLE_PUSH_BUTTON]
        check(len(buttons) == 2, f"{where} holds {len(buttons)} buttons, wanted 2")
        for button in buttons:
            check(button.name.endswith(f"\u201c{file}\u201d") and button.description
                  and button.name.startswith(button.description),
                  f"{where}: the button {button.name!r} (tooltip {button.description!r}) does "
                  f"not say what it does to \u201c{file}\u201d")

    bars = [a for a in everything if a.getRole() == role.ROLE_STATUS_BAR]
    if not check(len(bars) == 1, f"found {len(bars)} status bars, wanted 1"):
        return
    labels = {label.description: label.name for label in children(bars[0])
              if label.getRole() == role.ROLE_LABEL}
    summary = labels.get("Queue summary")
    check(summary == f"0 of {len(tasks)} complete",
          f"the queue summary reads {summary!r}, the window shows '0 of {len(tasks)} complete'")
    data = labels.get("Data summary")
    check(data is not None and data.endswith(" remaining"),
          f"the data summary reads {data!r}, the window shows what remains to copy")


def check_changes_are_told(pyatspi, application, connection, failures):
    """Runs the queue and listens: a reader must hear that the title and
    detail line of the task that completes changed, and nothing of the
    suspended task, whose row stays as it was."""
    from gi.repository import GLib

    rows = [a for a in descendants(application) if a.getRole() == pyatspi.ROLE_LIST_ITEM
            and a.parent.getRole() != pyatspi.ROLE_COMBO_BOX]
    before = [(row.name, row.description) for row in rows]
    heard = {}

    def listener(event):
        # Qt's bridge sends the object, not the text, with these events.
        key = (event.source.path, str(event.type).rsplit(":", 1)[-1])
        heard[key] = heard.get(key, 0) + 1

    kinds = ["object:property-change:accessible-name",
             "object:property-change:accessible-description"]
    pyatspi.Registry.registerEventListener(listener, *kinds)
    context = GLib.MainContext.default()

    def pump(seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            while context.iteration(False):
                pass
            time.sleep(0.05)

    def small_task_completed():
        pump(0.2)
        tasks = rows_as_the_program_reads_them(connection)
        return tasks and tasks[-1][2] == "Completed"

    pump(0.5)
    call_queue(connection, "Start")
    wait_for("the small task completing", small_task_completed)
    pump(1.5)
    pyatspi.Registry.deregisterEventListener(listener, *kinds)

    for row, (name, description) in zip(rows, before):
        for what, old, new in (("name", name, row.name),
                               ("description", description, row.description)):
            count = heard.get((row.path, "accessible-" + what), 0)
            if new != old and count == 0:
                failures.append(f"the {what} of a row went from {old!r} to {new!r} "
                                "and a reader heard nothing of it")
            elif new == old and count:
                failures.append(f"a reader was told {count} times that the {what} {old!r} "
                                "of a row changed, and it did not")


def check_bar(role, bar, where, check):
    value = bar.queryValue()
    low, high, now = value.minimumValue, value.maximumValue, value.currentValue
    check(low < high and low <= now <= high,
          f"{where}: the bar's value {now} does not lie in its range {low}..{high}")
    check(bar.childCount == 0, f"{where}: the bar holds {bar.childCount} more objects")
    try:
        action = bar.queryAction()
        names = [action.getName(i) for i in range(action.nActions)]
    except NotImplementedError:
        action, names = None, []
    # Qt's bridge lists Increase and Decrease for everything with a value;
    # on a bar they must change nothing, and nothing else may be offered.
    check(set(names) <= {"Increase", "Decrease"}, f"{where}: the bar offers the actions {names}")
    for i, name in enumerate(names):
        action.doAction(i)
        check(value.currentValue == now, f"{where}: the bar's {name} action changed its value")


def main():
    if len(sys.argv) != 2:
        print("usage: test_accessibility.py PATH_TO_FERROWICK", file=sys.stderr)
        return 2
    program = sys.argv[1]
    for tool in ("dbus-daemon", "Xvfb"):
        if not shutil.which(tool):
            missing(tool)
    if not os.access(LAUNCHER, os.X_OK):
        missing(LAUNCHER)
    # Only looked for here: imported, it would settle on a bus too early.
    if not importlib.util.find_spec("pyatspi") or not importlib.util.find_spec("gi"):
        missing("python3-pyatspi")

    folder = tempfile.mkdtemp(prefix="ferrowick-a11y-")
    os.chmod(folder, 0o700)
    env = {
        "PATH": os.environ.get("PATH", "/usr/bin:/bin"),
        "HOME": folder,
        "XDG_CONFIG_HOME": os.path.join(folder, "config"),
        "XDG_DATA_HOME": os.path.join(folder, "data"),
        "XDG_CACHE_HOME": os.path.join(folder, "cache"),
        "XDG_RUNTIME_DIR": folder,
        "GSETTINGS_BACKEND": "memory",
        "LANG": "C.UTF-8",
    }
    # The sizes left to copy show in the status bar.
    os.makedirs(os.path.join(env["XDG_CONFIG_HOME"], "velmarind"))
    with open(os.path.join(env["XDG_CONFIG_HOME"], "velmarind", "Ferrowick.conf"), "w") as f:
        f.write("[General]\nshowDataSize=true\nshowDataRate=true\n")

    processes = Processes(folder)
    failures = []
    signal.signal(signal.SIGALRM, on_deadline)
    signal.alarm(DEADLINE_SECONDS)
    try:
        connection = start_session(processes, folder, env)
        queue = write_queue(folder)
        program_env = dict(env, QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        processes.start([program, queue], program_env, stdout=subprocess.DEVNULL)

        # pyatspi finds the accessibility bus through the session bus it
        # knows from the environment when it is first imported.
        os.environ.update(env)
        import pyatspi

        desktop = pyatspi.Registry.getDesktop(0)
        application = wait_for(
            "the program appearing on the accessibility bus",
            lambda: next((a for a in children(desktop) if a and a.name == "Ferrowick"), None))
        tasks = wait_for("the queue's two tasks on the program's scripting interface",
                         lambda: rows_as_the_program_reads_them(connection))
        wait_for("the window's rows", lambda: any(
            a.getRole() == pyatspi.ROLE_LIST_ITEM and a.name == tasks[-1][0]
            for a in descendants(application)))
        check_window(pyatspi, application, tasks, failures)
        check_changes_are_told(pyatspi, application, connection, failures)
    except Failure as failure:
        failures.append(str(failure))
    finally:
        signal.alarm(0)
        processes.stop_all()
        if failures:
            processes.show_logs()
        shutil.rmtree(folder, ignore_errors=True)

    for failure in failures:
        print(f"FAIL: {failure}")
    if not failures:
        print("PASS: the task list, its rows, bars and buttons and the status bar read right")
    return 1 if failures else 0


LAUNCHER = "/usr/libexec/at-spi-bus-launcher"

if __name__ == "__main__":
    sys.exit(main())
