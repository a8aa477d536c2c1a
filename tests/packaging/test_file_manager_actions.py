# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
"""The file managers' "Copy with Ferrowick" and "Move with Ferrowick".

Each action file is read as its file manager reads it, its command expanded
for a selection whose names hold spaces, quotes and accented letters the way
that file manager expands it, and run against a stand-in `ferrowick` first on
the PATH that records its arguments: the program must be asked to copy or
move exactly the items chosen.

Usage: test_file_manager_actions.py FILE-MANAGERS-DIR
"""

import configparser
import json
import os
import shlex
import shutil
import subprocess
import sys
import tempfile
import time
import types
import unittest
import urllib.parse
import xml.etree.ElementTree as ElementTree

ACTIONS_DIR = os.path.abspath(sys.argv.pop(1) if len(sys.argv) > 1 else ".")
LABELS = {"Copy with Ferrowick": "--copy", "Move with Ferrowick": "--move"}
NAMES = ["plain.txt", "\u00e9t\u00e9 photos.iso", "l'\u00e9t\u00e9 \"2024\"", "Ordner mit Leerzeichen"]


def read_key_file(path):
    # Strict, case-kept and without interpolation, as a desktop key file is.
    parser = configparser.ConfigParser(interpolation=None, strict=True)
    parser.optionxform = str
    with open(path, encoding="utf-8") as stream:
        parser.read_file(stream)
    return parser


def glib_uri(path):
    # What the GTK file managers hand out: the characters a URI path may
    # hold stay as they are, the apostrophe among them.
    return "file://" + urllib.parse.quote(path, safe="/!$&'()*+,;=:@~")


