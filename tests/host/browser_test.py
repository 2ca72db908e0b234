"""browser_test.py: a browser registers and signs in with a security key at a page of this machine."""
import hashlib
import json
import pathlib
import subprocess
import tempfile

from security_key_in_guest import SecurityKeyInGuest

SHOP = pathlib.Path(__file__).resolve().parent / "in_guest/shop.py"
BROWSER = "/usr/lib/chromium/chromium"
# No window, no sandbox of its own (it would need what a chroot lacks), nothing fetched from elsewhere.
OPTIONS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
           "--user-data-dir=/tmp/browser", "--disable-extensions", "--disable-background-networking",
           "--disable-component-update", "--disable-sync", "--remote-debugging-port=0"]
PATIENCE = 480 # seconds that an emulated processor gets; it took 150 on a machine with much else to do


def verifies(key, message, signature):
    """What OpenSSL makes of a signature by the public key, in DER, over the message."""
    with tempfile.TemporaryDirectory() as folder:
        for name, content in (("key", key), ("message", message), ("signature", signature)):
            (pathlib.Path(folder) / name).write_bytes(content)
        return subprocess.run(["openssl", "dgst", "-sha256", "-verify", "key", "-keyform", "DER", "-signature",
                               "signature", "message"], cwd=folder, stdout=subprocess.PIPE).returncode == 0


class BrowserTest(SecurityKeyInGuest):
    def test_registers_and_signs_in(self):
        self.command("approve", "all")
        shop = self.guest.command("/usr/bin/python3", str(SHOP), "8000")
        browser = self.guest.command(BROWSER, *OPTIONS, "http://localhost:8000/")
        self.guest.check(f"""
            ifconfig lo 127.0.0.1 up
            ({shop} >/run/told 2>&1 &)
            until wget -q -O /dev/null http://127.0.0.1:8000/; do usleep 100000; done
            ({browser} >/run/browser-output 2>&1 &)""", 120)
        told = json.loads(self.guest.wait("grep . /run/told", PATIENCE))
        self.assertNotIn("error", told, self.guest.run("tail -n 20 /run/browser-output")[1])
        told = {name: bytes.fromhex(value) for name, value in told.items()}
        self.assertTrue(verifies(told["key"], told["data"] + hashlib.sha256(told["client"]).digest(), told["signature"]))
        self.assertEqual("webauthn.get", json.loads(told["client"])["type"])
        self.assertEqual(hashlib.sha256(b"localhost").digest(), told["data"][:32])
        [credential] = self.file()["credentials"]
        self.assertEqual((told["id"].hex(), "ann", 1),
                         (credential["id"], credential["user"]["name"], credential["sigCnt"]))
        self.assert_quiet(self.guest)
