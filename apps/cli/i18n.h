#pragma once

// The language of the kvlnmov tool. Every text the tool shows a user goes through gettext
// (text domain "kvlnmov"); the message ids are the English texts, and po/es.po and po/en.po
// hold their Spanish and English forms.
//
// How to write a text:
//   _("No entry was posted.")                        a whole sentence
//   format(_("Company %d, exercise %d"), c, e)        values go into the translated sentence
//   format(trn("%d of %lld entry", "%d of %lld entries", n), k, n)   the form follows n
//   trCount("%lld entry", "%lld entries", n)          the same for a count alone
// format() takes printf conversions; a translation may reorder them as "%2$d ... %1$d".
// Write each sentence whole in one place: never glue a sentence from translated pieces.
// Texts in a static table are marked with noop_() and translated with _() where shown.
// The library's own messages (the descriptions of its errors) are Spanish and are printed
// as they are, never through these functions.

#include <string>

namespace kvlnmov::cli {

/// Chooses the language and makes gettext find the catalogues; call first thing in main.
/// Spanish when the locale (LC_ALL, else LC_MESSAGES, else LANG) is es or es_*, English
/// otherwise. The catalogues are looked for in $KVLNMOV_LOCALEDIR, then in share/locale
/// beside the installed tool, then in the build tree's locale folder beside the tool.
void initLanguage();

/// True when initLanguage chose Spanish.
bool spanish();

/// `text` in the tool's language.
[[gnu::format_arg(1)]] const char* _(const char* text);
[[gnu::format_arg(1)]] inline const char* tr(const char* text) { return _(text); }

/// The singular or plural form of a text for `count`, in the tool's language.
[[gnu::format_arg(1)]] [[gnu::format_arg(2)]] const char* trn(const char* singular,
                                                              const char* plural,
                                                              unsigned long long count);

/// The form of a text for `count` with the count put in it: its one conversion is "%lld"
/// ("%lld entry", "%lld entries").
std::string trCount(const char* singular, const char* plural, long long count);

/// Marks a text for the catalogue without translating it (for tables of texts).
constexpr const char* noop_(const char* text) { return text; }

/// printf into a string, for translated sentences with values in them.
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);

}  // namespace kvlnmov::cli
