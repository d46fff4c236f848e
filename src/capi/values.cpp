// Values across the C interface: variants, dates, texts and errors.

#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

#include "capi/handles.h"

namespace kvlnmov::capi {

namespace {

/// A malloc'd copy for an error's texts: nullptr rather than an exception when memory is out,
/// since reporting must not fail.
char* copyOrNull(std::string_view text) noexcept {
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (!copy) return nullptr;
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

void fill(kvlnmov_error* error, std::int32_t number, std::string_view source,
          std::string_view description, std::int32_t nativeError) noexcept {
    if (!error) return;
    kvlnmov_error_clear(error);
    error->number = number;
    error->native_error = nativeError;
    error->source = copyOrNull(source);
    error->description = copyOrNull(description);
}

// A variant of `type` whose union member `member` holds `value`.
using VariantValue = decltype(kvlnmov_variant::value);
template <class T>
kvlnmov_variant typed(kvlnmov_type type, T VariantValue::*member, T value) {
    kvlnmov_variant v = kvlnmov_empty();
    v.type = type;
    v.value.*member = value;
    return v;
}

}  // namespace

kvlnmov_object* newHandle(ObjectRef object) {
    if (!object) return nullptr;
    return new kvlnmov_object{std::move(object)};
}

Object& objectOf(kvlnmov_object* handle) {
    if (!handle || !handle->ref) throw objectRequired();
    return *handle->ref;
}

Error invalidArgument() {
    return Error(errc::kInvalidProcedureCall, kRuntimeSource, "Invalid procedure call or argument");
}

std::string_view textArgument(const char* text) {
    if (!text) throw invalidArgument();
    return text;
}

char* copyText(std::string_view text) {
    char* copy = copyOrNull(text);
    if (!copy) throw std::bad_alloc();
    return copy;
}

Date toDate(const kvlnmov_date& fields) {
    return Date::ymd(fields.year, fields.month, fields.day)
        .withTime(fields.hour, fields.minute, fields.second, fields.millisecond);
}

kvlnmov_date toFields(Date date) {
    kvlnmov_date fields;
    fields.year = date.year();
    fields.month = date.month();
    fields.day = date.day();
    fields.hour = date.hour();
    fields.minute = date.minute();
    fields.second = date.second();
    fields.millisecond = date.millisecond();
    return fields;
}

Variant toVariant(const kvlnmov_variant& value) {
    switch (value.type) {
        case KVLNMOV_EMPTY:
            return Variant();
        case KVLNMOV_NULL:
            return Variant::null();
        case KVLNMOV_BOOLEAN:
            return Variant(value.value.boolean != 0);
        case KVLNMOV_BYTE:
            return Variant(value.value.byte);
        case KVLNMOV_INTEGER:
            return Variant(value.value.integer);
        case KVLNMOV_LONG:
            return Variant(value.value.long_value);
        case KVLNMOV_CURRENCY:
            return Variant(Currency::fromRaw(value.value.currency));
        case KVLNMOV_DOUBLE:
            return Variant(value.value.real);
        case KVLNMOV_DATE:
            return Variant(toDate(value.value.date));
        case KVLNMOV_STRING:
            return Variant(std::string(textArgument(value.value.text)));
        case KVLNMOV_OBJECT:
            return Variant(value.value.object ? value.value.object->ref : ObjectRef());
        default:
            throw invalidArgument();
    }
}

void fromVariant(const Variant& value, kvlnmov_variant& out) {
    kvlnmov_variant result;
    std::memset(&result, 0, sizeof result);
    switch (value.type()) {
        case VariantType::Empty:
            result.type = KVLNMOV_EMPTY;
            break;
        case VariantType::Null:
            result.type = KVLNMOV_NULL;
            break;
        case VariantType::Boolean:
            result.type = KVLNMOV_BOOLEAN;
            result.value.boolean = value.toBoolean() ? 1 : 0;
            break;
        case VariantType::Byte:
            result.type = KVLNMOV_BYTE;
            result.value.byte = value.toByte();
            break;
        case VariantType::Integer:
            result.type = KVLNMOV_INTEGER;
            result.value.integer = value.toInteger();
            break;
        case VariantType::Long:
            result.type = KVLNMOV_LONG;
            result.value.long_value = value.toLong();
            break;
        case VariantType::Currency:
            result.type = KVLNMOV_CURRENCY;
            result.value.currency = value.toCurrency().raw();
            break;
        case VariantType::Double:
            result.type = KVLNMOV_DOUBLE;
            result.value.real = value.toDouble();
            break;
        case VariantType::Date:
            result.type = KVLNMOV_DATE;
            result.value.date = toFields(value.toDate());
            break;
        case VariantType::String:
            result.type = KVLNMOV_STRING;
            result.value.text = copyText(std::get<std::string>(value.raw()));
            break;
        case VariantType::Object:
            result.type = KVLNMOV_OBJECT;
            result.value.object = newHandle(value.toObject());
            break;
    }
    out = result;
}

void reportSuccess(kvlnmov_error* error) {
    if (!error) return;
    kvlnmov_error_clear(error);
}

void reportError(kvlnmov_error* error, const Error& raised) {
    fill(error, raised.number(), raised.source(), raised.description(), raised.nativeError());
}

void reportCurrentException(kvlnmov_error* error) {
    try {
        throw;
    } catch (const Error& raised) {
        reportError(error, raised);
    } catch (const std::bad_alloc&) {
        fill(error, 7, kRuntimeSource, "Out of memory", 0);
    } catch (const std::exception& other) {
        fill(error, errc::kProviderGeneric, kRuntimeSource, other.what(), 0);
    } catch (...) {
        fill(error, errc::kProviderGeneric, kRuntimeSource, "Unknown failure", 0);
    }
}

}  // namespace kvlnmov::capi

using kvlnmov::capi::guarded;
using kvlnmov::capi::typed;
using kvlnmov::capi::VariantValue;

extern "C" {

void kvlnmov_error_clear(kvlnmov_error* error) {
    if (!error) return;
    std::free(error->source);
    std::free(error->description);
    error->number = 0;
    error->native_error = 0;
    error->source = nullptr;
    error->description = nullptr;
}

void kvlnmov_free(void* text) { std::free(text); }

void kvlnmov_variant_clear(kvlnmov_variant* value) {
    if (!value) return;
    if (value->type == KVLNMOV_STRING) {
        std::free(const_cast<char*>(value->value.text));
    } else if (value->type == KVLNMOV_OBJECT) {
        kvlnmov_release(value->value.object);
    }
    std::memset(value, 0, sizeof *value);
    value->type = KVLNMOV_EMPTY;
}

kvlnmov_variant kvlnmov_empty(void) {
    kvlnmov_variant v;
    std::memset(&v, 0, sizeof v);
    v.type = KVLNMOV_EMPTY;
    return v;
}

kvlnmov_variant kvlnmov_null(void) {
    kvlnmov_variant v = kvlnmov_empty();
    v.type = KVLNMOV_NULL;
    return v;
}

kvlnmov_variant kvlnmov_boolean(int value) {
    return typed<int32_t>(KVLNMOV_BOOLEAN, &VariantValue::boolean, value ? 1 : 0);
}
kvlnmov_variant kvlnmov_byte(uint8_t value) { return typed(KVLNMOV_BYTE, &VariantValue::byte, value); }
kvlnmov_variant kvlnmov_integer(int16_t value) {
    return typed(KVLNMOV_INTEGER, &VariantValue::integer, value);
}
kvlnmov_variant kvlnmov_long(int32_t value) {
    return typed(KVLNMOV_LONG, &VariantValue::long_value, value);
}
kvlnmov_variant kvlnmov_currency(int64_t ten_thousandths) {
    return typed(KVLNMOV_CURRENCY, &VariantValue::currency, ten_thousandths);
}
kvlnmov_variant kvlnmov_double(double value) { return typed(KVLNMOV_DOUBLE, &VariantValue::real, value); }

kvlnmov_variant kvlnmov_date_time(int32_t year, int32_t month, int32_t day, int32_t hour,
                                  int32_t minute, int32_t second) {
    kvlnmov_variant v = kvlnmov_empty();
    v.type = KVLNMOV_DATE;
    v.value.date = kvlnmov_date{year, month, day, hour, minute, second, 0};
    return v;
}

kvlnmov_variant kvlnmov_date_value(int32_t year, int32_t month, int32_t day) {
    return kvlnmov_date_time(year, month, day, 0, 0, 0);
}

kvlnmov_variant kvlnmov_text(const char* utf8) {
    kvlnmov_variant v = kvlnmov_empty();
    v.type = KVLNMOV_STRING;
    v.value.text = utf8;
    return v;
}

kvlnmov_variant kvlnmov_object_value(kvlnmov_object* object) {
    kvlnmov_variant v = kvlnmov_empty();
    v.type = KVLNMOV_OBJECT;
    v.value.object = object;
    return v;
}

kvlnmov_status kvlnmov_date_to_serial(const kvlnmov_date* date, int32_t* serial,
                                      int32_t* millisecond_of_day, kvlnmov_error* error) {
    return guarded(error, [&] {
        if (!date || !serial) throw kvlnmov::capi::invalidArgument();
        kvlnmov::Date value = kvlnmov::capi::toDate(*date);
        *serial = value.serial();
        if (millisecond_of_day) *millisecond_of_day = value.millisecondOfDay();
    });
}

kvlnmov_status kvlnmov_date_from_serial(int32_t serial, int32_t millisecond_of_day,
                                        kvlnmov_date* date, kvlnmov_error* error) {
    return guarded(error, [&] {
        if (!date) throw kvlnmov::capi::invalidArgument();
        *date = kvlnmov::capi::toFields(kvlnmov::Date::fromSerial(serial, millisecond_of_day));
    });
}

}  // extern "C"
