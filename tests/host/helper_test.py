"""helper_test.py: the program that attaches a device for a user who may not write the controller, started by the
system's own polkit with the package's policy."""
import json
import pathlib

from guest import CONTROLLER, Guest, SHARE
from host_test import HostTest, IMAGE, PROGRAMS, PROJECT

SYSTEM = "/system"   # this machine's file system in the guest, with what a desktop has besides, and writable
HELPER = "/usr/lib/plugboard/plugboard-attach"
POLICY = "/usr/share/polkit-1/actions/plugboard.policy"
USERS = {"permitted": 61001, "stranger": 61002}
# What the administrator of the machine allows; all else stays as the policies of the packages have it.
RULE = """polkit.addRule(function(action, subject) {
    if (action.id == "plugboard.attach" && subject.user == "permitted")
        return polkit.Result.YES;
});
"""
CASES = pathlib.Path(__file__).resolve().parent / "in_guest/run_helper.py"
CONTROLLER_COMES_AND_GOES = [
    r"vhci_hcd vhci_hcd\.\d+: .*", r"usb usb\d+: .*", r"hub \d+-0:1\.0: .*", r"vhci_hcd: .*", r"usbip_core: .*",
]


class HelperTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.guest = Guest(IMAGE)
        cls.addClassCleanup(cls.guest.close)
        cls.guest.check(f"""set -e
            mkdir -p {SYSTEM} /tmp/above /tmp/between
            cp -r {SHARE}{IMAGE.resolve()}/lent /tmp/lent
            mount -t overlay -o lowerdir={SHARE}:/tmp/lent,upperdir=/tmp/above,workdir=/tmp/between overlay {SYSTEM}
            for place in proc sys dev tmp; do mount --rbind {SHARE}/$place {SYSTEM}/$place; done
            cd {SYSTEM}
            mount -t tmpfs tmpfs run
            mkdir -p run/dbus etc/polkit-1 usr/share/polkit-1 usr/share/dbus-1 .{HELPER.rsplit('/', 1)[0]}
            mount -t tmpfs tmpfs etc/polkit-1 # none of this machine's own rules
            mkdir etc/polkit-1/rules.d
            for folder in polkit-1 dbus-1; do mount --bind /tmp/lent/usr/share/$folder usr/share/$folder; done
            cp {SHARE}{PROGRAMS.resolve()}/plugboard-attach .{HELPER}
            cp {SHARE}{PROJECT}/packaging/linux/plugboard.policy .{POLICY}
            chown 0:0 usr/bin/pkexec
            chmod 4755 usr/bin/pkexec
            rm etc/passwd etc/group
            for user in root:0 messagebus:61003 polkitd:61004 {' '.join(f'{name}:{number}' for name, number in USERS.items())}; do
                echo ${{user%:*}}:x:${{user#*:}}:${{user#*:}}::/tmp:/bin/sh >>etc/passwd
                echo ${{user%:*}}:x:${{user#*:}}: >>etc/group
            done
            cat >etc/polkit-1/rules.d/10-test.rules <<'END'\n{RULE}END
            chroot . /usr/bin/dbus-daemon --system --nofork --nopidfile >/run/bus 2>&1 &
            until [ -S run/dbus/system_bus_socket ]; do usleep 50000; done
            chroot . /usr/lib/polkit-1/polkitd >/run/polkit 2>&1 &
            until grep -q 'Acquired the name' /run/polkit; do usleep 50000; done""", 60)

    def as_user(self, user, script):
        number = USERS[user]
        return (f"chroot {SYSTEM} /usr/bin/setpriv --reuid={number} --regid={number} --clear-groups "
                f"/usr/bin/env -i PATH=/usr/bin:/bin LANG=C.UTF-8 HOME=/tmp/{user} {script}")

    def device_of(self, user):
        """Where the mouse that this user starts is to be found, as its record says it in the end."""
        guest = self.guest
        guest.check(f"""set -e
            mkdir {SYSTEM}/tmp/{user}
            cp {SHARE}{PROGRAMS.resolve()}/usb-daemon.exe {SYSTEM}/tmp/{user}
            chown -R {USERS[user]} {SYSTEM}/tmp/{user}
            ({self.as_user(user, f'/tmp/{user}/usb-daemon.exe')} --mode Local </dev/null >/run/{user} 2>&1 &)""")
        self.addCleanup(guest.run, f"kill -9 $(pidof usb-daemon.exe); rm -rf {SYSTEM}/tmp/{user}")
        record = f"{SYSTEM}/tmp/{user}/device_*.json"
        guest.wait(f"grep -Eq '\"way\": *\"(kernel|server)\"' {record} && grep -Eq '\"(note|busId)\"' {record}", 120)
        return json.loads(guest.check(f"cat {record}"))["host"]

    def test_user_attaches_by_way_of_polkit_and_the_module_is_loaded(self):
        guest = self.guest
        guest.check(f"[ ! -e {CONTROLLER} ] || rmmod vhci_hcd")
        host = self.device_of("permitted")
        self.assertEqual("kernel", host["way"], host)
        position, = guest.wait_attached(1).values()
        guest.wait_node(position, r"input/event\d+")
        self.note(f"module loaded, {host}")
        # Only our own program is permitted, and only by its own name.
        status, output = guest.run(self.as_user("permitted", "/usr/bin/pkexec /usr/bin/id"), 60)
        self.assertEqual(127, status, output)
        self.assert_quiet(guest, CONTROLLER_COMES_AND_GOES)

    def test_window_has_the_module_loaded_where_polkit_permits_it(self):
        guest = self.guest
        for user, expected in ("stranger", 127), ("permitted", 0):
            guest.check(f"[ ! -e {CONTROLLER} ] || rmmod vhci_hcd")
            status, output = guest.run(self.as_user(user, f"/usr/bin/pkexec {HELPER} --load"), 120)
            self.assertEqual(expected, status, output)
            self.assertEqual("there" if expected == 0 else "not there",
                             guest.check(f"[ -e {CONTROLLER}/attach ] && echo there || echo not there").strip())
        self.assert_quiet(guest, CONTROLLER_COMES_AND_GOES)

    def test_user_whom_the_policy_asks_for_a_password_gets_a_server(self):
        host = self.device_of("stranger")
        self.assertEqual("server", host["way"], host)
        self.assertEqual("attaching the device was not permitted", host["note"])
        status, output = self.guest.run(self.as_user("stranger", f"/usr/bin/pkexec {HELPER} 65537 3"), 60)
        self.assertEqual(127, status, output)
        self.note(output.strip().splitlines()[-1])

    def test_user_hears_why_the_helper_failed(self):
        guest = self.guest
        modules = f"{SYSTEM}/usr/lib/modules"
        guest.check(f"mv {modules} {modules}-away; [ ! -e {CONTROLLER} ] || rmmod vhci_hcd")
        self.addCleanup(guest.check, f"mv {modules}-away {modules}")
        host = self.device_of("permitted")
        self.assertEqual("server", host["way"], host)
        self.assertEqual("the device was not attached: plugboard-attach: The kernel has no virtual host controller.",
                         host["note"])

    def test_helper_takes_nothing_but_a_local_stream_socket(self):
        guest = self.guest
        guest.check(f"[ -e {CONTROLLER} ] || insmod /lib/modules/vhci-hcd.ko")
        told = json.loads(guest.check(f"chroot {SYSTEM} /usr/bin/python3 {CASES} {HELPER}", 120))
        for case in ("no argument", "speed missing", "speed of no device", "device that is no number",
                     "device below zero", "device beyond 32 bits", "argument too many"):
            status, said = told.pop(case)
            self.assertEqual(2, status, case)
            self.assertIn("usage: plugboard-attach DEVICE-ID SPEED <SOCKET", said, case)
        for case in "nothing", "file", "pipe", "network", "datagrams":
            self.assertEqual([1, "plugboard-attach: Standard input is not a local stream socket."], told.pop(case), case)
        self.assertEqual([1, "plugboard-attach: The virtual host controller may not be written."], told.pop("user"))
        status, port = told.pop("root")
        self.assertEqual(0, status, port)
        self.assertRegex(port, r"^\d+$")
        self.assertEqual({}, told)
