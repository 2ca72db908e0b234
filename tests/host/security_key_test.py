"""security_key_test.py: a host's own programs register and sign in with a security key."""
import re

from security_key_in_guest import RP, SecurityKeyInGuest


class SecurityKeyTest(SecurityKeyInGuest):
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
