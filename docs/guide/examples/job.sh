#!/bin/bash
# job.sh: a test job that needs a person at the machine, without one. A security key signs in, a keyboard types a name on a
# text console, and a camera is shown a QR code. Run it as root on Linux; besides Plugboard it needs the Debian packages
# fido2-tools, ffmpeg, jq, kbd, qrencode and zbar-tools. The exit code is 0 when all three were understood.
set -euo pipefail

work=$(mktemp -d)
cd "$work"
end() {
    plugboard --delete-lab lab.json || true
    rm -r "$work"
}
trap end EXIT

# What the camera shows: two seconds of a ticket, again and again.
qrencode --output=ticket.png "ticket 4711"
ffmpeg -nostdin -v error -loop 1 -framerate 10 -t 2 -i ticket.png -vf scale=400:400:flags=neighbor,pad=640:480:120:40:white \
    -c:v mjpeg -pix_fmt yuvj420p ticket.avi

# The devices, and where this machine has them.
echo '{}' > key.json
cat > lab.json <<'END'
{
    "devices": [
        {"type": "fido2", "settings": {"credentials": "key.json", "serial": "JOB"}},
        {"type": "keyboard"},
        {"type": "camera", "settings": {"source": "ticket.avi", "rate": 10}}
    ]
}
END
lab=$(plugboard --lab lab.json --wait 60)
process() { jq -e ".[] | select(.type == \"$1\").processId" <<< "$lab"; }
node() { jq -er "first(.[] | select(.type == \"$1\").nodes[] | select(startswith(\"$2\")))" <<< "$lab"; }
key=$(process fido2)
key_node=$(node fido2 /dev/hidraw)
keyboard=$(process keyboard)
camera_node=$(node camera /dev/video)

# Ann registers her key at a shop and signs in with it. Nobody touches it: it approves by itself.
random() { head -c 32 /dev/urandom | base64 --wrap=0; echo; }
plugboard --send "$key" approve all
{ random; echo shop.example; echo ann; random; } | fido2-cred -M -o made "$key_node"
fido2-cred -V -i made -o credential
{ random; echo shop.example; head -n 1 credential; } | fido2-assert -G -o answer "$key_node"
tail -n +2 credential > public-key
fido2-assert -V -p -i answer public-key es256
echo "signed in"

# A program on a console of its own asks for a name, which the keyboard types. The last console comes back afterwards.
openvt --switch --wait -- sh -c 'printf "Name: "; : > asked; read -r name; echo "$name" > name' &
until [ -e asked ]; do sleep 0.1; done
plugboard --send "$keyboard" << 'END'
type Ann
key enter
END
wait $!
[ "$(cat name)" = Ann ]
echo "typed"

# One picture of the camera, and the code in it.
ffmpeg -nostdin -v error -f v4l2 -i "$camera_node" -frames:v 1 seen.png
[ "$(zbarimg --quiet --raw seen.png)" = "ticket 4711" ]
echo "read the ticket"
