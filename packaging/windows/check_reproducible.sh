#!/usr/bin/env bash
# check_reproducible.sh SYSROOT [FOLDER]: makes the release of the current commit twice, from clones in two folders with names of
# different lengths and without the compiler cache, and compares the sums. FOLDER (default: a temporary one) keeps the results.
set -euo pipefail
project=$(realpath "$(dirname "$0")/../..")
sysroot=$(realpath "$1") folder=$(realpath -m "${2:-$(mktemp -d)}")
export CCACHE_DISABLE=1

commit=$(git -C "$project" rev-parse HEAD)
mkdir -p "$folder"
openssl genpkey -quiet -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$folder/key.pem"
openssl pkey -in "$folder/key.pem" -pubout -out "$folder/public.pem"
export PLUGBOARD_PARAM_PUBLIC_KEY=$folder/public.pem PLUGBOARD_PARAM_PRIVATE_KEY=$folder/key.pem
for name in a other-folder; do
    git clone --quiet "$project" "$folder/$name/plugboard"
    git -C "$folder/$name/plugboard" checkout --quiet --detach "$commit"
    "$folder/$name/plugboard/packaging/windows/make_dist.sh" "$sysroot" "$folder/$name/build" "$folder/$name/dist" > "$folder/$name.log"
done
diff "$folder/a/dist/SHA256SUMS" "$folder/other-folder/dist/SHA256SUMS" && cat "$folder/a/dist/SHA256SUMS"
