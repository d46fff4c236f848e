#include "kvlnmov/frame/handlers.h"

#include <new>

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
