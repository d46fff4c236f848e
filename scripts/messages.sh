#!/usr/bin/env bash
# The kvlnmov tool's message catalogues (po/es.po, po/en.po; gettext's tools, Debian package
# gettext).
#
#   scripts/messages.sh update   extracts the texts the tool's sources send through _(), tr(),
#                                trn(), trCount() and noop_() into po/kvlnmov.pot, merges them
#                                into po/es.po (new texts arrive untranslated: translate them)
#                                and rewrites po/en.po (the English texts as they are)
#   scripts/messages.sh check    fails when a text of the sources has no Spanish translation
#                                in po/es.po or no entry in po/en.po, or when a catalogue does
#                                not compile (msgfmt --check: the printf conversions of every
#                                translation must match those of its text)
set -euo pipefail

cd "$(dirname "$0")/.."
mode="${1:-}"

extract() {
    xgettext --language=C++ --from-code=UTF-8 --package-name=kvlnmov --no-location \
        --keyword=_ --keyword=tr --keyword=trn:1,2 --keyword=trCount:1,2 --keyword=noop_ \
        --flag=format:1:c-format --flag=_:1:pass-c-format --flag=tr:1:pass-c-format \
        --flag=trn:1:pass-c-format --flag=trn:2:pass-c-format \
        --flag=trCount:1:c-format --flag=trCount:2:c-format \
        --sort-output -o "$1" apps/cli/*.cpp apps/cli/*.h apps/viewer-qt/main.cpp
}

case "$mode" in
    update)
        extract po/kvlnmov.pot
        if [[ -f po/es.po ]]; then
            msgmerge --quiet --update --backup=none --no-fuzzy-matching --sort-output po/es.po \
                po/kvlnmov.pot
        else
            msginit --no-translator --locale=es_ES.UTF-8 --input=po/kvlnmov.pot -o po/es.po
        fi
        msgen po/kvlnmov.pot 2>/dev/null | msgattrib --no-obsolete --clear-fuzzy -o po/en.po.new 2>/dev/null
        sed -e '1i # English messages of the kvlnmov tool.' -e '1,/^msgid/{/^#/d}' \
            -e 's/^"Content-Type: text\/plain; charset=CHARSET\\n"/"Content-Type: text\/plain; charset=UTF-8\\n"/' \
            -e 's/^"Language: \\n"/"Language: en\\n"/' \
            -e 's/^"Language-Team: .*\\n"/"Language-Team: English\\n"/' \
            -e 's/^"Last-Translator: .*\\n"/"Last-Translator: kvlnmov developers\\n"/' \
            -e "s/^\"PO-Revision-Date: .*\\\\n\"/\"PO-Revision-Date: $(date -u '+%Y-%m-%d %H:%M+0000')\\\\n\"/" \
            -e 's/^"Plural-Forms: nplurals=INTEGER; plural=EXPRESSION;\\n"/"Plural-Forms: nplurals=2; plural=(n != 1);\\n"/' \
            po/en.po.new >po/en.po
        rm po/en.po.new
        echo "texts without a Spanish translation in po/es.po: $(msgattrib --untranslated po/es.po |
            grep -c '^msgid "[^"]')"
        ;;
    check)
        scratch=$(mktemp -d)
        trap 'rm -rf "$scratch"' EXIT
        extract "$scratch/kvlnmov.pot"
        status=0
        for language in es en; do
            # Every text of the sources must have a translation in the catalogue.
            msgcmp "po/$language.po" "$scratch/kvlnmov.pot" || status=1
            msgfmt --check -o /dev/null "po/$language.po" || status=1
        done
        if ((status == 0)); then
            echo "the catalogues hold every text of the sources"
        fi
        exit $status
        ;;
    *)
        echo "usage: scripts/messages.sh update|check" >&2
        exit 2
        ;;
esac
