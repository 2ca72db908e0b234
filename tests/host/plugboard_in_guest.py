"""plugboard_in_guest.py: the programs of this build in the guest, started there as a user starts them."""
import json
import pathlib
import shlex
import time

from guest import Guest, GuestFault, SHARE

FOLDER = "/tmp/app"     # of the programs, below the share
ENVIRONMENT = ("/usr/bin/env -i PATH=/usr/bin:/bin HOME=/tmp/home LANG=C.UTF-8 XDG_RUNTIME_DIR=/tmp/run "
               "QT_QPA_PLATFORM=offscreen")
DRIVER_PACKAGE = "vusbbus.inf"
SENDER = pathlib.Path(__file__).resolve().parent / "in_guest/send.py"
START = 120             # seconds that programs get to come up
ROUNDS = 10             # in which devices come and go


def is_reachable(device):
    """Whether the kernel has configured the device, or a server offers it."""
    host = device["host"]
    return host["way"] == "server" or (host["configured"] and "busId" in host)


def position_of(device):
    """Where the device is on the guest's buses ("3-1")."""
    return device["host"]["busId"]


class PlugboardInGuest(Guest):
    """A guest with a copy of the programs in its memory, whose bus driver is installed (on the simulated system, as
    `plugboard --demo` wants it)."""

    def __init__(self, image, programs):
        super().__init__(image)
        self.known = set() # process ids of the devices that were created
        try:
            self.check(f"""set -e
                cp -r {SHARE}{shlex.quote(str(pathlib.Path(programs).resolve()))} {SHARE}{FOLDER}
                mkdir -p {SHARE}/tmp/home {SHARE}/tmp/run
                chmod 700 {SHARE}/tmp/run""")
            self.program("plugboard-driver", "dp_add", DRIVER_PACKAGE)
            self.program("plugboard-driver", "install", DRIVER_PACKAGE, r"root\VUBUS")
        except BaseException:
            self.close()
            raise

    def command(self, program, *arguments, environment=""):
        """The shell's command that runs a program of ours, or one of this machine (by its path), in the guest;
        `environment` is "NAME=VALUE ..." besides the usual one."""
        path = f"./{program}" if "/" not in program else program
        line = " ".join(shlex.quote(word) for word in (path, *arguments))
        return f"chroot {SHARE} {ENVIRONMENT} {environment} /bin/sh -c {shlex.quote(f'cd {FOLDER} && exec {line}')}"

    def run_program(self, program, *arguments, seconds=START):
        """Exit status and output, both streams together."""
        return self.run(self.command(program, *arguments), seconds)

    def program(self, program, *arguments, seconds=START):
        """Output of a program that must succeed."""
        return self.check(self.command(program, *arguments), seconds)

    def devices(self):
        """What `plugboard --list --json` prints."""
        return json.loads(self.program("plugboard", "--list", "--json"))

    def create(self, *types, settings=(), environment=""):
        """Creates the devices as the window does, and ends the window: devices outlive it. Returns each as
        `--list --json` shows it, in the order of `types`, once all of them have found a way to a host. `settings`,
        each NAME=VALUE, are the last one's."""
        slots = [word for each in types for word in ("--create", each)]
        slots += [word for setting in settings for word in ("--set", setting)]
        window = self.command("plugboard", "--demo", *slots, environment=environment)
        self.check(f"({window} & echo $! >/run/window) >/run/window-output 2>&1")
        # Asking the program costs an emulated second, so records are counted first.
        self.run(f"for turn in $(seq 600); do [ $(ls {SHARE}{FOLDER}/device_*.json | wc -l) -ge "
                 f"{len(self.known) + len(types)} ] && break; usleep 100000; done", START)
        end = time.monotonic() + START
        while len(new := [device for device in self.devices()
                          if device["processId"] not in self.known and is_reachable(device)]) < len(types):
            if time.monotonic() > end:
                said = self.run("cat /run/window-output")[1]
                raise GuestFault(f"Of {types} there came {self.devices()}. The window said:\n{said}")
        self.check("kill -9 $(cat /run/window)")
        self.known.update(device["processId"] for device in new)
        result = []
        for each in types:
            result.append(next(device for device in new if device["type"] == each))
            new.remove(result[-1])
        return result

    def look_at(self, device):
        """The device as it is listed now."""
        return next(each for each in self.devices() if each["processId"] == device["processId"])

    def send(self, device, command):
        """The answer of a device process to a command, without its "OK: "."""
        answer = self.program("plugboard", "--send", str(device["processId"]), command).strip()
        if not answer.startswith("OK"):
            raise GuestFault(f"{command}: {answer}")
        return answer.removeprefix("OK").removeprefix(": ")

    def send_all(self, devices, command):
        """The answers of several devices, asked by a program of the tests: starting ours takes the guest most of a
        second."""
        processes = [str(device["processId"]) for device in devices]
        return self.program("/usr/bin/python3", "-S", str(SENDER), command, *processes).splitlines()

    def make_rounds(self, devices, node):
        """Has all devices come with a node and go ROUNDS times, by the host and by themselves in turns; in the end they are
        there."""
        for number in range(ROUNDS):
            attached = self.wait_attached(len(devices))
            for position in attached.values():
                self.wait_node(position, node)
            if number % 2: # the host lets go of them
                self.check("".join(f"usbip detach -p {port}\n" for port in attached))
            else:
                self.send_all(devices, "detach")
            self.wait_attached(0)
            self.send_all(devices, "attach")
        return self.wait_attached(len(devices))

    def end(self, *devices):
        """Ends device processes as a user does."""
        for device in devices:
            if device["processId"] in self.known: # else it has ended, and its record may be gone
                self.known.remove(device["processId"])
                self.program("plugboard", "--delete", str(device["processId"]))

    def kill(self, device):
        """Ends a device process without a chance to clear up."""
        self.known.remove(device["processId"])
        self.check(f"kill -9 {device['processId']}")
