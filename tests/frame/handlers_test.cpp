#include "kvlnmov/core/handlers.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "kvlnmov/core/library.h"
#include "support/library_fixture.h"

namespace kvlnmov {
namespace {

class HandlersTest : public testing::LibraryTest {};

const Error kTimeout(errc::kTimeout, "provider", "Query timeout expired");

// Raising again under the operation's source is in the scenario files (every error step).
TEST_F(HandlersTest, PlainHandlerTurnsOtherExceptionsIntoErrors) {
    try {
        plainHandler("X::Y", Access::Reads, [] { throw std::logic_error("broken"); });
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), 51);
        EXPECT_EQ(error.source(), "X::Y");
        EXPECT_EQ(error.description(), "Internal error: broken");
    }
}

struct RetryCase {
    const char* name;
    RetryKind kind;
    std::int32_t number;
    int failures;      // how many times the statement fails before succeeding
    bool succeeds;     // the operation's outcome
    int expectedRuns;  // times the statement ran
    int expectedYields;
    const char* expectedSource;  // for a failure
};

class RetryTest : public HandlersTest, public ::testing::WithParamInterface<RetryCase> {};

TEST_P(RetryTest, RetriesTheFailingStatement) {
    const RetryCase& c = GetParam();
    int runs = 0;
    auto operation = [&] {
        return retryingHandler("clsMov::Insertar", c.kind, [&](RetryHandler& handler) {
            handler.statement([&] {
                ++runs;
                if (runs <= c.failures) throw Error(c.number, "raised here", "failure");
            });
            return true;
        });
    };
    if (c.succeeds) {
        EXPECT_TRUE(operation());
    } else {
        try {
            operation();
            FAIL() << "no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.number(), c.number);
            EXPECT_EQ(error.source(), c.expectedSource);
            EXPECT_EQ(error.description(), "failure");
        }
    }
    EXPECT_EQ(runs, c.expectedRuns);
    EXPECT_EQ(ui->yields, c.expectedYields);
}

INSTANTIATE_TEST_SUITE_P(
    Handlers, RetryTest,
    ::testing::Values(
        RetryCase{"SixFailuresThenSuccess", RetryKind::DatabaseErrors, errc::kTimeout, 6, true, 7,
                  6, ""},
        RetryCase{"SevenFailuresRaise", RetryKind::DatabaseErrors, errc::kTimeout, 7, false, 7, 6,
                  "clsMov::Insertar"},
        RetryCase{"OneFailure", RetryKind::DatabaseErrors, errc::kIntegrity, 1, true, 2, 1, ""},
        RetryCase{"CheckNotRetriedAndKeepsItsSource", RetryKind::DatabaseErrors, errc::kCheck, 1,
                  false, 1, 0, "raised here"},
        RetryCase{"EverythingRetriesChecks", RetryKind::Everything, errc::kCheck, 100, false, 7, 6,
                  "clsMov::Insertar"},
        RetryCase{"EverythingSucceedsAfterRetries", RetryKind::Everything, 1, 3, true, 4, 3, ""}),
    [](const auto& info) { return info.param.name; });

TEST_F(HandlersTest, TheCounterIsSharedByAllStatementsOfOneCall) {
    int first = 0;
    int second = 0;
    EXPECT_THROW(retryingHandler("clsMov::Eliminar", RetryKind::DatabaseErrors,
                                 [&](RetryHandler& handler) {
                                     handler.statement([&] {
                                         if (++first <= 4) throw kTimeout;
                                     });
                                     handler.statement([&] {
                                         if (++second <= 4) throw kTimeout;
                                     });
                                 }),
                 Error);
    EXPECT_EQ(first, 5);
    EXPECT_EQ(second, 3);  // two retries were left for the second statement
    EXPECT_EQ(ui->yields, 6);
}

TEST_F(HandlersTest, EachCallStartsWithAFreshCounter) {
    for (int call = 0; call < 3; ++call) {
        int runs = 0;
        EXPECT_TRUE(retryingHandler("clsMov::Puntear", RetryKind::DatabaseErrors,
                                    [&](RetryHandler& handler) {
                                        handler.statement([&] {
                                            if (++runs <= 6) throw kTimeout;
                                        });
                                        return true;
                                    }));
    }
    EXPECT_EQ(ui->yields, 18);
}

TEST_F(HandlersTest, ErrorsOutsideStatementsAreNotRetried) {
    try {
        retryingHandler("clsMov::Insertar", RetryKind::DatabaseErrors, [&](RetryHandler&) {
            throw Error(errc::kTimeout, "clsMov::Acumulados", "Query timeout expired");
        });
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.source(), "clsMov::Insertar");
    }
    EXPECT_EQ(ui->yields, 0);
}

TEST_F(HandlersTest, RaisingACheckThroughTheEverythingHandlerRepeatsIt) {
    try {
        retryingHandler("clsAsiento:Insertar", RetryKind::Everything, [&](RetryHandler& handler) {
            handler.raise(errc::kCheck, "Asientos::Insertar", "fuera de ejercicio");
        });
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.number(), errc::kCheck);
        EXPECT_EQ(error.source(), "clsAsiento:Insertar");
        EXPECT_EQ(error.description(), "fuera de ejercicio");
    }
    EXPECT_EQ(ui->yields, 6);
}

}  // namespace
}  // namespace kvlnmov
