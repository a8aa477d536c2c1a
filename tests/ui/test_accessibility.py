#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
"""The queue window as a screen reader meets it.

Starts the real program on an Xvfb display of its own, with a private session
bus and the AT-SPI bus beside it, opens a paused queue of two tasks and walks
the window with pyatspi; then runs the queue and listens to what a reader is
told.

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
LAUNCHER = "/usr/libexec/at-spi-bus-launcher"
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


def on_deadline(signum, frame):
    raise Failure(f"gave up after {DEADLINE_SECONDS} s: something did not answer")


def wait_for(what, condition, seconds=20):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.2)
    raise Failure(f"{what} did not happen within {seconds} s")


def write_queue(folder):
    """A paused queue: one task suspended part way, one waiting."""
    out = os.path.join(folder, "out")
    os.makedirs(out)
    tasks = []
    for (name, size), (state, done) in zip(FILES.items(), [("Suspended", 1_600_000),
                                                           ("PendingProcessing", 0)]):
        with open(os.path.join(folder, name), "wb") as f:
            f.write(b"x" * size)
        tasks.append({
            "Type": "CopyTask", "State": state, "ProgressBytes": done, "TotalBytes": size,
            "TransferMode": "Copy",
            "Source": {"Type": "FileSystemReader", "Path": os.path.join(folder, name)},
            "Destination": {"Type": "FileSystemWriter", "Path": out, "IsDirectory": True},
        })
    path = os.path.join(folder, "two tasks.queue")
    with open(path, "wb") as f:
        plistlib.dump({"Type": "FerrowickDocument", "State": "Paused", "Tasks": tasks}, f)
    return path


class Processes:
    """Every process the test starts, each in a group of its own that ends
    with it (the AT-SPI registry it starts in turn too), also when the test
    itself is killed. Their standard error goes to one log, shown on failure."""

    def __init__(self, folder):
        self.log = os.path.join(folder, "errors.log")
        self.started = []

    def start(self, args, env, **options):
        def end_with_the_test():
            ctypes.CDLL(None).prctl(1, signal.SIGTERM)  # PR_SET_PDEATHSIG

        with open(self.log, "ab") as errors:
            process = subprocess.Popen(args, env=env, start_new_session=True, stderr=errors,
                                       preexec_fn=end_with_the_test, **options)
        self.started.append(process)
        return process

    def stop_all(self):
        for number in (signal.SIGTERM, signal.SIGKILL):
            for process in reversed(self.started):
                try:
                    os.killpg(process.pid, number)
                except (ProcessLookupError, PermissionError):
                    pass
                try:
                    process.wait(timeout=5)
                except subprocess.TimeoutExpired:
                    pass

    def show_log(self):
        with open(self.log, "a+", errors="replace") as f:
            f.seek(0)
            lines = f.read().splitlines()[-30:]
        if lines:
            print("--- the last lines the processes wrote:\n" + "\n".join(lines))


def display_is_free(number):
    """Neither a lock file nor a socket of that display, in the file system
    or among the abstract sockets, which the X library tries first and which
    a server outside this machine's file system may hold."""
    if os.path.exists(f"/tmp/.X{number}-lock") or os.path.exists(f"/tmp/.X11-unix/X{number}"):
        return False
    with socket.socket(socket.AF_UNIX) as probe:
        try:
            probe.bind(f"\0/tmp/.X11-unix/X{number}")
        except OSError:
            return False
    return True


