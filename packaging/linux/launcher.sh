#!/bin/sh
# Runs a program of Plugboard in a folder of the user's own, since it keeps device records, keys and the simulated device
# tree beside itself: ~/.local/share/plugboard, or what PLUGBOARD_HOME names. The programs there follow the package's.
set -eu
package=/usr/lib/plugboard
own=${PLUGBOARD_HOME:-${XDG_DATA_HOME:-$HOME/.local/share}/plugboard}
mkdir -p "$own"
for file in plugboard plugboard-driver usb-daemon.exe plugboard-media-devices.so vusbbus.inf; do
    # Renamed into place: a device that runs keeps the file that it was started from.
    if ! cmp -s "$package/$file" "$own/$file"; then
        cp "$package/$file" "$own/$file.$$"
        mv -f "$own/$file.$$" "$own/$file"
    fi
done
exec "$own/$(basename "$0")" "$@"
