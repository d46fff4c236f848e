#include "kvlnmov/core/handlers.h"

#include <new>

#include "kvlnmov/frame/quoted_values.h"

namespace kvlnmov {

Error asError(std::exception_ptr failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const Error& error) {
        return error;
    } catch (const std::bad_alloc&) {
        return Error(7, kRuntimeSource, "Out of memory");
    } catch (const std::exception& other) {
        return Error(51, kRuntimeSource, std::string("Internal error: ") + other.what());
    } catch (...) {
        return Error(51, kRuntimeSource, "Internal error");
    }
}

namespace {

/// Library operations running on this thread (an operation may call another).
thread_local int operationsRunning = 0;

}  // namespace

OperationScope::OperationScope(Access access) {
    if (operationsRunning++ == 0) quoted::forget();
    if (access == Access::Writes) {
        connection_ = sharedConnection();
        if (connection_) connection_->beginOperation();
    }
}

OperationScope::~OperationScope() {
    if (ended_) return;
    // Left without `end` (only by an exception that `endAfter` did not see): commit what ran,
    // as the statements committed one by one would have.
    try {
        end();
    } catch (...) {
        // The exception already leaving the operation is the one its caller gets.
    }
}

void OperationScope::end() {
    if (ended_) return;
    ended_ = true;
    if (--operationsRunning == 0) quoted::forget();
    if (connection_) connection_->endOperation();
}

void OperationScope::endAfter(const Error& failure) {
    try {
        end();
    } catch (...) {
        throw asError(std::current_exception()).withSource(failure.source());
    }
    throw failure;
}

Error RetryHandler::forCaller(const Error& failure) const {
    if (kind_ == RetryKind::DatabaseErrors && failure.number() == errc::kCheck) return failure;
    return failure.withSource(source_);
}

void RetryHandler::retryOrRaise(const Error& failure) {
    bool retryable = kind_ == RetryKind::Everything || failure.number() != errc::kCheck;
    if (!retryable || retries_ >= kMaxRetries) throw forCaller(failure);
    ++retries_;
    userInterface().yield();
}

void RetryHandler::raise(std::int32_t number, const std::string& checkSource,
                         const std::string& description) {
    statement([&] { throw Error(number, checkSource, description); });
    throw Error(number, checkSource, description);  // not reached: the statement always fails
}

}  // namespace kvlnmov
