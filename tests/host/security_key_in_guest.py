"""security_key_in_guest.py: a security key in the guest, and the system's own programs that use it there."""
import base64
import json
import os

from device_process import parameter_message
from host_test import HostTest, IMAGE, PROGRAMS
from plugboard_in_guest import FOLDER, PlugboardInGuest
from guest import SHARE

RP = "shop.example"
PARAMETERS = ["2", "0x1234", "0x5678", "FIDO2 Security Key", "0", "S1", "", "1", "END"]


class SecurityKeyInGuest(HostTest):
    """`key` is the device as it is listed, `node` where its reports go. Lines of the shell run in /tmp of the guest, with
    the key's node for the word KEY."""

    def setUp(self):
        super().setUp()
        self.guest = PlugboardInGuest(IMAGE, PROGRAMS)
        self.addCleanup(self.guest.close)
        message = parameter_message(PARAMETERS, PROGRAMS.parent / "dev_keys/param_public.pem").decode().strip()
        process = self.guest.command("usb-daemon.exe", "--mode", "Local")
        self.guest.check(f"(printf '{message}\n' | {process} >/run/key-output 2>&1 &)")
        self.find_node()
        [self.key] = self.guest.devices()

    def find_node(self):
        [position] = self.guest.wait_attached(1).values()
        self.node = "/dev/" + self.guest.wait_node(position, r"hidraw\d+")

    @staticmethod
    def random_text():
        return base64.b64encode(os.urandom(32)).decode()

    def command(self, *words):
        return self.guest.send(self.key, " ".join(words))

    def replug(self):
        self.command("detach")
        self.command("attach")
        self.find_node()

    def fails(self, line, error, typed=""):
        """The program that `line` runs says that error of the key."""
        status, output = self.run_line(line, typed)
        self.assertNotEqual(0, status, output)
        self.assertIn(error, output)

    def run_line(self, line, typed=""):
        return self.guest.run(f"cd /tmp; printf '%b' '{typed}' | {line.replace('KEY', self.node)}", 120)

    def works(self, line, typed=""):
        status, output = self.run_line(line, typed)
        self.assertEqual(0, status, f"{line}: {output}")
        return output

    def register(self, name, *options, typed=""):
        """Makes and verifies a credential; its files have that name."""
        question = "\n".join([self.random_text(), RP, "ann", self.random_text()])
        self.guest.check(f"printf '{question}\n' >/tmp/{name}.make")
        self.works(f"fido2-cred -M {' '.join(options)} -i {name}.make -o {name}.made KEY", typed)
        self.works(f"fido2-cred -V {'-v' if '-v' in options else ''} -i {name}.made -o {name}")

    def ask(self, name, discoverable=False):
        question = "\n".join([self.random_text(), RP])
        credential = "" if discoverable else f"head -n 1 {name};"
        self.guest.check(f"cd /tmp; {{ printf '{question}\n'; {credential} }} >{name}.ask")

    def sign_in(self, name, *options, typed=""):
        """Signs in and verifies that it was that credential."""
        discoverable = "-r" in options
        self.ask(name, discoverable)
        self.works(f"fido2-assert -G {' '.join(options)} -i {name}.ask -o {name}.answer KEY", typed)
        verified = "-v" if "-v" in options else ""
        self.works(f"sh -c 'tail -n +2 {name} >{name}.public; head -n 4 {name}.answer >{name}.statement; "
                   f"fido2-assert -V -p {verified} -i {name}.statement {name}.public es256'")

    def file(self):
        return json.loads(self.guest.read(f"{SHARE}{FOLDER}/fido2/S1_credentials.json"))
