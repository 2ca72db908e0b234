"""kernel_log.py: what the kernel usually says when devices come, are used and go; whatever else it says is a fault."""
import re

POSITION = r"\d+-\d+(\.\d+)*"
NUMBER = r"\d+"
ID = "[0-9a-f]{4}"

ATTACH = [
    rf"vhci_hcd vhci_hcd\.{NUMBER}: pdev\({NUMBER}\) rhport\({NUMBER}\) sockfd\({NUMBER}\)",
    rf"vhci_hcd vhci_hcd\.{NUMBER}: devid\({NUMBER}\) speed\({NUMBER}\) speed_str\([a-z-]+\)",
    rf"vhci_hcd vhci_hcd\.{NUMBER}: Device attached",
    r"vhci_hcd: vhci_device speed not set", # of every device below high speed, while the hub asks for its speed
    rf"usb {POSITION}: new (full-speed|high-speed|SuperSpeed) USB device number {NUMBER} using vhci_hcd",
    rf"usb {POSITION}: SetAddress Request \({NUMBER}\) to port {NUMBER}",
    rf"usb {POSITION}: LPM exit latency is zeroed, disabling LPM\.",
    rf"usb {POSITION}: New USB device found, idVendor={ID}, idProduct={ID}, bcdDevice= ?[0-9a-f]+\.[0-9a-f]{{2}}",
    rf"usb {POSITION}: New USB device strings: Mfr={NUMBER}, Product={NUMBER}, SerialNumber={NUMBER}",
    rf"usb {POSITION}: (Product|Manufacturer|SerialNumber): .+",
]
DETACH = [
    r"vhci_hcd: (connection closed|stop threads|release socket|disconnect device)",
    rf"usb {POSITION}: USB disconnect, device number {NUMBER}",
]
TAKEN_BACK = [ # transfers that waited when a driver let go of the device
    rf"vhci_hcd: unlink->seqnum {NUMBER}",
    r"vhci_hcd: urb->status -104",
    rf"vhci_hcd: the urb \(seqnum {NUMBER}\) was already given back",
]
INPUT = [
    rf"input: .* as /devices/platform/vhci_hcd\.0/usb{NUMBER}/.*/input/input{NUMBER}",
    rf"hid-generic [0-9A-F:.]+: (input|hiddev{NUMBER}),hidraw{NUMBER}: USB HID v1\.11 (Keyboard|Mouse|Device) \[.*\] .*",
]
STORAGE = [
    rf"usb-storage {POSITION}:1\.0: USB Mass Storage device detected",
    rf"scsi host{NUMBER}: usb-storage {POSITION}:1\.0",
    r"scsi [\d:]+: Direct-Access .* PQ: 0 ANSI: \d",
    r"sd [\d:]+: \[sd[a-z]\] \d+ 512-byte logical blocks: \(.*\)",
    r"(sd|scsi) [\d:]+: Attached scsi generic sg\d+ type 0",
    r"sd [\d:]+: \[sd[a-z]\] Write Protect is off",
    r"sd [\d:]+: \[sd[a-z]\] Mode Sense: [0-9a-f ]+",
    r"sd [\d:]+: \[sd[a-z]\] Write cache: (en|dis)abled, read cache: enabled, (supports DPO and|.* DPO or) FUA",
    r"sd [\d:]+: Power-on or device reset occurred",
    r"sd [\d:]+: \[sd[a-z]\] Attached SCSI (removable )?disk",
    r"sd [\d:]+: \[sd[a-z]\] Synchronizing SCSI cache",
    # A disk with a write cache was pulled: the kernel always tries to have it written, mounted or not.
    r"sd [\d:]+: \[sd[a-z]\] Synchronize Cache\(10\) failed: Result: hostbyte=DID_NO_CONNECT driverbyte=DRIVER_OK",
    r"sd[a-z]: detected capacity change from \d+ to \d+", # a medium was put in or taken out
    r" ?sd[a-z]:( sd[a-z]\d)*",
]
SOUND = [ # for every transfer, its driver asks the controller for a frame number
    rf"usb usb{NUMBER}: Not yet implemented",
    rf"vhci_get_frame_number: {NUMBER} callbacks suppressed",
]
COUNTED = [rf"usb {POSITION}: seqnum max"] # once, at the controller's 65,535th transfer
USUAL = ATTACH + DETACH + TAKEN_BACK + INPUT + STORAGE + SOUND + COUNTED


def unusual(lines, also=()):
    """Those of the kernel's lines that fit no usual one and none of the patterns `also`."""
    patterns = [re.compile(pattern) for pattern in (*USUAL, *also)]
    return [line for line in lines if line and not any(pattern.fullmatch(line) for pattern in patterns)]
