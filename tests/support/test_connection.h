#pragma once

// The one place that says which connection a database test uses: the provider
// KVLNMOV_TEST_PROVIDER names (sqlite, odbc or mssql; see kvlnmov/scenario/scratch_database.h
// for where each keeps its fresh databases).

#include <string>

#include "kvlnmov/scenario/scratch_database.h"

namespace kvlnmov::testing {

using TestProvider = scenario::ScratchProvider;

/// The provider chosen by KVLNMOV_TEST_PROVIDER. An unknown value is a setup mistake: it
/// stops the test run at once rather than testing something else than asked.
inline TestProvider testProvider() { return scenario::scratchProviderFromEnvironment(); }

/// A fresh, empty database for one test (no schema yet), removed again with the object.
class TestDatabase : public scenario::ScratchDatabase {
  public:
    explicit TestDatabase(TestProvider provider = testProvider())
        : scenario::ScratchDatabase(provider) {}
};

/// The source of the errors the chosen provider raises.
inline std::string testProviderName() {
    return testProvider() == TestProvider::Sqlite ? "kvlnmov SQLite provider"
                                                  : "kvlnmov ODBC provider";
}

/// A connection to a fresh, empty database of its own, removed when the last reference to
/// the connection goes. With the embedded provider it is an in-memory database.
inline db::ConnectionRef openFreshDatabase(TestProvider provider = testProvider()) {
    return scenario::openScratchDatabase(provider);
}

}  // namespace kvlnmov::testing
