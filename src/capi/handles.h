#pragma once

// What stands behind the C interface's handles, and the conversions every entry point
// shares: variants both ways, dates, the error out-parameter and the guard that keeps C++
// exceptions inside the library.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kvlnmov/frame/date.h"
#include "kvlnmov/frame/error.h"
#include "kvlnmov/frame/object.h"
#include "kvlnmov/frame/variant.h"
#include "kvlnmov/kvlnmov.h"

/// One counted reference to a library object, handed out as `kvlnmov_object*`.
struct kvlnmov_object {
    kvlnmov::ObjectRef ref;
};

namespace kvlnmov::capi {

/// A new handle on `object` (nullptr stays nullptr).
kvlnmov_object* newHandle(ObjectRef object);

/// The object behind a handle; raises 91 for a null handle.
Object& objectOf(kvlnmov_object* handle);
/// The object behind a handle as class `T`; raises 91 for a null handle and 13 "Type mismatch"
/// for an object of another class.
template <class T>
std::shared_ptr<T> objectAs(kvlnmov_object* handle) {
    if (!handle || !handle->ref) throw objectRequired();
    auto typed = std::dynamic_pointer_cast<T>(handle->ref);
    if (!typed) throw typeMismatch();
    return typed;
}

/// A text argument; raises 5 "Invalid procedure call or argument" for a null pointer.
std::string_view textArgument(const char* text);
/// Error 5, for arguments the interface cannot take.
Error invalidArgument();

/// A copy of `text` the caller frees with kvlnmov_free (throws std::bad_alloc).
char* copyText(std::string_view text);

Date toDate(const kvlnmov_date& fields);
kvlnmov_date toFields(Date date);

/// The library's value for a variant passed in.
Variant toVariant(const kvlnmov_variant& value);
/// Fills `out` with `value` (a new text or a new handle the caller owns).
void fromVariant(const Variant& value, kvlnmov_variant& out);

/// Runs `body`, reporting what it raises in `error` as the C interface promises.
template <class Body>
kvlnmov_status guarded(kvlnmov_error* error, Body&& body);

void reportSuccess(kvlnmov_error* error);
void reportError(kvlnmov_error* error, const Error& raised);
/// Reports the exception being handled (inside a catch block).
void reportCurrentException(kvlnmov_error* error);

template <class Body>
kvlnmov_status guarded(kvlnmov_error* error, Body&& body) {
    try {
        body();
        reportSuccess(error);
        return KVLNMOV_OK;
    } catch (...) {
        reportCurrentException(error);
        return KVLNMOV_FAILED;
    }
}

}  // namespace kvlnmov::capi
