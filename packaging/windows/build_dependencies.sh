#!/usr/bin/env bash
# build_dependencies.sh: builds the libraries of the Windows x64 programs out of Debian's source packages.
#
#   usage: build_dependencies.sh [--jobs N] [--archive FILE] [FOLDER]
#
# FOLDER/sysroot (default build/windows-dependencies/sysroot) then holds one folder a library, with nothing in it that
# names the place where it was made, so it may be moved. --archive packs it into FILE (.tar.xz), the form that
# scripts/windows.sh unpacks.
#
# The sources are the newest that the machine's Debian release has, security fixes and Debian's patches included. Their
# checksums come from the archive's signed indices. They are fetched with an apt configuration of FOLDER's own: neither
# the system's package sources nor its lists are changed, and an ordinary user can do all but install the compilers.
#
# A run that was interrupted is taken up again. A library is made anew only when its version, its recipe below, the
# compiler or a library that it uses has changed. FOLDER/log.txt keeps a line for each step of every run.
set -euo pipefail

here=$(dirname "$(realpath "$0")")
jobs=$(($(nproc) + 1))
archive=
while [ $# -gt 0 ]; do
    case $1 in
        --jobs) jobs=$2; shift 2 ;;
        --archive) archive=$(realpath -m "$2"); shift 2 ;;
        -*) sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0" >&2; exit 2 ;;
        *) break ;;
    esac
done
root=$(realpath -m "${1:-$here/../../build/windows-dependencies}")
sysroot=$root/sysroot
cross=x86_64-w64-mingw32
# What ends up in compiled-in texts instead of this machine's paths. No file is ever looked for there.
prefix=/plugboard

libraries=(openssl freetype qt opencv ffmpeg) # each after those that it uses
declare -A source_package=([qt]=qtbase-opensource-src [openssl]=openssl [freetype]=freetype [opencv]=opencv [ffmpeg]=ffmpeg)
declare -A uses=([ffmpeg]=freetype)

# Recipes: build in the current folder from source folder $1 and leave FILES/... for the library's own folder in $2.

