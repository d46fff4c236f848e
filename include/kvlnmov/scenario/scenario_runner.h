#pragma once

// Runs scenario files: JSON descriptions of calls made through late binding against a fresh
// embedded company database, with the checks to make on each step (results, errors, the
// statements sent, message boxes, yields, resulting rows).

#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvlnmov::db {
class Connection;
}

namespace kvlnmov::scenario {

/// Opens a connection to a fresh, empty database for one scenario. An empty factory opens a
/// private in-memory database of the embedded provider.
using DatabaseFactory = std::function<std::shared_ptr<db::Connection>()>;

/// A scenario file that cannot be read or is not a valid scenario (unknown key, missing
/// member, wrong value kind). The message names the file and, when it applies, the step.
class FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct Outcome {
    std::string name;
    bool passed = false;
    std::string why;  ///< what failed, for a failed scenario
};

/// Reads and runs one scenario file. Raises FileError before running anything when the file
/// is not a valid scenario.
Outcome runFile(const std::filesystem::path& file, const DatabaseFactory& freshDatabase = {});

/// Runs every file given (a folder stands for every *.json in it, in name order), writes one
/// line per scenario ("ok  name" or "FAIL name: why") and the summary "N passed, N failed".
/// Returns 0 when all passed, 1 when one failed, 2 when a file could not be read or parsed.
/// Each scenario runs on its own database from `freshDatabase`.
int runAll(const std::vector<std::filesystem::path>& paths, std::ostream& out, std::ostream& err,
           const DatabaseFactory& freshDatabase = {});

}  // namespace kvlnmov::scenario