def start_display(processes, env):
    """An Xvfb of the test's own on a display nobody else uses; its number."""
    for number in range(20 + os.getpid() % 50, 200):
        if not display_is_free(number):
            continue
        read, write = os.pipe()
        # Without -noreset the server resets whenever its last client leaves
        # (the probe below, the bus launcher publishing its address on the
        # root window), and a program connecting just then is turned away.
        server = processes.start(["Xvfb", f":{number}", "-displayfd", str(write), "-screen", "0",
                                  "1280x1024x24", "-nolisten", "tcp", "-noreset"], env,
                                 pass_fds=[write])
        os.close(write)
        # The number and its newline come in two writes; Xvfb dies if the
        # pipe is closed between them. Nothing comes when it could not start.
        written = b""
        while not written.endswith(b"\n") and (chunk := os.read(read, 64)):
            written += chunk
        os.close(read)
        if written.strip() != str(number).encode() or server.poll() is not None:
            continue  # taken meanwhile
        with socket.socket(socket.AF_UNIX) as x:
            try:
                x.connect(f"\0/tmp/.X11-unix/X{number}")
            except OSError as error:
                raise Failure(f"Xvfb on display :{number} does not answer: {error}")
        return number
    raise Failure("no free X display between :20 and :199")


def start_session(processes, folder, env):
    from gi.repository import Gio, GLib

    config = os.path.join(folder, "session.conf")
    with open(config, "w") as f:
        f.write(BUS_CONFIG.format(folder=folder))
    bus = processes.start(["dbus-daemon", "--config-file", config, "--nofork",
                           "--print-address=1"], env, stdout=subprocess.PIPE, text=True)
    # Not the whole wait: a bus that does not start must not hang the test.
    if not select.select([bus.stdout], [], [], 10)[0]:
        raise Failure("the private session bus did not start within 10 s")
    env["DBUS_SESSION_BUS_ADDRESS"] = address = bus.stdout.readline().strip()

    display = start_display(processes, env)
    env["DISPLAY"] = f":{display}"

    processes.start([LAUNCHER, "--launch-immediately"], env, stdout=subprocess.DEVNULL)
    # The program asks the session bus for the accessibility bus as it
    # starts; the launcher must own its name by then.
    connection = Gio.DBusConnection.new_for_address_sync(
        address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
    wait_for("the AT-SPI bus launcher", lambda: connection.call_sync(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
        GLib.Variant("(s)", ("org.a11y.Bus",)), None, Gio.DBusCallFlags.NONE, 2000,
        None).unpack()[0])
    return connection


def call_queue(connection, method):
    """A method of the program's own scripting interface on its only queue."""
    from gi.repository import Gio, GLib

    def call(name, parameters=None):
        return connection.call_sync(
            "com.velmarind.Ferrowick", "/com/velmarind/Ferrowick",
            "com.velmarind.Ferrowick.Queue", name, parameters, None,
            Gio.DBusCallFlags.NONE, 5000, None).unpack()

    queues = call("ListQueues")[0]
    if len(queues) != 1:
        raise Failure(f"the program has {len(queues)} queues open, wanted 1")
    return call(method, GLib.Variant("(u)", (queues[0],)))


def tasks_as_the_program_reports_them(connection):
    """Title, detail and state of each task, as the program's scripting
    interface reports what its rows show; None until all are there."""
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
    for child in filter(None, children(accessible)):
        yield child
        yield from descendants(child)


def task_lists(pyatspi, application):
    # The combo boxes of the toolbar hold lists too; the task list is the one
    # that is not inside a combo box.
    return [a for a in descendants(application) if a.getRole() == pyatspi.ROLE_LIST
            and a.parent.getRole() != pyatspi.ROLE_COMBO_BOX]


def check_window(pyatspi, application, tasks, check):
    """The task list is a list of focusable list items, named and described
    as the rows read; each holds one bar that carries its value and two
    buttons that say what they do to which file; the status bar reads what
    it shows."""
    lists = task_lists(pyatspi, application)
    if not check(len(lists) == 1, f"found {len(lists)} task lists, wanted 1"):
        return
    rows = children(lists[0])
    check(len(rows) == len(tasks), f"the task list has {len(rows)} children, wanted {len(tasks)}")
    for number, (row, (title, detail, _)) in enumerate(zip(rows, tasks), 1):
        where = f"row {number}"
        check(row.getRole() == pyatspi.ROLE_LIST_ITEM and row.parent == lists[0]
              and row.getState().contains(pyatspi.STATE_FOCUSABLE),
              f"{where} is a {row.getRoleName()!r}, not a focusable item of the task list")
        check((row.name, row.description) == (title, detail),
              f"{where} reads {row.name!r} / {row.description!r}, it shows {title!r} / {detail!r}")
        # The suspended task, loaded part way, shows how far it got.
        suspended = "big.iso" in title
        check(not suspended or "1.5 MB of 3.8 MB" in detail,
              f"{where} reads {detail!r}, wanted 1.5 MB of 3.8 MB done")
        inside = list(descendants(row))
        bars = [a for a in inside if a.getRole() == pyatspi.ROLE_PROGRESS_BAR]
        if check(len(bars) == 1, f"{where} holds {len(bars)} progress bars, wanted 1"):
            check_bar(bars[0], where, check, 0.4 if suspended else None)
        file = next(name for name in FILES if name in title)
        buttons = [a for a in inside if a.getRole() == pyatspi.ROLE_PUSH_BUTTON]
        check(len(buttons) == 2, f"{where} holds {len(buttons)} buttons, wanted 2")
        check(not suspended or any(b.name.startswith("Resume") for b in buttons),
              f"{where}: no button resumes the suspended task")
        for button in buttons:
            check(button.name.endswith(f"\u201c{file}\u201d") and button.description
                  and button.name.startswith(button.description),
                  f"{where}: the button {button.name!r} (tooltip {button.description!r}) does "
                  f"not say what it does to \u201c{file}\u201d")

    status = [a for a in descendants(application) if a.getRole() == pyatspi.ROLE_STATUS_BAR]
    if check(len(status) == 1, f"found {len(status)} status bars, wanted 1"):
        labels = {a.description: a.name for a in children(status[0])
                  if a.getRole() == pyatspi.ROLE_LABEL}
        summary, data = labels.get("Queue summary"), labels.get("Data summary") or ""
        check(summary == f"0 of {len(tasks)} complete", f"the queue summary reads {summary!r}")
        check(data.endswith(" remaining"), f"the data summary reads {data!r}")


def check_bar(bar, where, check, fraction):
    value = bar.queryValue()
    low, high, now = value.minimumValue, value.maximumValue, value.currentValue
    check(low < high and low <= now <= high,
          f"{where}: the bar's value {now} does not lie in its range {low}..{high}")
    check(fraction is None or abs((now - low) / (high - low) - fraction) < 0.001,
          f"{where}: the bar stands at {now} of {low}..{high}, wanted {fraction} of the way")
    check(bar.childCount == 0, f"{where}: the bar holds {bar.childCount} more objects")
    try:
        action = bar.queryAction()
        names = [action.getName(i) for i in range(action.nActions)]
    except NotImplementedError:
        names = []
    # Qt's bridge lists Increase and Decrease for everything with a value;
    # on a bar they must change nothing, and nothing else may be offered.
    check(set(names) <= {"Increase", "Decrease"}, f"{where}: the bar offers the actions {names}")
    for i, name in enumerate(names):
        action.doAction(i)
        check(value.currentValue == now, f"{where}: the bar's {name} action changed its value")


def check_changes_are_told(pyatspi, application, connection, check):
    """Runs the queue: a reader must hear that the name and description of
    the row whose task completes changed, and nothing of the suspended
    task's row, which stays as it was."""
    from gi.repository import GLib

    rows = children(task_lists(pyatspi, application)[0])
    before = [(row.name, row.description) for row in rows]
    heard = {}

    def listener(event):
        # Qt's bridge sends the object, not the text, with these events.
        key = (event.source.path, str(event.type).rsplit(":", 1)[-1])
        heard[key] = heard.get(key, 0) + 1

    kinds = ["object:property-change:accessible-name",
             "object:property-change:accessible-description"]
    pyatspi.Registry.registerEventListener(listener, *kinds)

    def pump(seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            while GLib.MainContext.default().iteration(False):
                pass
            time.sleep(0.05)

    def last_task_completed():
        pump(0.2)
        tasks = tasks_as_the_program_reports_them(connection)
        return tasks and tasks[-1][2] == "Completed"

    pump(0.5)
    call_queue(connection, "Start")
    wait_for("the small task completing", last_task_completed)
    pump(1.5)
    pyatspi.Registry.deregisterEventListener(listener, *kinds)

    for row, old_texts in zip(rows, before):
        for what, old, new in zip(("name", "description"), old_texts, (row.name, row.description)):
            count = heard.get((row.path, "accessible-" + what), 0)
            check(new == old or count, f"the {what} of a row went from {old!r} to {new!r} "
                  "and a reader heard nothing of it")
            check(new != old or not count, f"a reader was told {count} times that the {what} "
                  f"{old!r} of a row changed, and it did not")


def main():
    if len(sys.argv) != 2:
        print("usage: test_accessibility.py PATH_TO_FERROWICK", file=sys.stderr)
        return 2
    # pyatspi only looked for here: imported, it would settle on a bus too early.
    for what, there in (("dbus-daemon", shutil.which("dbus-daemon")),
                        ("Xvfb", shutil.which("Xvfb")),
                        (LAUNCHER, os.access(LAUNCHER, os.X_OK)),
                        ("python3-pyatspi", importlib.util.find_spec("pyatspi")
                         and importlib.util.find_spec("gi"))):
        if not there:
            print(f"test_accessibility: {what} is missing", file=sys.stderr)
            return 1 if os.environ.get("CI") else 77

    folder = tempfile.mkdtemp(prefix="ferrowick-a11y-")
    os.chmod(folder, 0o700)
    env = {"PATH": os.environ.get("PATH", "/usr/bin:/bin"), "HOME": folder,
           "XDG_RUNTIME_DIR": folder, "GSETTINGS_BACKEND": "memory", "LANG": "C.UTF-8"}
    for kind in ("CONFIG", "DATA", "CACHE"):
        env[f"XDG_{kind}_HOME"] = os.path.join(folder, kind.lower())
    # The sizes left to copy show in the status bar.
    os.makedirs(os.path.join(env["XDG_CONFIG_HOME"], "velmarind"))
    with open(os.path.join(env["XDG_CONFIG_HOME"], "velmarind", "Ferrowick.conf"), "w") as f:
        f.write("[General]\nshowDataSize=true\nshowDataRate=true\n")

    processes = Processes(folder)
    failures = []

    def check(ok, message):
        if not ok:
            failures.append(message)
        return ok

    signal.signal(signal.SIGALRM, on_deadline)
    signal.alarm(DEADLINE_SECONDS)
    try:
        connection = start_session(processes, folder, env)
        processes.start([sys.argv[1], write_queue(folder)],
                        dict(env, QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1"),
                        stdout=subprocess.DEVNULL)
        # pyatspi finds the accessibility bus through the session bus it
        # knows from the environment when it is first imported.
        os.environ.update(env)
        import pyatspi

        application = wait_for(
            "the program appearing on the accessibility bus",
            lambda: next((a for a in children(pyatspi.Registry.getDesktop(0))
                          if a and a.name == "Ferrowick"), None))
        tasks = wait_for("the queue's two tasks on the program's scripting interface",
                         lambda: tasks_as_the_program_reports_them(connection))
        wait_for("the window's rows", lambda: any(
            a.getRole() == pyatspi.ROLE_LIST_ITEM and a.name == tasks[-1][0]
            for a in descendants(application)))
        check_window(pyatspi, application, tasks, check)
        check_changes_are_told(pyatspi, application, connection, check)
    except Failure as failure:
        failures.append(str(failure))
    finally:
        signal.alarm(0)
        processes.stop_all()
        if failures:
            processes.show_log()
        shutil.rmtree(folder, ignore_errors=True)

    for failure in failures:
        print(f"FAIL: {failure}")
    if not failures:
        print("PASS: the task list, its rows, bars and buttons and the status bar read right")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