recipe_qt() {
    # The Debian source lacks the headers of drawing tablets. Only what the programs use of Qt is built. moc, uic and rcc come
    # out as programs of this machine. Plug-ins are found from where Qt5Core.dll lies, or beside the program.
    [ -e Makefile ] || "$1/configure" -xplatform win32-g++ -device-option CROSS_COMPILE=$cross- -prefix $prefix/qt \
        -release -shared -opensource -confirm-license -no-opengl -no-feature-vulkan -no-direct2d -no-openssl -no-dbus \
        -no-icu -no-libjpeg -no-freetype -qt-zlib -qt-libpng -qt-pcre -qt-harfbuzz -nomake examples -nomake tests \
        -nomake tools -no-feature-tabletevent -no-feature-sql -no-feature-xml -no-feature-printer -no-feature-concurrent
    make -j"$jobs"
    make INSTALL_ROOT="$2" install
    mv "$2$prefix/qt" "$2/FILES"
    # What only qmake reads names this build's folders; CMake's files do not.
    rm -rf "$2/FILES/doc" "$2/FILES/mkspecs/modules" "$2"/FILES/lib/*.prl "$2"/FILES/bin/{syncqt.pl,fixqt4headers.pl,tracegen,qlalr,qvkgen}
    find "$2/FILES/bin" -type f ! -name '*.dll' -exec strip {} +
}

recipe_openssl() {
    # The folders that the library looks into for settings and modules lie below "Program Files", where only an
    # administrator can put a file; a folder that anyone can make would let anyone load code into the programs.
    local settings="C:/Program Files/Common Files/SSL"
    [ -e Makefile ] || perl "$1/Configure" mingw64 --cross-compile-prefix=$cross- --prefix=$prefix/openssl --libdir=lib \
        shared no-tests no-engine no-legacy -ffile-prefix-map="$1"=openssl
    make -j"$jobs" OPENSSLDIR="$settings" ENGINESDIR="$settings/engines" MODULESDIR="$settings/modules" build_libs
    make DESTDIR="$2" install_dev
    mv "$2$prefix/openssl" "$2/FILES"
    find "$2/FILES/lib" -name '*.a' ! -name '*.dll.a' -delete
}

recipe_freetype() {
    with_cmake "$1" "$2" freetype -DBUILD_SHARED_LIBS=OFF -DFT_DISABLE_ZLIB=ON -DFT_DISABLE_PNG=ON \
        -DFT_DISABLE_BZIP2=ON -DFT_DISABLE_HARFBUZZ=ON -DFT_DISABLE_BROTLI=ON
}

recipe_opencv() {
    local off=() option
    for option in IPP ITT OPENCL DIRECTX EIGEN LAPACK ADE QUIRC PROTOBUF FFMPEG MSMF DSHOW WIN32UI JPEG PNG TIFF WEBP \
        OPENJPEG JASPER OPENEXR IMGCODEC_HDR IMGCODEC_SUNRASTER IMGCODEC_PXM IMGCODEC_PFM; do
        off+=("-DWITH_$option=OFF")
    done
    for option in TESTS PERF_TESTS EXAMPLES opencv_apps JAVA ITT ZLIB; do
        off+=("-DBUILD_$option=OFF")
    done
    with_cmake "$1" "$2" opencv -DBUILD_LIST=core,imgproc -DBUILD_SHARED_LIBS=ON "${off[@]}" \
        -DENABLE_PRECOMPILED_HEADERS=OFF -DOPENCV_GENERATE_SETUPVARS=OFF
}

recipe_ffmpeg() {
    # FreeType is there for the drawtext filter.
    [ -e ffbuild/config.mak ] || PKG_CONFIG_LIBDIR=$sysroot/freetype/lib/pkgconfig "$1/configure" \
        --prefix=$prefix/ffmpeg --enable-cross-compile --cross-prefix=$cross- --pkg-config=pkg-config \
        --target-os=mingw32 --arch=x86_64 --enable-shared --disable-static --disable-doc --disable-programs \
        --disable-debug --enable-w32threads --disable-pthreads --enable-dxva2 --enable-d3d11va \
        --enable-mediafoundation --enable-libfreetype --enable-zlib --extra-cflags="-ffile-prefix-map=$1=ffmpeg"
    make -j"$jobs"
    make DESTDIR="$2" install
    mv "$2$prefix/ffmpeg" "$2/FILES"
    rm -rf "$2/FILES/share"
    # Where FreeType lay for the configuration, said as where it lies beside this library.
    sed -i "s|-L$sysroot/freetype/[^ ]*|-L\${prefix}/../freetype/lib|" "$2"/FILES/lib/pkgconfig/*.pc
}

# with_cmake SOURCE STAGE NAME OPTION...
with_cmake() {
    cmake -S "$1" -B . -G Ninja -DCMAKE_TOOLCHAIN_FILE="$here/toolchain.cmake" -DPLUGBOARD_WINDOWS_SYSROOT="$sysroot" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix/$3" -DCMAKE_C_FLAGS="-ffile-prefix-map=$1=$3" \
        -DCMAKE_CXX_FLAGS="-ffile-prefix-map=$1=$3" "${@:4}"
    ninja -j "$jobs"
    DESTDIR="$2" ninja install
    mv "$2$prefix/$3" "$2/FILES"
}

# The rest: sources, cache, order.

log() { echo "$(date -u '+%Y-%m-%d %H:%M:%S') $*" | tee -a "$root/log.txt"; }

fail() {
    log "failed: $*"
    exit 1
}

# Points apt at FOLDER/apt, with source entries for what the system takes its packages from.
use_own_apt() {
    mkdir -p "$root"/apt/{state/lists,cache/archives}/partial
    apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' |
        sort -u > "$root/apt/sources.list"
    [ -s "$root/apt/sources.list" ] || cat > "$root/apt/sources.list" <<SOURCES
deb-src http://deb.debian.org/debian bookworm main
deb-src http://deb.debian.org/debian bookworm-updates main
deb-src http://deb.debian.org/debian-security bookworm-security main
SOURCES
    cat > "$root/apt/apt.conf" <<CONFIGURATION
Dir::Etc::sourcelist "$root/apt/sources.list";
Dir::Etc::sourceparts "/dev/null";
Dir::State "$root/apt/state";
Dir::State::status "/var/lib/dpkg/status";
Dir::Cache "$root/apt/cache";
APT::Sandbox::User "$(id -un)";
CONFIGURATION
    export APT_CONFIG=$root/apt/apt.conf
    if [ -z "$(find "$root/apt/updated" -mmin -720 2>/dev/null)" ]; then
        if apt-get update -qq; then
            touch "$root/apt/updated"
        elif [ -e "$root/apt/updated" ]; then
            log "the package lists could not be renewed; going on with those of $(date -u -r "$root/apt/updated")"
        else
            fail "the package lists could not be fetched"
        fi
    fi
}

# fetch LIBRARY: sets `version` and `source`, the unpacked and patched source folder. A mirror may lack the newest
# version's files for a while; the next older one is taken then, and the log says so.
fetch() {
    local package=${source_package[$1]} versions
    versions=$(apt-cache showsrc --only-source "$package" | sed -n 's/^Version: //p' | sort -Vru)
    [ -n "$versions" ] || fail "Debian has no source package $package"
    for version in $versions; do
        source=$root/sources/$package-${version#*:}
        if [ -d "$source" ] || unpack "$1" "$package"; then
            return
        fi
    done
    fail "$package cannot be fetched"
}

# unpack LIBRARY PACKAGE: fetches the files of `version` and unpacks them into `source`.
unpack() {
    local files file sum
    mkdir -p "$root/sources"
    files=$(apt-get source -qq --only-source --print-uris "$2=$version" 2>/dev/null | awk '{print $2, $4}')
    if ! (cd "$root/sources" && apt-get source -qq --only-source --download-only "$2=$version") > "$root/$1.fetch.log" 2>&1
    then
        log "$1 $version: the mirror does not have it: $(grep -m 1 '^E:' "$root/$1.fetch.log" || true)"
        return 1
    fi
    # apt has checked these against the signed index; said again here so that the log tells what was built.
    while read -r file sum; do
        echo "${sum#SHA256:}  $root/sources/$file" | sha256sum --check --quiet - || fail "$file differs from the index"
        log "$1 $version: ${sum/:/ } $file"
    done <<< "$files"
    rm -rf "$source.partial"
    dpkg-source --no-copy -x "$root/sources/$(grep -o '^[^ ]*[.]dsc' <<< "$files")" "$source.partial" \
        > "$root/$1.unpack.log" 2>&1 || fail "$2 cannot be unpacked, see $root/$1.unpack.log"
    log "$1 $version: $(grep -c '^dpkg-source: info: applying' "$root/$1.unpack.log" || true) Debian patches applied"
    mv "$source.partial" "$source"
}

# The folder of a library gets no absolute path, no debugging data and no static copy of its DLLs.
finish() {
    local files=$1 folder
    find "$files" -name '*.dll' -exec $cross-strip --strip-unneeded {} +
    find "$files" \( -name '*.la' -o -name '*.prl' \) -delete
    for folder in "$files"/lib/pkgconfig; do
        [ -d "$folder" ] || continue
        sed -i -e 's|^prefix=.*|prefix=${pcfiledir}/../..|' -e "s|$prefix/[a-z]*/|\${prefix}/|" "$folder"/*.pc
    done
    ! grep -rlIF -e "$root" "$files" || fail "the files above name the build folder"
}

