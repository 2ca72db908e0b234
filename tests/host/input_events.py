"""input_events.py: what a program in the guest reads from a keyboard or mouse."""
import re
import time

EVENT = re.compile(r"^Event: .* type \d+ \((\w+)\), code \d+ \((\w+)\), value (-?\d+)$", re.M)

# What a key of the US layout types, without and with Shift, by the kernel's name for the key.
LETTERS = {f"KEY_{letter.upper()}": (letter, letter.upper()) for letter in "abcdefghijklmnopqrstuvwxyz"}
DIGITS = {f"KEY_{digit}": (digit, shifted) for digit, shifted in zip("1234567890", "!@#$%^&*()")}
OTHERS = {"KEY_SPACE": "  ", "KEY_MINUS": "-_", "KEY_EQUAL": "=+", "KEY_LEFTBRACE": "[{", "KEY_RIGHTBRACE": "]}",
          "KEY_SEMICOLON": ";:", "KEY_APOSTROPHE": "'\"", "KEY_GRAVE": "`~", "KEY_BACKSLASH": "\\|", "KEY_COMMA": ",<",
          "KEY_DOT": ".>", "KEY_SLASH": "/?"}
TYPED = {**LETTERS, **DIGITS, **OTHERS}
SENTENCE = "The Quick Brown Fox, 42 years old, Jumps over a lazy dog's {back} & says: \"ok?\" ~100% #1!"


class InputEvents:
    """Reads the events of one node for as long as it lives. With `grab` nobody else gets them, such as the console."""

    def __init__(self, guest, node, grab=True):
        self.guest = guest
        self.file = f"/run/events-{node.replace('/', '-')}"
        guest.check(f"(evtest {'--grab' if grab else ''} /dev/{node} >{self.file} 2>&1 & echo $! >{self.file}.pid)")
        guest.wait(f"grep -q '^Testing' {self.file}")

    def read(self):
        """All events so far, as (type, code, value)."""
        return [(kind, code, int(value)) for kind, code, value in EVENT.findall(self.guest.check(f"cat {self.file}"))]

    def wait(self, wanted, seconds=60):
        """All events, once `wanted` of them is true."""
        end = time.monotonic() + seconds
        while not wanted(events := self.read()):
            if time.monotonic() > end:
                raise AssertionError(f"Only these events came: {events}")
        return events

    def close(self):
        self.guest.check(f"kill $(cat {self.file}.pid)")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


def key_presses(events):
    return [code for kind, code, value in events if kind == "EV_KEY" and value == 1]


def released(events):
    """Whether as many keys were released as were pressed, and any at all."""
    presses = key_presses(events)
    return bool(presses) and len(presses) == sum(kind == "EV_KEY" and value == 0 for kind, _, value in events)


def typed_text(events):
    """The text that the key events type on a US keyboard."""
    text, shift = "", 0
    for kind, code, value in events:
        if kind != "EV_KEY" or value == 2: # repeated by the kernel while it is held
            continue
        if code in ("KEY_LEFTSHIFT", "KEY_RIGHTSHIFT"):
            shift = value
        elif value:
            text += TYPED[code][shift]
    return text


def type_sentence(test, guest, node, send):
    """A keyboard types the sentence, capitals and signs included, and nothing else; `send` gives it a command."""
    with InputEvents(guest, node) as events:
        send(f"type {SENTENCE}")
        seen = events.wait(lambda events: released(events) and len(typed_text(events)) >= len(SENTENCE))
        test.assertEqual(SENTENCE, typed_text(seen))
        test.note(f"{len(SENTENCE)} characters in {len(seen)} events")


def light_lamps(test, send):
    """The host answers keys with their lights, on and off: its text console for all keyboards together."""
    for key, light in ("capslock", "caps"), ("numlock", "num"):
        def is_lit(light=light):
            return light in send("status").split("LEDs")[-1]
        before = is_lit()
        for expected in not before, before:
            send(f"key {key}")
            test.wait_for(lambda: is_lit() == expected, f"the light {light} {'on' if expected else 'off'}") # pylint: disable=cell-var-from-loop
        test.note(f"light {light} {'off and on' if before else 'on and off'}")
