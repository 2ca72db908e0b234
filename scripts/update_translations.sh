#!/usr/bin/env bash
# update_translations.sh [--check]: takes the texts of the windows into resources/translations/*.ts, where each then needs its
# translation (a text editor or Qt Linguist). --check changes nothing and fails, naming them, when texts are missing there,
# stand there without a translation, or are no longer used.
. "$(dirname "$0")/lib.sh"

folders=(app devices capture dialogs fido2 runtime tools ui)
failed=0
for catalogue in resources/translations/*.ts; do
    language=$(basename "$catalogue" .ts)
    language=${language#plugboard_}
    target=$catalogue
    if [ "${1:-}" = --check ]; then
        target=build/$(basename "$catalogue")
        cp "$catalogue" "$target"
    fi
    # It takes digit separators for characters and says so for each; what it says matters only when it fails.
    /usr/lib/qt5/bin/lupdate -silent -no-obsolete -locations none -source-language en -target-language "$language" -I . \
        "${folders[@]}" -ts "$target" 2> build/lupdate.log || { cat build/lupdate.log >&2; exit 1; }
    if [ "${1:-}" = --check ] && ! python3 scripts/compare_translations.py "$catalogue" "$target"; then
        failed=1
    fi
done
exit $failed
