# wine_environment.sh: sourced by whatever starts Wine; names the prefix (build/wine-prefix unless $WINEPREFIX says otherwise).
WINEPREFIX=${WINEPREFIX:-$(realpath -m "$(dirname "${BASH_SOURCE[0]}")/../../build/wine-prefix")}
WINEARCH=win64
WINEDEBUG=${WINEDEBUG:--all}
# Neither .NET nor HTML is used, and no menus are made; without them a prefix starts in seconds and asks nothing.
WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
export WINEPREFIX WINEARCH WINEDEBUG WINEDLLOVERRIDES
# Wine writes the names of files in the characters of the locale; a bare system has none but ASCII.
[ "$(locale charmap)" = UTF-8 ] || export LC_ALL=C.UTF-8
