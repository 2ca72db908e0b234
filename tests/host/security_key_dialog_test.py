"""security_key_dialog_test.py: the program's dialogs, answered by the mouse, decide what a security key does."""
from guest import SHARE
from security_key_in_guest import SecurityKeyInGuest

# Where the dialog's buttons are: hundredths of its width from the left, pixels from its lower edge.
CONFIRM = (75, 30)
DENY = (25, 30)
REMEMBER = (6, 68)

# Run beside the programs, with what is to be done: "find" a dialog, "click HUNDREDTHS PIXELS" once, or "answer" by clicks
# there until the dialog is gone, since it takes none while it is new.
MOUSE = """
find() { xdotool search --onlyvisible --name '^FIDO2 User Confirmation$' 2>/dev/null | head -n 1; }
click() {
    eval "$(xdotool getwindowgeometry --shell "$(find)")"
    xdotool mousemove $((X + WIDTH * $1 / 100)) $((Y + HEIGHT - $2)) click 1
}
case $1 in
find) [ -n "$(find)" ] ;;
click) sleep 2; click $2 $3 ;;
answer)
    for turn in $(seq 60); do
        click $2 $3
        sleep 0.5
        [ -n "$(find)" ] || exit 0
    done
    exit 1 ;;
esac
"""


class SecurityKeyDialogTest(SecurityKeyInGuest):
    """The program runs as users start it, on a display of an X server; clicks are that server's (XTEST)."""

    def setUp(self):
        super().setUp()
        server = self.guest.command("/usr/bin/Xvfb", ":7", "-screen", "0", "1024x768x24", "-nolisten", "tcp")
        self.guest.check(f"({server} >/run/display 2>&1 &)")
        self.guest.wait(f"[ -e {SHARE}/tmp/.X11-unix/X7 ]")
        window = self.guest.command("plugboard", "--demo", "--log", "plugboard.fido2=debug",
                                    environment="DISPLAY=:7 QT_QPA_PLATFORM=xcb")
        self.guest.check(f"({window} >/run/window-output 2>&1 &)")
        self.guest.wait(f"grep 'Connected to.*Fido2Server_{self.key['processId']}' {SHARE}/tmp/home -rs", 120)

    def mouse(self, *words):
        return self.guest.command("/bin/sh", "-c", MOUSE, "mouse", *map(str, words), environment="DISPLAY=:7")

    def while_asked(self, line, *clicks):
        """Status and output of a host's program that `line` runs, while its question gets the clicks."""
        self.guest.check(f"cd /tmp; rm -f said; ({{ {line.replace('KEY', self.node)}; echo status $?; }} >said 2>&1 &)")
        self.guest.wait(self.mouse("find"), 60)
        for click in clicks:
            self.guest.check(self.mouse(*click), 120)
        return self.guest.wait("grep -q ^status /tmp/said && cat /tmp/said", 60)

    def test_clicks_decide(self):
        question = "\n".join([self.random_text(), "shop.example", "ann", self.random_text()])
        self.guest.check(f"printf '{question}\n' >/tmp/plain.make")
        make = "fido2-cred -M -i plain.make -o plain.made KEY"
        self.assertIn("status 0", self.while_asked(make, ("answer", *CONFIRM)))
        self.works("fido2-cred -V -i plain.made -o plain")
        self.ask("plain")
        sign_in = "fido2-assert -G -i plain.ask -o plain.answer KEY"
        self.assertIn("FIDO_ERR_OPERATION_DENIED", self.while_asked(sign_in, ("answer", *DENY)))
        # Nobody answers in time; the click that comes later is for no question any more.
        self.assertIn("FIDO_ERR_USER_ACTION_TIMEOUT", self.while_asked(sign_in))
        self.guest.check(self.mouse("answer", *CONFIRM), 120)
        self.assertIn("FIDO_ERR_OPERATION_DENIED", self.while_asked(sign_in, ("answer", *DENY)))
        self.assertEqual(0, self.file()["credentials"][0]["sigCnt"])
        # A choice that is to be remembered signs in again without a dialog.
        self.assertIn("status 0", self.while_asked(sign_in, ("click", *REMEMBER), ("answer", *CONFIRM)))
        self.assertIn("1 choices remembered", self.command("status"))
        self.sign_in("plain")
        self.assertEqual(2, self.file()["credentials"][0]["sigCnt"])
        self.assert_quiet(self.guest)
