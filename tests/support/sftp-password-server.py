#!/usr/bin/python3
# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later
"""A small SFTP server that logs in one account by password only.

Usage: sftp-password-server.py HOST PORT ROOT USER PASSWORD HOST_KEY

Listens on HOST (127.0.0.1 or ::1) and PORT (0: any free port) and prints
the port it listens on as the first line of its output. The account USER is
let in with PASSWORD, asked for either as a password or through one
keyboard-interactive prompt; no keys are accepted. Paths are those of the
local file system, relative ones below ROOT, as a login whose home is ROOT
would see them. Runs until it is terminated.
"""

import logging
import os
import socket
import sys
import threading
import warnings

# The crypto library warns about ciphers nobody here negotiates.
warnings.filterwarnings("ignore")

import paramiko  # noqa: E402
from paramiko.sftp import SFTP_FAILURE, SFTP_OK  # noqa: E402
from paramiko.sftp_attr import SFTPAttributes  # noqa: E402
from paramiko.sftp_handle import SFTPHandle  # noqa: E402
from paramiko.sftp_server import SFTPServer  # noqa: E402
from paramiko.sftp_si import SFTPServerInterface  # noqa: E402


def errno_status(error):
    return SFTPServer.convert_errno(error.errno)


# The ways of logging in offered, as the server's configuration would say.
METHODS = os.environ.get("SFTP_TEST_AUTH_METHODS", "password,keyboard-interactive")


class Login(paramiko.ServerInterface):
    def __init__(self, user, password):
        self.user = user
        self.password = password
        self.asked = None

    def get_allowed_auths(self, username):
        return METHODS

    def check_auth_password(self, username, password):
        if "password" not in METHODS.split(","):
            return paramiko.AUTH_FAILED
        if username == self.user and password == self.password:
            return paramiko.AUTH_SUCCESSFUL
        return paramiko.AUTH_FAILED

    def check_auth_interactive(self, username, submethods):
        # A wrong name is asked for its password too, so that the answer
        # does not tell which accounts exist.
        self.asked = username
        query = paramiko.InteractiveQuery("", "")
        query.add_prompt("Password: ", False)
        return query

    def check_auth_interactive_response(self, responses):
        if self.asked == self.user and list(responses) == [self.password]:
            return paramiko.AUTH_SUCCESSFUL
        return paramiko.AUTH_FAILED

    def check_channel_request(self, kind, chanid):
        if kind == "session":
            return paramiko.OPEN_SUCCEEDED
        return paramiko.OPEN_FAILED_ADMINISTRATIVELY_PROHIBITED


class LocalHandle(SFTPHandle):
    def __init__(self, path, flags, file):
        super().__init__(flags)
        self.path = path
        self.readfile = file
        self.writefile = file

    def stat(self):
        try:
            return SFTPAttributes.from_stat(os.fstat(self.readfile.fileno()))
        except OSError as error:
            return errno_status(error)

    def chattr(self, attr):
        try:
            SFTPServer.set_file_attr(self.path, attr)
        except OSError as error:
            return errno_status(error)
        return SFTP_OK


def requested_mode(attr, default):
    if attr is not None and attr.st_mode is not None:
        return attr.st_mode & 0o7777
    return default


