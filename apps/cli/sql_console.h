#pragma once

// The interactive side of `kvlnmov sql`: statements typed at a terminal, with a prompt, line
// editing and a history kept between sessions.

#include "sql_runner.h"

namespace kvlnmov::cli {

/// Reads lines at the prompt "kvlnmov> " ("    -> " while a statement goes on) and runs each
/// statement once a `;` or a GO line ends it. A failure is printed and the console goes on;
/// in a transaction it rolls everything back and ends the console. The console ends at end of
/// input (Ctrl-D) or with a line `quit` or `exit`; a statement left unfinished then is not
/// run (and a transaction is rolled back). The history is kept in ~/.kvlnmov_history.
/// Returns the exit code.
int runConsole(StatementRunner& runner);

}  // namespace kvlnmov::cli
