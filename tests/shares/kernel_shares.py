"""Shares that are mounted by the kernel: NFS and SMB. They are checked only if --share names them.

The kernels of most test machines lack these clients. The servers and mounts are therefore in a guest, a
Linux kernel that runs as an ordinary process (User Mode Linux). The guest uses the root folder of this
machine read-only. Each mount has its own network, so that the server sees two clients."""

import json
import os
import pathlib
import subprocess
import sys

from shares import WORK, Share, Smb, wait_until

GUEST_SECONDS = 400
MODULES = "/usr/lib/uml/modules"


class KernelShare(Share):
    """A share that the kernel mounts. Each mount has a separate network namespace."""

    subnet = 0

    def configure(self):
        self.addresses = [self.network_of(number) for number in range(len(self.mounts))]

    def network_of(self, number):
        """Creates the network namespace of a mount. Returns the server's address in this network."""
        space, subnet = f"{self.name}{number}", self.subnet + number
        inside = f"nsenter --net=/run/netns/{space}"
        for command in (
                f"ip netns add {space}",
                f"ip link add {space} type veth peer name inner netns {space}",
                f"ip address add 10.99.{subnet}.1/24 dev {space}", f"ip link set {space} up",
                f"{inside} ip address add 10.99.{subnet}.2/24 dev inner",
                f"{inside} ip link set inner up", f"{inside} ip link set lo up"):
            subprocess.run(command.split(), check=True)
        return f"10.99.{subnet}.1"

    def mount(self, number, mount):
        kind, source, options = self.source_at(self.addresses[number])
        # NFS derives the client's name from the host name, so each mount has its own host name.
        script = f'hostname machine{number}; exec mount -i -t "$1" -o "$2" "$3" "$4"'
        words = ["nsenter", f"--net=/run/netns/{self.name}{number}", "unshare", "--uts",
                 "sh", "-c", script, "sh", kind, options, source, mount]
        wait_until(lambda: self.spawn(*words).wait() == 0, 60, " ".join(map(str, words)))


class Nfs(KernelShare):
    name = "nfs"
    options = "NFS 4.2, hard, lookupcache=positive"
    programs = ("rpc.nfsd", "rpc.mountd", "exportfs")
    subnet = 10

    def configure(self):
        KernelShare.configure(self)
        for command in (
                "/run/modprobe nfsd", "/run/modprobe nfsv4", "mount -t nfsd none /proc/fs/nfsd",
                "mount -t tmpfs none /var/lib/nfs",
                "mkdir -p /var/lib/nfs/rpc_pipefs /var/lib/nfs/v4recovery",
                "touch /var/lib/nfs/etab /var/lib/nfs/rmtab",
                f"exportfs -i -o rw,no_root_squash,insecure,fsid=0,no_subtree_check *:{self.data}",
                "rpc.mountd -N 3"):
            subprocess.run(command.split(), check=True)
        for limit in ("nfsv4leasetime", "nfsv4gracetime"):
            pathlib.Path("/proc/fs/nfsd", limit).write_text("10\n")

    def start_server(self):
        subprocess.run("rpc.nfsd -N 3 -V 4.2 4".split(), check=True)

    def lose_server(self):
        subprocess.run("rpc.nfsd 0".split(), check=True)

    def source_at(self, address):
        client = address[:-1] + "2"
        return "nfs4", f"{address}:/", f"vers=4.2,hard,lookupcache=positive,addr={address},clientaddr={client}"


class Cifs(KernelShare, Smb):
    """Samba, mounted by the kernel."""

    name = "cifs"
    options = "SMB 3.1.1, default options"
    programs = ("smbd",)
    subnet = 20
    interfaces = "10.99.20.1/24 10.99.21.1/24"

    def configure(self):
        KernelShare.configure(self)
        Smb.configure(self)
        subprocess.run(["/run/modprobe", "cifs"], check=True)

    def source_at(self, address):
        return "cifs", f"//{address}/share", f"ip={address},vers=3.1.1,sec=none"

    def root_of(self, mount):
        return mount


ALL = (Nfs, Cifs)


def run_guest(arguments):
    """Runs run.py with these arguments in a guest (User Mode Linux). Returns the rows that run.py prints
    as JSON, or the reason why the guest does not run."""
    folder = WORK / "guest"
    folder.mkdir(parents=True)
    init = folder / "init"
    run = pathlib.Path(__file__).with_name("run.py")
    words = " ".join(f"'{word}'" for word in (sys.executable, "-B", run, *arguments))
    init.write_text(f"""#!/bin/sh
export PATH=/usr/sbin:/usr/bin:/sbin:/bin OX_INSIDE_NAME_SPACES=guest HOME=/run
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t tmpfs none /tmp
mkdir /tmp/host
mount -t hostfs -o {folder} none /tmp/host
mount -t tmpfs none /run
mkdir -p /run/root/lib
ln -s {MODULES} /run/root/lib/modules
printf '#!/bin/sh\\nexec /sbin/modprobe -d /run/root "$@"\\n' >/run/modprobe
chmod +x /run/modprobe
echo /run/modprobe >/proc/sys/kernel/modprobe
ip link set lo up
/run/modprobe veth
{words} >/tmp/host/rows 2>/tmp/host/errors
echo o >/proc/sysrq-trigger
sleep 60
""")
    init.chmod(0o755)
    try:
        done = subprocess.run(
            ["linux.uml", "mem=1G", "rootfstype=hostfs", "ro", f"init={init}", "con=null",
             "con0=fd:0,fd:1", f"uml_dir={folder}"],
            stdin=subprocess.DEVNULL, capture_output=True, timeout=GUEST_SECONDS, check=False,
            env=dict(os.environ, HOME=str(folder), TMPDIR="/run"))
    except (OSError, subprocess.TimeoutExpired) as error:
        return str(error)
    rows = folder / "rows"
    if not rows.exists():
        return done.stdout.decode(errors="replace")[-1000:]
    return [json.loads(line) for line in rows.read_text().splitlines()] or \
        (folder / "errors").read_text()
