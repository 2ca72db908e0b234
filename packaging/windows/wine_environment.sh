# wine_environment.sh: sourced by whatever starts Wine; names the prefix (build/wine-prefix unless $WINEPREFIX says otherwise).
WINEPREFIX=${WINEPREFIX:-$(realpath -m "$(dirname "${BASH_SOURCE[0]}")/../../build/wine-prefix")}
WINEARCH=win64
WINEDEBUG=${WINEDEBUG:--all}
# Neither .NET nor HTML is used, and no menus are made; without them a prefix starts in seconds and asks nothing.
WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
export WINEPREFIX WINEARCH WINEDEBUG WINEDLLOVERRIDES
