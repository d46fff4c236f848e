#include "i18n.h"

#include <libintl.h>
#include <stdlib.h>

#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

#ifndef KVLNMOV_INSTALLED_LOCALEDIR
#define KVLNMOV_INSTALLED_LOCALEDIR "/usr/local/share/locale"
#endif

namespace kvlnmov::cli {

namespace {

constexpr const char* kDomain = "kvlnmov";

bool& spanishChosen() {
    static bool chosen = false;
    return chosen;
}

// The locale name that decides the messages' language, as POSIX orders the variables.
std::string_view requestedLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value) return value;
    }
    return {};
}

// "es", "es_ES", "es_ES.UTF-8", "es@euro" and the like.
bool isSpanish(std::string_view locale) {
    return locale.substr(0, 2) == "es" &&
           (locale.size() == 2 || locale[2] == '_' || locale[2] == '.' || locale[2] == '@');
}

bool hasCatalogue(const std::filesystem::path& folder) {
    std::error_code error;
    return std::filesystem::is_regular_file(folder / "es" / "LC_MESSAGES" / "kvlnmov.mo", error);
}

// Where the compiled catalogues are: the override, beside the installed tool
// (PREFIX/bin/kvlnmov and PREFIX/share/locale), in the build tree (the tool's folder holds
// locale/), else where the build was configured to install them.
std::string localeFolder() {
    if (const char* folder = std::getenv("KVLNMOV_LOCALEDIR"); folder && *folder) return folder;
    std::error_code error;
    const std::filesystem::path tool = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        const std::filesystem::path bin = tool.parent_path();
        for (const std::filesystem::path& candidate :
             {bin.parent_path() / "share" / "locale", bin / "locale"}) {
            if (hasCatalogue(candidate)) return candidate.string();
        }
    }
    return KVLNMOV_INSTALLED_LOCALEDIR;
}

}  // namespace

void initLanguage() {
    const bool spanish = isSpanish(requestedLocale());
    spanishChosen() = spanish;
    // A machine may lack the locale the user asked for (a fresh system has no es_ES.UTF-8
    // generated); glibc's gettext translates nothing in the "C" locale, but does in C.UTF-8.
    if (!std::setlocale(LC_ALL, "")) std::setlocale(LC_ALL, "C.UTF-8");
    // Numbers are read and written by the library with '.' (strtod, printf): the user's
    // numeric conventions must not reach them. The tool formats amounts itself.
    std::setlocale(LC_NUMERIC, "C");
    // LANGUAGE is what gettext consults first in any locale but "C": it carries the choice
    // made above, also when the requested locale is not installed.
    setenv("LANGUAGE", spanish ? "es" : "en", 1);
    bindtextdomain(kDomain, localeFolder().c_str());
    bind_textdomain_codeset(kDomain, "UTF-8");
    textdomain(kDomain);
}

bool spanish() { return spanishChosen(); }

const char* _(const char* text) { return dgettext(kDomain, text); }

const char* trn(const char* singular, const char* plural, unsigned long long count) {
    return dngettext(kDomain, singular, plural, static_cast<unsigned long>(count));
}

std::string trCount(const char* singular, const char* plural, long long count) {
    // A negative count never reaches the reports; its absolute value picks the form.
    const auto n = static_cast<unsigned long long>(count < 0 ? -count : count);
    return format(trn(singular, plural, n), count);
}

std::string format(const char* pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    va_list again;
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, pattern, arguments);
    va_end(arguments);
    std::string text;
    if (size > 0) {
        text.resize(static_cast<std::size_t>(size) + 1);
        std::vsnprintf(text.data(), text.size(), pattern, again);
        text.resize(static_cast<std::size_t>(size));
    }
    va_end(again);
    return text;
}

}  // namespace kvlnmov::cli
