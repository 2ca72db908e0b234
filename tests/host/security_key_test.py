"""security_key_test.py: a host's own programs register and sign in with a security key."""
import base64
import json
import os
import re
import shlex

from device_process import parameter_message
from host_test import HostTest, IMAGE, PROGRAMS
from plugboard_in_guest import FOLDER, PlugboardInGuest
from guest import SHARE

RP = "shop.example"
PARAMETERS = ["2", "0x1234", "0x5678", "FIDO2 Security Key", "0", "S1", "", "1", "END"]

# The program's end of the confirmation channel: answers each new question as its arguments say.
PROGRAM = """
import json, socket, sys
channel = socket.socket(socket.AF_UNIX)
channel.connect("/tmp/Fido2Server_" + sys.argv[1])
print("connected", flush=True)
answers, last = sys.argv[2:], None
while answers:
    request = channel.recv(1 << 20)
    if not request or request == last:
        continue # which is repeated until it is answered
    last = request
    print(json.loads(request)["operation"], flush=True)
    answer = answers.pop(0)
    if answer != "none":
        confirmed = answer == "confirm"
        data = {"userAction": "confirmed" if confirmed else "denied", "description": "made in the guest"}
        channel.sendall(json.dumps({"type": "user_confirmation_response", "confirmed": confirmed, "data": data}).encode())
channel.recv(1)
"""


def random_text():
    return base64.b64encode(os.urandom(32)).decode()


class SecurityKeyTest(HostTest):
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
        question = "\n".join([random_text(), RP, "ann", random_text()])
        self.guest.check(f"printf '{question}\n' >/tmp/{name}.make")
        self.works(f"fido2-cred -M {' '.join(options)} -i {name}.make -o {name}.made KEY", typed)
        self.works(f"fido2-cred -V {'-v' if '-v' in options else ''} -i {name}.made -o {name}")

    def ask(self, name, discoverable=False):
        question = "\n".join([random_text(), RP])
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

    def test_registers_signs_in_and_is_managed(self):
        self.assertIn("Plugboard", self.works("fido2-token -L"))
        self.command("approve", "all")
        self.assertIn("approves everything", self.command("status"))
        self.register("plain")
        self.sign_in("plain")
        self.sign_in("plain")
        self.assertEqual(2, self.file()["credentials"][0]["sigCnt"])

        self.works("fido2-token -S KEY", r"1234\n1234\n")
        self.assertIn("clientPin", self.works("fido2-token -I KEY"))
        self.works("fido2-token -C KEY", r"1234\n4321\n4321\n")
        self.register("resident", "-r", "-v", typed=r"4321\n")
        self.sign_in("resident", "-r", "-v", typed=r"4321\n")
        self.sign_in("plain")
        self.sign_in("plain", "-v", typed=r"4321\n")
        self.assertIn(RP, self.works("fido2-token -L -r KEY", r"4321\n"))
        listed = self.works(f"fido2-token -L -k {RP} KEY", r"4321\n")
        number = re.search(r"00: (\S+) ", listed)[1]
        self.works(f"fido2-token -D -i {number} KEY", r"4321\n")
        self.assertEqual(1, len(self.file()["credentials"]))

        self.works("fido2-token -R KEY")
        self.assertEqual([], self.file()["credentials"])
        self.assert_quiet(self.guest)

    def test_asks_its_program_and_gives_up(self):
        """A program is connected: its answers count, and when there is none, the host is told after 30 s."""
        def answered(answers):
            self.guest.check(f"(chroot {SHARE} /usr/bin/python3 -c {shlex.quote(PROGRAM)} {self.key['processId']} {answers}"
                             " >/run/answers 2>&1 &)")
            self.guest.wait("grep -q connected /run/answers")

        answered("confirm deny none")
        self.register("plain")
        self.ask("plain")
        sign_in = "fido2-assert -G -i plain.ask -o plain.answer KEY"
        self.fails(sign_in, "FIDO_ERR_OPERATION_DENIED")
        self.fails(sign_in, "FIDO_ERR_USER_ACTION_TIMEOUT")
        asked = self.guest.check("cat /run/answers").split()[1:]
        self.assertEqual(["make_credential", "get_assertion", "get_assertion"], asked)
        self.assertEqual("made in the guest", self.file()["credentials"][0]["description"])
        self.assert_quiet(self.guest)

    def test_refuses_and_locks(self):
        self.command("approve", "next")
        self.register("plain")
        self.ask("plain")
        sign_in = "fido2-assert -G -i plain.ask -o plain.answer KEY"
        self.command("deny", "next")
        self.fails(sign_in, "FIDO_ERR_OPERATION_DENIED")
        self.fails(sign_in, "FIDO_ERR_OPERATION_DENIED") # there is no program that could ask

        self.works("fido2-token -S KEY", r"1234\n1234\n")
        for attempt in range(1, 9):
            error = "PIN_BLOCKED" if attempt == 8 else "PIN_AUTH_BLOCKED" if attempt in (3, 6) else "PIN_INVALID"
            self.fails("fido2-token -L -r KEY", f"FIDO_ERR_{error}", r"0000\n")
            if attempt in (3, 6):
                self.fails("fido2-token -L -r KEY", "FIDO_ERR_PIN_AUTH_BLOCKED", r"1234\n")
                self.replug()
        self.replug()
        self.fails("fido2-token -L -r KEY", "FIDO_ERR_PIN_BLOCKED", r"1234\n")
        self.assertEqual(0, self.file()["pinInfo"]["pinRetryCount"])
        self.assert_quiet(self.guest)