class LocalFiles(SFTPServerInterface):
    def __init__(self, server, root=None, **kwargs):
        super().__init__(server, **kwargs)
        self.root = root

    def local(self, path):
        return os.path.join(self.root, path) if not os.path.isabs(path) else path

    def canonicalize(self, path):
        return os.path.normpath(self.local(path))

    def list_folder(self, path):
        folder = self.local(path)
        try:
            entries = []
            for name in os.listdir(folder):
                status = os.lstat(os.path.join(folder, name))
                entries.append(SFTPAttributes.from_stat(status, name))
            return entries
        except OSError as error:
            return errno_status(error)

    def stat(self, path):
        try:
            return SFTPAttributes.from_stat(os.stat(self.local(path)))
        except OSError as error:
            return errno_status(error)

    def lstat(self, path):
        try:
            return SFTPAttributes.from_stat(os.lstat(self.local(path)))
        except OSError as error:
            return errno_status(error)

    def open(self, path, flags, attr):
        path = self.local(path)
        try:
            descriptor = os.open(path, flags, requested_mode(attr, 0o666))
        except OSError as error:
            return errno_status(error)
        if flags & os.O_CREAT and attr is not None:
            attr._flags &= ~attr.FLAG_PERMISSIONS
            try:
                SFTPServer.set_file_attr(path, attr)
            except OSError as error:
                os.close(descriptor)
                return errno_status(error)
        append = flags & os.O_APPEND
        if flags & os.O_WRONLY:
            mode = "ab" if append else "wb"
        elif flags & os.O_RDWR:
            mode = "a+b" if append else "r+b"
        else:
            mode = "rb"
        try:
            file = os.fdopen(descriptor, mode)
        except OSError as error:
            os.close(descriptor)
            return errno_status(error)
        return LocalHandle(path, flags, file)

    def remove(self, path):
        try:
            os.remove(self.local(path))
        except OSError as error:
            return errno_status(error)
        return SFTP_OK

    def rename(self, oldpath, newpath):
        # A plain rename never replaces what is there, as with the usual
        # servers; posix_rename does.
        if os.path.lexists(self.local(newpath)):
            return SFTP_FAILURE
        return self.posix_rename(oldpath, newpath)

    def posix_rename(self, oldpath, newpath):
        try:
            os.rename(self.local(oldpath), self.local(newpath))
        except OSError as error:
            return errno_status(error)
        return SFTP_OK

    def mkdir(self, path, attr):
        path = self.local(path)
        try:
            os.mkdir(path, requested_mode(attr, 0o777))
            if attr is not None:
                attr._flags &= ~attr.FLAG_PERMISSIONS
                SFTPServer.set_file_attr(path, attr)
        except OSError as error:
            return errno_status(error)
        return SFTP_OK

    def rmdir(self, path):
        try:
            os.rmdir(self.local(path))
        except OSError as error:
            return errno_status(error)
        return SFTP_OK

    def chattr(self, path, attr):
        try:
            SFTPServer.set_file_attr(self.local(path), attr)
        except OSError as error:
            return errno_status(error)
        return SFTP_OK

    def symlink(self, target_path, path):
        # The target is stored as given, relative or not.
        try:
            os.symlink(target_path, self.local(path))
        except OSError as error:
            return errno_status(error)
        return SFTP_OK

    def readlink(self, path):
        try:
            return os.readlink(self.local(path))
        except OSError as error:
            return errno_status(error)


def load_host_key(path):
    for kind in (paramiko.Ed25519Key, paramiko.ECDSAKey, paramiko.RSAKey):
        try:
            return kind.from_private_key_file(path)
        except (paramiko.SSHException, ValueError):
            continue
    raise SystemExit("cannot read the host key " + path)


def serve(connection, host_key, root, user, password):
    transport = paramiko.Transport(connection)
    transport.add_server_key(host_key)
    transport.set_subsystem_handler("sftp", SFTPServer, LocalFiles, root=root)
    try:
        transport.start_server(server=Login(user, password))
    except (paramiko.SSHException, EOFError, OSError):
        transport.close()


def main():
    if len(sys.argv) != 7:
        raise SystemExit(__doc__)
    host, port, root, user, password, key_path = sys.argv[1:]
    logging.basicConfig(level=logging.WARNING, stream=sys.stderr)
    host_key = load_host_key(key_path)
    family = socket.AF_INET6 if ":" in host else socket.AF_INET
    listener = socket.socket(family, socket.SOCK_STREAM)
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    listener.bind((host, int(port)))
    listener.listen(16)
    print(listener.getsockname()[1], flush=True)
    while True:
        connection, _ = listener.accept()
        threading.Thread(
            target=serve,
            args=(connection, host_key, root, user, password),
            daemon=True,
        ).start()


if __name__ == "__main__":
    main()