# make_library LIBRARY
make_library() {
    local library=$1 version source key build started status used
    fetch "$library"
    key="$version $($cross-g++ -dumpfullversion) $(declare -f "recipe_$library" with_cmake finish | sha256sum | cut -c 1-12)"
    for used in ${uses[$library]:-}; do
        key+=" $(cat "$sysroot/$used/built-from")"
    done
    if [ "$(cat "$sysroot/$library/built-from" 2>/dev/null)" = "$key" ]; then
        log "$library $version: up to date"
        return
    fi
    build=$root/build/$library-$(sha256sum <<< "$key" | cut -c 1-12)
    mkdir -p "$build/work"
    rm -rf "$build/stage"
    log "$library $version: building with $jobs jobs"
    started=$SECONDS
    # Not as the condition of an `if`: there a failing command would not end the subshell.
    set +e
    (set -e; cd "$build/work"; "recipe_$library" "$source" "$build/stage"; finish "$build/stage/FILES") > "$build/log.txt" 2>&1
    status=$?
    set -e
    if [ $status -ne 0 ]; then
        tail -n 30 "$build/log.txt" >&2
        fail "$library $version, see $build/log.txt"
    fi
    echo "$key" > "$build/stage/FILES/built-from"
    rm -rf "${sysroot:?}/$library"
    mkdir -p "$sysroot"
    mv "$build/stage/FILES" "$sysroot/$library"
    rm -rf "$build/work" "$build/stage"
    log "$library $version: built in $((SECONDS - started)) s"
}

main() {
    "$here/../../scripts/packages.sh" dependencies
    mkdir -p "$root"
    exec 9> "$root/lock"
    flock -n 9 || fail "another run is at work in $root"
    log "started with $jobs jobs on $(nproc) processors, $($cross-g++ --version | head -n 1)"
    use_own_apt
    local library
    for library in "${libraries[@]}"; do
        make_library "$library"
    done
    if [ -n "$archive" ]; then
        tar -C "$root" --transform 's|^sysroot|windows-sysroot|' --owner 0 --group 0 -cJf "$archive.partial" sysroot
        mv "$archive.partial" "$archive"
        log "packed into $archive, $(du -h "$archive" | cut -f 1)"
    fi
    log "complete after $SECONDS s: $sysroot"
}
main
exit
