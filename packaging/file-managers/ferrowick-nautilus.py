# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
"""Copy with Ferrowick and Move with Ferrowick in the GNOME file manager.

The chosen files and folders go to the running Ferrowick (or a new one) by
running `ferrowick --copy` or `ferrowick --move` with their paths; the program
hands them over on the session bus, and the destination is chosen there.
"""

import sys

import gi

# Nautilus 43 and later speak the 4.0 interface, earlier ones 3.0.
try:
    gi.require_version("Nautilus", "4.0")
except ValueError:
    gi.require_version("Nautilus", "3.0")
from gi.repository import GLib, GObject, Nautilus  # noqa: E402

ACTIONS = (
    ("copy", "Copy with Ferrowick", "Copy the selected files and folders with Ferrowick"),
    ("move", "Move with Ferrowick", "Move the selected files and folders with Ferrowick"),
)


class FerrowickMenuProvider(GObject.GObject, Nautilus.MenuProvider):
    def get_file_items(self, *args):
        # 4.0 passes the files alone, 3.0 the window first.
        files = args[-1]
        # Only local items: the program is handed paths.
        if not files or any(item.get_uri_scheme() != "file" for item in files):
            return []
        paths = [item.get_location().get_path() for item in files]
        if None in paths:
            return []
        items = []
        for mode, label, tip in ACTIONS:
            item = Nautilus.MenuItem(name="Ferrowick::" + mode, label=label, tip=tip)
            item.connect("activate", self._hand_over, mode, paths)
            items.append(item)
        return items

    @staticmethod
    def _hand_over(_item, mode, paths):
        # The program ends once it has handed the items over, or becomes the
        # running Ferrowick; GLib reaps it either way, nobody waits for it.
        try:
            GLib.spawn_async(["ferrowick", "--" + mode] + paths, flags=GLib.SpawnFlags.SEARCH_PATH)
        except GLib.Error as error:
            print("Ferrowick could not be started: %s" % error.message, file=sys.stderr)
