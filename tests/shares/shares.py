"""Network shares for the checks. Each share is mounted twice; each mount represents one machine.

All servers and mounts are inside the namespaces of run.py and end with these namespaces. The data is
on a tmpfs: the root file system may be an overlay file system, which some servers cannot export."""

import copy
import os
import pathlib
import shutil
import signal
import subprocess
import time

WORK = pathlib.Path("/run/shares")
START_SECONDS = 30


def wait_until(condition, seconds=START_SECONDS, what="a condition"):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(f"{what}: not within {seconds} s")
        time.sleep(0.05)


def descendants(process):
    """Returns the ids of a process and of all its descendants, in any process group."""
    parents = {}
    for entry in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            fields = entry.read_text().rpartition(") ")[2].split()
        except OSError:
            continue
        parents.setdefault(int(fields[1]), []).append(int(entry.parent.name))
    found = [process]
    for one in found:
        found += parents.get(one, [])
    return found


class Share:
    """A server and two mounts of its share. Each subclass describes one kind of share."""

    name = ""
    options = "default options"
    can_lose_server = True
    programs = ()

    def __init__(self):
        self.folder = WORK / self.name
        self.data = self.folder / "data"
        self.mounts = [self.folder / "a", self.folder / "b"]
        self.servers = []
        for folder in (self.data, *self.mounts):
            folder.mkdir(parents=True)

    def write(self, name, *lines):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("\n".join(lines) + "\n")
        path.chmod(0o600)
        return str(path)

    def spawn(self, *command, **environment):
        log = open(self.folder / "log", "ab")
        return subprocess.Popen(
            [str(word) for word in command], stdin=subprocess.DEVNULL, stdout=log, stderr=log,
            env=dict(os.environ, **environment), start_new_session=True)

    def serve(self, *command):
        self.servers.append(self.spawn(*command))

    def start(self, checks=()):
        """Mounts the share twice and creates a folder for each check. Starts the second mount after the
        first mount has created the folders, so that the second cache contains no older state."""
        for program in self.programs:
            if not shutil.which(program):
                raise FileNotFoundError(f"{program} is not installed")
        self.configure()
        self.start_server()
        for number, mount in enumerate(self.mounts):
            self.mount(number, mount)
            wait_until(lambda: self.is_mounted(mount), what=f"mount {mount}")
            wait_until(lambda: self.makes_folders(mount, checks), what=f"folders in {mount}")
        wait_until(self.works, what=f"writing to {self.name}")

    def makes_folders(self, mount, names):
        try:
            for name in names:
                (self.root_of(mount) / name).mkdir(exist_ok=True)
        except OSError:
            return False
        return True

    def folder_of(self, check):
        """Returns a copy of this share for one check. Its `a` and `b` are the check's folders on the two
        machines, and its `folder` is the check's folder on the local disk."""
        own = copy.copy(self)
        own.a, own.b = (self.root_of(mount) / check for mount in self.mounts)
        own.folder = self.folder / "checks" / check
        own.folder.mkdir(parents=True)
        return own

    def is_mounted(self, mount):
        return f" {mount} " in pathlib.Path("/proc/mounts").read_text()

    def works(self):
        """Returns whether the second machine can read a file that the first machine writes. Some servers
        allow this only a few seconds after their start."""
        try:
            probe = self.root_of(self.mounts[0]) / "probe"
            probe.write_text("data")
            return (self.root_of(self.mounts[1]) / "probe").read_text() == "data"
        except OSError:
            return False

    def root_of(self, mount):
        return mount

    def configure(self):
        pass

    def lose_server(self):
        """Kills all processes of the server. Simulates a crash."""
        for server in self.servers:
            for process in descendants(server.pid):
                try:
                    os.kill(process, signal.SIGKILL)
                except ProcessLookupError:
                    pass
            server.wait()
        self.servers.clear()


class Local(Share):
    """A local folder instead of a share. Every check must return KEPT for it."""

    name = "local"
    options = "one folder of a tmpfs"
    can_lose_server = False

    def start_server(self):
        pass

    def mount(self, number, mount):
        subprocess.run(["mount", "--bind", self.data, mount], check=True)


class MooseFs(Share):
    name = "moosefs"
    programs = ("mfsmaster", "mfschunkserver", "mfsmount")

    def configure(self):
        for folder in ("meta", "chunkmeta"):
            (self.folder / folder).mkdir()
        shutil.copy("/var/lib/mfs/metadata.mfs.empty", self.folder / "meta/metadata.mfs")
        address = "10.99.0.1"  # the chunk server refuses 127.0.0.1
        account = ("WORKING_USER = root", "WORKING_GROUP = root", "LOCK_MEMORY = 0")
        self.master = self.write(
            "master.cfg", *account, f"DATA_PATH = {self.folder}/meta",
            "EXPORTS_FILENAME = " + self.write("exports.cfg", "* / rw,alldirs,admin,maproot=0:0"),
            "TOPOLOGY_FILENAME = " + self.write("topology.cfg"),
            *(f"{port}_LISTEN_HOST = {address}" for port in ("MATOML", "MATOCS", "MATOCL")))
        self.chunk = self.write(
            "chunk.cfg", *account, f"DATA_PATH = {self.folder}/chunkmeta",
            "HDD_CONF_FILENAME = " + self.write("hdd.cfg", str(self.data)),
            f"MASTER_HOST = {address}", f"BIND_HOST = {address}", f"CSSERV_LISTEN_HOST = {address}",
            "HDD_LEAVE_SPACE_DEFAULT = 16MiB")  # the default exceeds the capacity of a small disk

    def start_server(self):
        # "-a" restores metadata that a killed master has not saved.
        self.serve("mfsmaster", "-a", "-f", "-c", self.master, "start")
        self.serve("mfschunkserver", "-f", "-c", self.chunk, "start")

    def mount(self, number, mount):
        def works():
            return self.spawn("mfsmount", "-H", "10.99.0.1", mount).wait() == 0

        wait_until(works, what="mfsmount")


