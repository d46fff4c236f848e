#pragma once

// The error handlers every operation runs under.
//
// The plain handler raises any error again with the operation's source. The retrying handler
// (journal lines and entry headers) re-executes the statement that failed, after letting the
// application process its pending messages, until the operation's retry counter (one per
// operation call, shared by all its statements) has been used six times; the seventh failure
// of a statement reaches the caller with the operation's source. The library's own checks
// (error 1000) are not retried by the ordinary retrying handler and reach the caller with the
// source they were raised with; the entry-header class retries them like anything else.

#include <exception>
#include <string>
#include <type_traits>
#include <utility>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/core/library.h"

namespace kvlnmov {

/// Any exception as the library's error type (errors pass unchanged; anything else becomes
/// error 51 "Internal error" or 7 "Out of memory").
Error asError(std::exception_ptr failure);

/// Whether an operation changes the database.
enum class Access {
    Reads,
    /// The operation's statements run in one operation transaction of the library-wide
    /// connection (`db::Connection::beginOperation`): atomic against crashes and other
    /// writers, with the effects of a failing operation's earlier statements kept.
    Writes,
};

/// One library operation on the current thread: forgets the quoted texts noted by the
/// statements of the operations before it, and brackets a writing operation on the
/// library-wide connection held when it starts. Operations nest (an operation that calls
/// another); only the outermost one counts.
class OperationScope {
  public:
    explicit OperationScope(Access access);
    ~OperationScope();
    OperationScope(const OperationScope&) = delete;
    OperationScope& operator=(const OperationScope&) = delete;

    /// Ends the operation: the outermost writing operation commits its transaction. Raises
    /// when the commit fails.
    void end();
    /// Ends the operation after `failure` left its body: what its statements did is
    /// committed; when the commit itself fails, that error is raised instead (with the
    /// failure's source), since nothing of the operation then remains.
    [[noreturn]] void endAfter(const Error& failure);

  private:
    db::ConnectionRef connection_;
    bool ended_ = false;
};

/// Runs `body` as one operation under `scope` and returns its result; an error leaving it is
/// given to `raise`, which raises it for the caller.
template <class Body, class Raise>
auto runOperation(OperationScope& scope, Body&& body, Raise&& raise) -> std::invoke_result_t<Body> {
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
            std::forward<Body>(body)();
            scope.end();
        } else {
            auto result = std::forward<Body>(body)();
            scope.end();
            return result;
        }
    } catch (...) {
        scope.endAfter(raise(asError(std::current_exception())));
    }
}

/// Runs `body` under the plain handler: an error leaving it is raised again with the same
/// number and description and the source `source`.
template <class Body>
auto plainHandler(const std::string& source, Access access, Body&& body)
    -> std::invoke_result_t<Body> {
    OperationScope scope(access);
    return runOperation(scope, std::forward<Body>(body),
                        [&](const Error& failure) { return failure.withSource(source); });
}

/// Which errors the retrying handler re-executes.
enum class RetryKind {
    /// Every error except the library's own checks (number 1000), which pass unchanged.
    DatabaseErrors,
    /// Every error, checks included (the entry-header class).
    Everything,
};

/// The retry counter and policy of one operation call.
class RetryHandler {
  public:
    static constexpr int kMaxRetries = 6;

    RetryHandler(std::string source, RetryKind kind) : source_(std::move(source)), kind_(kind) {}

    /// Runs one statement of the operation. When it fails and the handler allows another
    /// attempt, counts it, yields to the application and runs the statement again; otherwise
    /// raises the error with the operation's source.
    template <class Statement>
    auto statement(Statement&& run) -> std::invoke_result_t<Statement> {
        for (;;) {
            try {
                return run();
            } catch (...) {
                retryOrRaise(asError(std::current_exception()));
            }
        }
    }

    /// Raises error `number` of the operation's own checks through the handler (so that the
    /// entry-header class repeats it like any other failing statement).
    [[noreturn]] void raise(std::int32_t number, const std::string& checkSource,
                            const std::string& description);

    const std::string& source() const { return source_; }
    int retries() const { return retries_; }

    /// The error as the operation raises it to its caller: checks unchanged under
    /// `DatabaseErrors`, anything else with the operation's source.
    Error forCaller(const Error& failure) const;

  private:
    /// Returns after counting a retry and yielding; raises `failure` for the caller when no
    /// retry is left or allowed.
    void retryOrRaise(const Error& failure);

    std::string source_;
    RetryKind kind_;
    int retries_ = 0;
};

/// Runs `body(handler)` under a retrying handler. Statements inside go through
/// `handler.statement(...)`; an error raised outside a statement (for example by another
/// operation the body calls, which has already had its own retries, so that running it again
/// could apply its first statements twice) is raised again at once, as `forCaller` says.
///
/// Every operation under this handler writes (journal lines and entry headers).
template <class Body>
auto retryingHandler(const std::string& source, RetryKind kind, Body&& body)
    -> std::invoke_result_t<Body, RetryHandler&> {
    OperationScope scope(Access::Writes);
    RetryHandler handler(source, kind);
    return runOperation(
        scope, [&] { return std::forward<Body>(body)(handler); },
        [&](const Error& failure) { return handler.forCaller(failure); });
}

}  // namespace kvlnmov
