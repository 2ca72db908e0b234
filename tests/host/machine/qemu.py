#!/usr/bin/env python3
"""qemu.py: how the host machine starts in QEMU, and QEMU's own control channel.

    qemu.py FOLDER    boots the machine that make_machine.sh wrote into FOLDER and saves its state there

Whatever stands in this folder is part of the machine: a change of it makes the saved state anew.
"""
import json
import pathlib
import shlex
import shutil
import socket
import subprocess
import sys
import tempfile
import time

MEMORY = 1024 # MiB
BOOT = 300    # seconds, on a machine with much else to do
# All that can be emulated, but for what makes a real processor fast or safe and an emulated one slow: copies by the byte,
# page tables of five levels, checks at every step into the kernel and out of it. Copying takes half the time without.
PROCESSOR = "max,-erms,-fsrm,-la57,-smap,-smep,-pku,-pks"


class QemuFault(Exception):
    pass


class Monitor:
    """QEMU's control channel (QMP)."""

    def __init__(self, path, process):
        self.socket = socket.socket(socket.AF_UNIX)
        self._connect(path, process)
        self.stream = self.socket.makefile("rw")
        self.stream.readline()
        self.ask("qmp_capabilities")

    def _connect(self, path, process):
        """QEMU makes the channel's file after its other channel, and listens there a little later still."""
        end = time.monotonic() + BOOT
        while process.poll() is None and time.monotonic() < end:
            try:
                return self.socket.connect(str(path))
            except (FileNotFoundError, ConnectionRefusedError):
                time.sleep(0.01)
        raise QemuFault(f"QEMU has no control channel; its exit status is {process.poll()}.")

    def ask(self, command, **arguments):
        self.stream.write(json.dumps({"execute": command, "arguments": arguments}) + "\n")
        self.stream.flush()
        while True:
            answer = json.loads(self.stream.readline())
            if "error" in answer:
                raise QemuFault(f"QEMU refused {command}: {answer['error']['desc']}")
            if "return" in answer:
                return answer["return"]

    def close(self):
        self.stream.close()
        self.socket.close()


class Machine:
    """The machine of the folder `image`, from its start to close(): goes on from the saved state, or boots where there
    is none. `channel` is the socket on which init takes commands; `monitor` is QEMU's."""

    def __init__(self, image):
        self.image = pathlib.Path(image).resolve()
        self.state = self.image / "state"
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="plugboard-host-"))
        self.channel = None
        self.monitor = None
        self.restored = self.state.exists()
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(str(self.folder / "commands"))
            listener.listen(1)
            listener.settimeout(BOOT)
            self.process = subprocess.Popen(self._arguments(), stdin=subprocess.DEVNULL)
            try:
                self.channel = listener.accept()[0]
                if not self.restored:
                    self.channel.settimeout(BOOT)
                    self.channel.recv(64)
                self.monitor = Monitor(self.folder / "control", self.process)
            except BaseException:
                self.close()
                raise

    def _arguments(self):
        return [
            "qemu-system-x86_64", "-nodefaults", "-no-user-config", "-display", "none", "-no-reboot",
            # Emulation only: /dev/kvm may open and still not work. Two emulated processors are slower than one.
            "-machine", "q35,hpet=off", "-accel", "tcg", "-cpu", PROCESSOR, "-smp", "1", "-m", str(MEMORY),
            "-kernel", str(self.image / "vmlinux"), "-initrd", str(self.image / "initrd.img"),
            "-append", "console=ttyS0 quiet loglevel=4 log_buf_len=4M panic=-1 mitigations=off nokaslr tsc=reliable",
            "-serial", f"file:{self.folder / 'console'}",
            "-netdev", "user,id=net,ipv6=off", "-device", "virtio-net-pci,netdev=net,romfile=",
            "-device", "virtio-serial-pci", "-chardev", f"socket,id=commands,path={self.folder / 'commands'}",
            "-device", "virtserialport,chardev=commands,name=commands",
            "-device", "qemu-xhci,id=usb,p3=0", # high speed only, as the devices are that stand beside its own
            "-fsdev", "local,id=share,path=/,security_model=none,readonly=on,multidevs=remap",
            "-device", "virtio-9p-pci,fsdev=share,mount_tag=share",
            "-qmp", f"unix:{self.folder / 'control'},server=on,wait=off",
            *(["-incoming", f"exec:cat {shlex.quote(str(self.state))}"] if self.restored else [])]

    def console(self):
        file = self.folder / "console"
        return file.read_text(errors="replace") if file.exists() else ""

    def save(self):
        """Saves the state for later machines. Not possible once the guest has mounted the share."""
        partial = self.state.with_suffix(".partial")
        self.monitor.ask("migrate", uri=f"exec:cat > {shlex.quote(str(partial))}")
        while (status := self.monitor.ask("query-migrate").get("status")) not in ("completed", "failed"):
            time.sleep(0.1)
        if status == "failed":
            raise QemuFault("The state of the machine cannot be saved.")
        partial.rename(self.state)

    def close(self):
        self.process.kill()
        self.process.wait()
        for each in (self.channel, self.monitor):
            if each:
                each.close()
        shutil.rmtree(self.folder, ignore_errors=True)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    machine = Machine(sys.argv[1])
    try:
        machine.save()
    finally:
        machine.close()


if __name__ == "__main__":
    main()