class Smb(Share):
    """Samba, mounted with smbnetfs through libsmbclient."""

    name = "smbnetfs"
    programs = ("smbd", "smbnetfs")
    interfaces = "lo"

    def configure(self):
        folders = [f"{name} = {self.folder}/samba" for name in (
            "lock directory", "state directory", "cache directory", "pid directory",
            "private dir", "ncalrpc dir")]
        (self.folder / "samba").mkdir()
        self.conf = self.write(
            "smb.conf", "[global]", f"interfaces = {self.interfaces}", "bind interfaces only = yes",
            "map to guest = Bad User", "guest account = root", "disable spoolss = yes",
            "load printers = no", f"log file = {self.folder}/samba/log", *folders, "[share]",
            f"path = {self.data}", "guest ok = yes", "read only = no", "force user = root",
            "create mask = 0777", "case sensitive = yes")

    def start_server(self):
        self.serve("smbd", "--foreground", "--no-process-group", "-s", self.conf)

    def mount(self, number, mount):
        home = self.folder / f"home{number}"
        self.write(f"home{number}/.smb/smb.conf", "[global]")
        self.write(f"home{number}/.smb/smbnetfs.conf", 'local_charset "UTF-8"',
                   'samba_charset "UTF-8"', 'auth "guest" ""')
        self.spawn("smbnetfs", "-f", mount, HOME=str(home))

    def root_of(self, mount):
        return mount / "127.0.0.1" / "share"


class SshFs(Share):
    name = "sshfs"
    programs = ("sshfs", "/usr/sbin/sshd", "ssh-keygen")
    port = 2201
    extra = ()

    def configure(self):
        pathlib.Path("/run/sshd").mkdir(exist_ok=True)
        for key in ("host", "user"):
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "",
                            "-f", self.folder / key], check=True)
        self.conf = self.write(
            "sshd_config", f"Port {self.port}", "ListenAddress 127.0.0.1", "StrictModes no",
            "UsePAM no", "PermitRootLogin prohibit-password", "PidFile none",
            f"HostKey {self.folder}/host", f"AuthorizedKeysFile {self.folder}/user.pub",
            "Subsystem sftp internal-sftp")

    def start_server(self):
        self.serve("/usr/sbin/sshd", "-D", "-e", "-f", self.conf)

    def mount(self, number, mount):
        options = [f"port={self.port}", f"IdentityFile={self.folder}/user", "reconnect",
                   "StrictHostKeyChecking=no", "UserKnownHostsFile=/dev/null", *self.extra]
        words = [word for option in options for word in ("-o", option)]

        def works():
            return self.spawn("sshfs", *words, f"root@127.0.0.1:{self.data}", mount).wait() == 0

        wait_until(works, what="sshfs")


class SshFsUncached(SshFs):
    name = "sshfs-uncached"
    options = "dir_cache=no, attr_timeout=0, entry_timeout=0"
    port = 2202
    extra = ("dir_cache=no", "attr_timeout=0", "entry_timeout=0")


class Gluster(Share):
    """A GlusterFS volume with one brick."""

    name = "gluster"
    options = "as a volume has them by default"
    programs = ("glusterfsd", "glusterfs")
    port = 24107
    caches = ("write-behind", "open-behind", "quick-read", "md-cache")
    extra = ()

    def configure(self):
        def volume(name, kind, below, *options):
            lines = [f"volume {name}", f"type {kind}", *(f"option {o}" for o in options)]
            return lines + ([f"subvolumes {below}"] if below else []) + ["end-volume"]

        self.brick = self.write(
            "brick.vol", *volume("posix", "storage/posix", "", f"directory {self.data}"),
            *volume("locks", "features/locks", "posix"),
            *volume("server", "protocol/server", "locks", "transport-type tcp",
                    "transport.socket.bind-address 127.0.0.1",
                    f"transport.socket.listen-port {self.port}", "auth.addr.locks.allow *"))
        lines = volume("client", "protocol/client", "", "transport-type tcp",
                       "remote-host 127.0.0.1", f"remote-port {self.port}",
                       "remote-subvolume locks", "ping-timeout 5")
        below = "client"
        for kind in self.caches:
            lines += volume(kind, f"performance/{kind}", below)
            below = kind
        self.client = self.write("client.vol", *lines)

    def start_server(self):
        self.serve("glusterfsd", "-N", "-f", self.brick, "-l", self.folder / "brick.log",
                   "-p", self.folder / "brick.pid")

    def mount(self, number, mount):
        self.spawn("glusterfs", "-N", "-f", self.client, "-l", self.folder / f"client{number}.log",
                   "-p", self.folder / f"client{number}.pid", *self.extra, mount)


class GlusterUncached(Gluster):
    name = "gluster-uncached"
    options = ("no md-cache, no quick-read; attribute-timeout=0, entry-timeout=0, "
               "fopen-keep-cache=off")
    port = 24108
    caches = ("write-behind", "open-behind")
    extra = ("--attribute-timeout=0", "--entry-timeout=0", "--fopen-keep-cache=off")


ALL = (Local, MooseFs, Gluster, GlusterUncached, Smb, SshFs, SshFsUncached)
