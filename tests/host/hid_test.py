"""hid_test.py: keyboard and mouse, created in the window, used by the kernel's own drivers."""
from device_process import DeviceProcess, KEYBOARD
from host_test import HostTest, IMAGE, PROGRAMS
from input_events import InputEvents, key_presses, light_lamps, released, type_sentence
from plugboard_in_guest import PlugboardInGuest, position_of


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
        type_sentence(self, guest, node, lambda command: guest.send(keyboard, command))

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

        light_lamps(self, lambda command: guest.send_all([keyboard], command)[0])
        self.assert_quiet(guest)

    def test_keyboard_outside_types_over_its_server(self):
        guest = self.guest
        with DeviceProcess(KEYBOARD, PROGRAMS) as keyboard:
            guest.attach(keyboard.port())
            position, = guest.wait_attached(1).values()
            type_sentence(self, guest, guest.wait_node(position, r"input/event\d+"), keyboard.send)
            light_lamps(self, keyboard.send)
        guest.wait_attached(0)
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
