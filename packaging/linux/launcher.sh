#!/bin/sh
# Runs a program of Plugboard in a folder of the user's own, since it keeps device records, keys and the simulated device
# tree beside itself: ~/.local/share/plugboard, or what PLUGBOARD_HOME names. The programs there follow the package's. Every
# command of a script passes here, so no other program is started when all is as it should be.
set -eu
package=/usr/lib/plugboard
own=${PLUGBOARD_HOME:-${XDG_DATA_HOME:-$HOME/.local/share}/plugboard}
[ -d "$own" ] || mkdir -p "$own"
for file in plugboard plugboard-driver usb-daemon.exe plugboard-media-devices.so vusbbus.inf; do
    # A copy has the time of what it was made from.
    if [ ! -e "$own/$file" ] || [ "$package/$file" -nt "$own/$file" ] || [ "$package/$file" -ot "$own/$file" ]; then
        # Renamed into place: a device that runs keeps the file that it was started from.
        cp -p "$package/$file" "$own/$file.$$"
        mv -f "$own/$file.$$" "$own/$file"
    fi
done
exec "$own/${0##*/}" "$@"
