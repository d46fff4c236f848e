#pragma once

// The server's texts for a statement beyond its limits, as the embedded provider raises them.

#include <string>

namespace kvlnmov::testing {

inline const std::string kNested =
    "Some part of your SQL statement is nested too deeply. Rewrite the query or break it up "
    "into smaller queries.";
inline const std::string kExpressionLimit =
    "Internal error: An expression services limit has been reached. Please look for "
    "potentially complex expressions in your query, and try to simplify them.";

}  // namespace kvlnmov::testing
