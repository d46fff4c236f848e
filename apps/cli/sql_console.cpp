#include "sql_console.h"

#include <cstdio>
// libedit's readline interface; its header needs FILE (from <cstdio>) declared first.
#include <editline/readline.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>

#include "commands.h"
#include "i18n.h"
#include "kvlnmov/db/script.h"

namespace kvlnmov::cli {

namespace {

constexpr const char* kPrompt = "kvlnmov> ";
constexpr const char* kContinuation = "    -> ";
constexpr int kHistoryLines = 1000;

/// The history file, ~/.kvlnmov_history; empty without a home folder.
std::string historyFile() {
    const char* home = std::getenv("HOME");
    return home && *home ? std::string(home) + "/.kvlnmov_history" : std::string();
}

/// True for a line that ends the console: quit or exit (any case, blanks and a `;` allowed).
bool endsConsole(std::string line) {
    line.erase(std::remove_if(line.begin(), line.end(),
                              [](char c) { return c == ' ' || c == '\t' || c == ';'; }),
               line.end());
    std::transform(line.begin(), line.end(), line.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return line == "quit" || line == "exit";
}

/// The line reader: the terminal's line editing and history, saved when the console ends.
class LineReader {
  public:
    LineReader() : history_(historyFile()) {
        using_history();
        stifle_history(kHistoryLines);
        if (!history_.empty()) read_history(history_.c_str());
    }
    ~LineReader() {
        if (!history_.empty()) write_history(history_.c_str());
    }
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /// The next line typed after `prompt`; false at end of input.
    bool read(const char* prompt, std::string& line) {
        char* typed = readline(prompt);
        if (!typed) return false;
        line = typed;
        std::free(typed);
        if (line.find_first_not_of(" \t\r") != std::string::npos) add_history(line.c_str());
        return true;
    }

  private:
    std::string history_;
};

}  // namespace

int runConsole(StatementRunner& runner) {
    LineReader reader;
    runner.begin();
    std::string pending;  // the statement typed so far
    int pendingLine = 1;  // the input line `pending` starts on
    std::string line;
    for (;;) {
        std::cout << std::flush;
        if (!reader.read(pending.empty() ? kPrompt : kContinuation, line)) {
            std::cout << "\n";
            break;
        }
        if (pending.empty() && endsConsole(line)) break;
        pending += line;
        pending += '\n';
        const db::Script script = db::splitScript(pending);
        for (const db::ScriptStatement& statement : script.statements) {
            // In a transaction the failure rolled everything back: nothing more may run.
            if (!runner.run(statement, pendingLine + statement.line - 1) &&
                runner.transactional()) {
                return kExitFailure;
            }
        }
        if (script.end == db::ScriptEnd::Separated) {
            pendingLine += static_cast<int>(std::count(pending.begin(), pending.end(), '\n'));
            pending.clear();
        } else {
            pendingLine += static_cast<int>(
                std::count(pending.begin(),
                           pending.begin() + static_cast<std::ptrdiff_t>(script.restOffset), '\n'));
            pending.erase(0, script.restOffset);
        }
    }
    if (db::splitScript(pending).end != db::ScriptEnd::Separated) {
        std::cerr << "kvlnmov: "
                  << _("the input ended inside an unfinished statement, which was not run.")
                  << "\n";
        runner.rollback();
        return kExitFailure;
    }
    runner.commit();
    return kExitOk;
}

}  // namespace kvlnmov::cli