class FileManagerActions(unittest.TestCase):
    def setUp(self):
        self.work = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.work)
        bin_dir = os.path.join(self.work, "bin")
        os.mkdir(bin_dir)
        self.record = os.path.join(self.work, "record")
        fake = os.path.join(bin_dir, "ferrowick")
        with open(fake, "w", encoding="utf-8") as stream:
            stream.write("#!%s\nimport json, os, sys\n"
                         "with open(os.environ['FERROWICK_RECORD'], 'a', encoding='utf-8') as f:\n"
                         "    f.write(json.dumps(sys.argv[1:]) + '\\n')\n" % sys.executable)
        os.chmod(fake, 0o755)
        self.environment = dict(os.environ, PATH=bin_dir + os.pathsep + os.environ["PATH"],
                                FERROWICK_RECORD=self.record)
        self.selection = []
        for name in NAMES:
            path = os.path.join(self.work, "chosen", name)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            if name.startswith("Ordner"):
                os.mkdir(path)
            else:
                open(path, "w").close()
            self.selection.append(path)

    def calls(self, expected=1, timeout=10):
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            if os.path.exists(self.record):
                with open(self.record, encoding="utf-8") as stream:
                    lines = stream.read().splitlines()
                if len(lines) >= expected:
                    os.remove(self.record)
                    return [json.loads(line) for line in lines]
            time.sleep(0.05)
        self.fail("ferrowick was not run")

    def run_command(self, argv):
        subprocess.run(argv, env=self.environment, check=True, timeout=10)
        return self.calls()[0]

    def assert_asked(self, label, argv, as_uris=False):
        self.assertIn(label, LABELS)
        self.assertEqual(argv[0], LABELS[label], "%s runs %s" % (label, argv))
        items = argv[1:]
        if as_uris:
            for item in items:
                self.assertTrue(item.startswith("file:///"), item)
            items = [urllib.parse.unquote(urllib.parse.urlsplit(item).path) for item in items]
        self.assertEqual(items, self.selection)

    def test_kde_service_menu(self):
        path = os.path.join(ACTIONS_DIR, "ferrowick-servicemenu.desktop")
        # The validator knows the "Service" type but rejects MimeType and
        # Actions in it, the very keys a service menu consists of; anything
        # else it reports is a fault.
        out = subprocess.run(["desktop-file-validate", path], capture_output=True, text=True)
        faults = [line for line in (out.stdout + out.stderr).splitlines()
                  if not ('is present in group "Desktop Entry", but the type is "Service"' in line
                          and ('key "MimeType"' in line or 'key "Actions"' in line))]
        self.assertEqual(faults, [])

        entry = read_key_file(path)
        actions = [a for a in entry["Desktop Entry"]["Actions"].split(";") if a]
        self.assertEqual(len(actions), 2)
        labels = set()
        for action in actions:
            group = entry["Desktop Action " + action]
            labels.add(group["Name"])
            # The file manager gives each local path as one argument.
            argv = []
            for word in shlex.split(group["Exec"]):
                argv += self.selection if word == "%F" else [word]
            self.assert_asked(group["Name"], self.run_command(argv))
        self.assertEqual(labels, set(LABELS))

    def test_nemo_actions(self):
        labels = set()
        for mode in ("copy", "move"):
            action = read_key_file(os.path.join(ACTIONS_DIR, "ferrowick-%s.nemo_action" % mode))
            group = action["Nemo Action"]
            for key in ("Name", "Exec", "Selection"):
                self.assertTrue(group.get(key), "%s has no %s" % (mode, key))
            self.assertTrue(group.get("Extensions") or group.get("Mimetypes"))
            self.assertEqual(group["Selection"].lower(), "notnone")
            labels.add(group["Name"])
            # Each item in the chosen quotes, one space apart, put in for the
            # token; the line is then split as GLib splits a command line.
            quote = {"double": '"', "single": "'", "backtick": "`"}.get(group.get("Quote"), "")
            exec_line, as_uris = group["Exec"], False
            for token, items in (("%U", [glib_uri(p) for p in self.selection]),
                                 ("%F", self.selection)):
                if token in exec_line:
                    exec_line = exec_line.replace(
                        token, " ".join(quote + item + quote for item in items))
                    as_uris = token == "%U"
            self.assert_asked(group["Name"], self.run_command(shlex.split(exec_line)), as_uris)
        self.assertEqual(labels, set(LABELS))

    def load_nautilus_extension(self, interface):
        provider = types.ModuleType("gi.repository.Nautilus")

        class MenuProvider:
            pass

        class MenuItem:
            def __init__(self, name, label, tip, **_):
                self.name, self.label, self.tip, self.handlers = name, label, tip, []

            def connect(self, signal, callback, *data):
                self.handlers.append((signal, callback, data))

            def activate(self):
                for signal, callback, data in self.handlers:
                    if signal == "activate":
                        callback(self, *data)

        provider.MenuProvider, provider.MenuItem = MenuProvider, MenuItem
        gobject = types.ModuleType("gi.repository.GObject")
        gobject.GObject = type("GObject", (), {})
        glib = types.ModuleType("gi.repository.GLib")
        glib.Error = type("Error", (Exception,), {"message": ""})
        glib.SpawnFlags = types.SimpleNamespace(SEARCH_PATH=2)

        def spawn_async(argv, flags=0, **_):
            # The program named is looked up on the PATH, as GLib would.
            self.assertEqual(flags & glib.SpawnFlags.SEARCH_PATH, glib.SpawnFlags.SEARCH_PATH)
            subprocess.run(argv, env=self.environment, check=True, timeout=10)
            return (0, None, None, None)

        glib.spawn_async = spawn_async
        gi = types.ModuleType("gi")

        def require_version(namespace, version):
            if namespace != "Nautilus" or version != interface:
                raise ValueError("Namespace %s not available for version %s" % (namespace, version))

        gi.require_version = require_version
        repository = types.ModuleType("gi.repository")
        repository.GLib, repository.GObject, repository.Nautilus = glib, gobject, provider
        stubs = {"gi": gi, "gi.repository": repository, "gi.repository.GLib": glib,
                 "gi.repository.GObject": gobject, "gi.repository.Nautilus": provider}
        saved = {name: sys.modules.get(name) for name in stubs}
        sys.modules.update(stubs)
        try:
            path = os.path.join(ACTIONS_DIR, "ferrowick-nautilus.py")
            module = types.ModuleType("ferrowick_nautilus_" + interface.replace(".", "_"))
            module.__file__ = path
            with open(path, encoding="utf-8") as source:
                exec(compile(source.read(), path, "exec"), module.__dict__)
        finally:
            for name, old in saved.items():
                if old is None:
                    sys.modules.pop(name, None)
                else:
                    sys.modules[name] = old
        providers = [value for value in vars(module).values()
                     if isinstance(value, type) and issubclass(value, MenuProvider)]
        self.assertEqual(len(providers), 1)
        return providers[0]()

    def test_nautilus_extension(self):
        class Location:
            def __init__(self, path):
                self.path = path

            def get_path(self):
                return self.path

        class FileInfo:
            def __init__(self, path, scheme="file"):
                self.path, self.scheme = path, scheme

            def get_uri_scheme(self):
                return self.scheme

            def get_location(self):
                return Location(self.path if self.scheme == "file" else None)

        chosen = [FileInfo(path) for path in self.selection]
        # Nautilus 43 and later pass the files alone, earlier ones the window
        # before them.
        for interface, call in (("4.0", lambda p, files: p.get_file_items(files)),
                                ("3.0", lambda p, files: p.get_file_items(object(), files))):
            with self.subTest(interface=interface):
                provider = self.load_nautilus_extension(interface)
                self.assertEqual(call(provider, [FileInfo("/srv/x", "sftp")] + chosen), [],
                                 "offered for an item that is not local")
                self.assertEqual(call(provider, []), [])
                items = call(provider, chosen)
                self.assertEqual({item.label for item in items}, set(LABELS))
                for item in items:
                    item.activate()
                    self.assert_asked(item.label, self.calls()[0])

    def test_thunar_actions(self):
        script = os.path.join(ACTIONS_DIR, "add-thunar-actions")
        config = os.path.join(self.work, "config")
        uca = os.path.join(config, "Thunar", "uca.xml")
        os.makedirs(os.path.dirname(uca))
        own = ("<action>\n\t<name>Open Terminal Here</name>\n"
               "\t<unique-id>1-1</unique-id>\n\t<command>xterm</command>\n</action>\n")
        with open(uca, "w", encoding="utf-8") as stream:
            stream.write('<?xml version="1.0" encoding="UTF-8"?>\n<actions>\n%s</actions>\n' % own)
        environment = dict(self.environment, XDG_CONFIG_HOME=config)
        # Twice: the second run replaces the first one's actions.
        for _ in range(2):
            subprocess.run([script], env=environment, check=True, capture_output=True, timeout=10)
        actions = ElementTree.parse(uca).getroot().findall("action")
        self.assertEqual([a.findtext("name") for a in actions],
                         ["Open Terminal Here"] + sorted(LABELS))
        for action in actions[1:]:
            self.assertIsNotNone(action.find("directories"), "not offered for folders")
            self.assertIsNotNone(action.find("other-files"), "not offered for every file")
            # Thunar puts each path quoted for %F, then splits the line.
            command = action.findtext("command").replace(
                "%F", " ".join(shlex.quote(p) for p in self.selection))
            self.assert_asked(action.findtext("name"), self.run_command(shlex.split(command)))

        # A file it cannot read is left as it was.
        with open(uca, "w", encoding="utf-8") as stream:
            stream.write("<actions/>\n")
        result = subprocess.run([script], env=environment, capture_output=True, text=True,
                                timeout=10)
        self.assertEqual(result.returncode, 1)
        self.assertIn("nothing was changed", result.stderr)
        with open(uca, encoding="utf-8") as stream:
            self.assertEqual(stream.read(), "<actions/>\n")


if __name__ == "__main__":
    unittest.main(verbosity=2)
