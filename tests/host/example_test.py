"""example_test.py: the test job of the guide, as it stands there, in the guest."""
from camera_test import USUAL as USUAL_OF_CAMERAS
from host_test import HostTest, IMAGE, PROGRAMS, PROJECT
from plugboard_in_guest import FOLDER, PlugboardInGuest

JOB = PROJECT / "docs/guide/examples/job.sh"
PATH = f"PATH={FOLDER}:/usr/sbin:/usr/bin:/sbin:/bin"


class ExampleTest(HostTest):
    def test_job_signs_in_types_and_reads_a_ticket(self):
        with PlugboardInGuest(IMAGE, PROGRAMS) as guest:
            status, output = guest.run(guest.command("/bin/bash", "-x", str(JOB), environment=PATH), 1800)
            self.assertEqual(0, status, output)
            for said in "signed in", "typed", "read the ticket":
                self.assertIn(said, output.splitlines())
            guest.wait_attached(0)
            self.assertEqual([], guest.devices())
            self.assert_quiet(guest, USUAL_OF_CAMERAS)
