#include "kvlnmov/frame/error.h"

namespace kvlnmov {

Error::Error(std::int32_t number, std::string source, std::string description,
             std::int32_t nativeError)
    : std::runtime_error(description),
      number_(number),
      source_(std::move(source)),
      description_(std::move(description)),
      nativeError_(nativeError) {}

Error Error::withSource(std::string source) const {
    return Error(number_, std::move(source), description_, nativeError_);
}

Error typeMismatch() { return Error(errc::kTypeMismatch, kRuntimeSource, "Type mismatch"); }

Error invalidUseOfNull() {
    return Error(errc::kInvalidUseOfNull, kRuntimeSource, "Invalid use of Null");
}

Error overflow() { return Error(errc::kOverflow, kRuntimeSource, "Overflow"); }

Error objectRequired() {
    return Error(errc::kObjectRequired, kRuntimeSource,
                 "Object variable or With block variable not set");
}

Error subscriptOutOfRange() {
    return Error(errc::kSubscriptOutOfRange, kRuntimeSource, "Subscript out of range");
}

}  // namespace kvlnmov
