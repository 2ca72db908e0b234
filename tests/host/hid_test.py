"""hid_test.py: keyboard and mouse, created in the window, used by the kernel's own drivers."""
from host_test import HostTest, IMAGE, PROGRAMS
from input_events import InputEvents, key_presses, released, typed_text
from plugboard_in_guest import PlugboardInGuest, position_of

SENTENCE = "The Quick Brown Fox, 42 years old, Jumps over a lazy dog's {back} & says: \"ok?\" ~100% #1!"


class HidTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.guest = PlugboardInGuest(IMAGE, PROGRAMS)
        cls.addClassCleanup(cls.guest.close)

    def attached(self, word):
        """A new device of the type, where it is on the guest's buses, and its event node."""
        device, = self.guest.create(word)
        self.addCleanup(self.guest.end, device)
        position = position_of(device)
        self.guest.wait_node(position, r"hidraw\d+")
        return device, position, self.guest.wait_node(position, r"input/event\d+")

    def test_keyboard_types_and_sees_its_lights(self):
        guest = self.guest
        keyboard, _, node = self.attached("keyboard")
        with InputEvents(guest, node) as events:
            guest.send(keyboard, f"type {SENTENCE}")
            seen = events.wait(lambda events: released(events) and len(typed_text(events)) >= len(SENTENCE))
            self.assertEqual(SENTENCE, typed_text(seen))
            self.note(f"{len(SENTENCE)} characters in {len(seen)} events")

        with InputEvents(guest, node) as events:
            guest.send(keyboard, "key ctrl+alt+delete")
            self.assertEqual(["KEY_LEFTCTRL", "KEY_LEFTALT", "KEY_DELETE"], key_presses(events.wait(released)))
            guest.send(keyboard, "hold shift+f12")
            events.wait(lambda events: key_presses(events)[3:] == ["KEY_LEFTSHIFT", "KEY_F12"])
            guest.send(keyboard, "release")
            events.wait(released)

        status, answer = guest.run_program("plugboard", "--send", str(keyboard["processId"]), "type naïve")
        self.assertNotEqual(0, status)
        self.assertRegex(answer, "ERROR: .*ï")

        # The text console answers the key by the light, and a program's wish lights another.
        for key, light in ("capslock", "caps"), ("numlock", "num"):
            guest.send(keyboard, f"key {key}")
            self.wait_for(lambda: light in guest.send(keyboard, "status").split("LEDs")[-1], f"the light {light}")
        self.note("lights: " + guest.send(keyboard, "status"))
        self.assert_quiet(guest)

    def test_mouse_moves_clicks_and_rolls(self):
        guest = self.guest
        mouse, position, node = self.attached("mouse")
        guest.wait_node(position, r"input/mouse\d+")
        with InputEvents(guest, node) as events:
            guest.send(mouse, "move 300 -200")
            guest.send(mouse, "click left")
            guest.send(mouse, "click right")
            guest.send(mouse, "wheel -3")
            moved = events.wait(lambda events: any(code == "REL_WHEEL" for _, code, _ in events))
        self.assertEqual((300, -200, -3), tuple(sum(value for _, code, value in moved if code == axis)
                                                for axis in ("REL_X", "REL_Y", "REL_WHEEL")))
        self.assertEqual([("BTN_LEFT", 1), ("BTN_LEFT", 0), ("BTN_RIGHT", 1), ("BTN_RIGHT", 0)],
                         [(code, value) for kind, code, value in moved if kind == "EV_KEY"])
        self.note("300, -200 in %d steps" % sum(code == "REL_X" for _, code, _ in moved))
        self.assert_quiet(guest)
