// Late binding through the C interface: objects by ProgID, members by name, the listing of
// the registered classes, and the library-wide calls.

#include "kvlnmov/version.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "capi/handles.h"
#include "kvlnmov/core/library.h"
#include "kvlnmov/registration/registry.h"

namespace kvlnmov::capi {

namespace {

using registration::ValueKind;

std::vector<Variant> toVariants(const kvlnmov_variant* values, std::size_t count) {
    if (count > 0 && !values) throw invalidArgument();
    std::vector<Variant> converted;
    converted.reserve(count);
    for (std::size_t i = 0; i < count; ++i) converted.push_back(toVariant(values[i]));
    return converted;
}

void setEmpty(kvlnmov_variant* result) {
    if (result) *result = kvlnmov_empty();
}

std::int32_t kindOf(ValueKind kind) {
    switch (kind) {
        case ValueKind::Void:
            return KVLNMOV_VOID;
        case ValueKind::Boolean:
            return KVLNMOV_BOOLEAN;
        case ValueKind::Byte:
            return KVLNMOV_BYTE;
        case ValueKind::Integer:
            return KVLNMOV_INTEGER;
        case ValueKind::Long:
            return KVLNMOV_LONG;
        case ValueKind::Currency:
            return KVLNMOV_CURRENCY;
        case ValueKind::Double:
            return KVLNMOV_DOUBLE;
        case ValueKind::Date:
            return KVLNMOV_DATE;
        case ValueKind::String:
            return KVLNMOV_STRING;
        case ValueKind::Object:
            return KVLNMOV_OBJECT;
        case ValueKind::Variant:
            return KVLNMOV_VARIANT;
    }
    return KVLNMOV_VARIANT;
}

/// Zeroed storage for `count` C records (nullptr for none), freed with std::free.
template <class T>
T* allocateRecords(std::size_t count) {
    if (count == 0) return nullptr;
    void* memory = std::calloc(count, sizeof(T));
    if (!memory) throw std::bad_alloc();
    return static_cast<T*>(memory);
}

void freeClass(kvlnmov_class_info& info) {
    std::free(info.prog_id);
    std::free(info.name);
    for (std::size_t i = 0; i < info.property_count; ++i) std::free(info.properties[i].name);
    std::free(info.properties);
    for (std::size_t i = 0; i < info.method_count; ++i) {
        kvlnmov_method_info& method = info.methods[i];
        std::free(method.name);
        for (std::size_t p = 0; p < method.parameter_count; ++p)
            std::free(method.parameters[p].name);
        std::free(method.parameters);
    }
    std::free(info.methods);
}

/// Fills a zeroed record; what it allocated before a failure is still reachable from it.
void describeClass(const std::string& progId, const registration::ClassInfo& info,
                   kvlnmov_class_info& out) {
    out.prog_id = copyText(progId);
    out.name = copyText(info.name);
    out.properties = allocateRecords<kvlnmov_property_info>(info.properties.size());
    for (const auto& [name, property] : info.properties) {
        kvlnmov_property_info& record = out.properties[out.property_count];
        record.name = copyText(name);
        ++out.property_count;
        record.kind = kindOf(property.kind);
        record.index_count = property.indexCount;
        record.readable = property.get ? 1 : 0;
        record.writable = property.put ? 1 : 0;
    }
    out.methods = allocateRecords<kvlnmov_method_info>(info.methods.size());
    for (const auto& [name, method] : info.methods) {
        kvlnmov_method_info& record = out.methods[out.method_count];
        record.name = copyText(name);
        ++out.method_count;
        record.result = kindOf(method.result);
        record.parameters = allocateRecords<kvlnmov_parameter_info>(method.parameters.size());
        for (const auto& parameter : method.parameters) {
            kvlnmov_parameter_info& item = record.parameters[record.parameter_count];
            item.name = copyText(parameter.name);
            ++record.parameter_count;
            item.kind = kindOf(parameter.kind);
            item.optional = parameter.optional ? 1 : 0;
        }
    }
}

}  // namespace

}  // namespace kvlnmov::capi

using kvlnmov::capi::guarded;
using kvlnmov::capi::objectOf;
using kvlnmov::capi::textArgument;

extern "C" {

const char* kvlnmov_version(void) { return KVLNMOV_VERSION_STRING; }

void kvlnmov_reset(void) { kvlnmov::resetLibrary(); }

void kvlnmov_release(kvlnmov_object* object) { delete object; }

kvlnmov_object* kvlnmov_retain(kvlnmov_object* object) {
    if (!object) return nullptr;
    return new (std::nothrow) kvlnmov_object{object->ref};
}

int kvlnmov_same_object(const kvlnmov_object* a, const kvlnmov_object* b) {
    if (!a || !b) return a == b ? 1 : 0;
    return a->ref == b->ref ? 1 : 0;
}

kvlnmov_status kvlnmov_class_name(kvlnmov_object* object, char** name, kvlnmov_error* error) {
    if (name) *name = nullptr;
    return guarded(error, [&] {
        if (!name) throw kvlnmov::capi::invalidArgument();
        *name = kvlnmov::capi::copyText(objectOf(object).className());
    });
}

kvlnmov_status kvlnmov_create(const char* prog_id, kvlnmov_object** object, kvlnmov_error* error) {
    if (object) *object = nullptr;
    return guarded(error, [&] {
        if (!object) throw kvlnmov::capi::invalidArgument();
        kvlnmov::ObjectRef created = kvlnmov::registration::CreateObject(textArgument(prog_id));
        *object = kvlnmov::capi::newHandle(std::move(created));
    });
}

kvlnmov_status kvlnmov_get(kvlnmov_object* object, const char* name, const kvlnmov_variant* index,
                           size_t index_count, kvlnmov_variant* result, kvlnmov_error* error) {
    kvlnmov::capi::setEmpty(result);
    return guarded(error, [&] {
        if (!result) throw kvlnmov::capi::invalidArgument();
        kvlnmov::Object& target = objectOf(object);
        std::string_view member = textArgument(name);
        auto indexes = kvlnmov::capi::toVariants(index, index_count);
        kvlnmov::Variant value = kvlnmov::registration::getProperty(target, member, indexes);
        kvlnmov::capi::fromVariant(value, *result);
    });
}

kvlnmov_status kvlnmov_put(kvlnmov_object* object, const char* name, const kvlnmov_variant* index,
                           size_t index_count, const kvlnmov_variant* value, kvlnmov_error* error) {
    return guarded(error, [&] {
        if (!value) throw kvlnmov::capi::invalidArgument();
        kvlnmov::Object& target = objectOf(object);
        std::string_view member = textArgument(name);
        auto indexes = kvlnmov::capi::toVariants(index, index_count);
        kvlnmov::registration::putProperty(target, member, kvlnmov::capi::toVariant(*value),
                                           indexes);
    });
}

kvlnmov_status kvlnmov_invoke(kvlnmov_object* object, const char* name,
                              const kvlnmov_variant* arguments, size_t count,
                              kvlnmov_variant* result, kvlnmov_error* error) {
    kvlnmov::capi::setEmpty(result);
    return guarded(error, [&] {
        kvlnmov::Object& target = objectOf(object);
        std::string_view member = textArgument(name);
        auto values = kvlnmov::capi::toVariants(arguments, count);
        kvlnmov::Variant returned = kvlnmov::registration::invoke(target, member, values);
        if (result) kvlnmov::capi::fromVariant(returned, *result);
    });
}

kvlnmov_status kvlnmov_registered_classes(kvlnmov_class_info** classes, size_t* count,
                                          kvlnmov_error* error) {
    if (classes) *classes = nullptr;
    if (count) *count = 0;
    return guarded(error, [&] {
        if (!classes || !count) throw kvlnmov::capi::invalidArgument();
        std::vector<std::string> progIds = kvlnmov::registration::registeredProgIds();
        auto* records = kvlnmov::capi::allocateRecords<kvlnmov_class_info>(progIds.size());
        std::size_t filled = 0;
        try {
            for (const std::string& progId : progIds) {
                const auto* info = kvlnmov::registration::findClass(progId);
                if (!info) continue;
                ++filled;
                kvlnmov::capi::describeClass(progId, *info, records[filled - 1]);
            }
        } catch (...) {
            kvlnmov_classes_free(records, filled);
            throw;
        }
        *classes = records;
        *count = filled;
    });
}

void kvlnmov_classes_free(kvlnmov_class_info* classes, size_t count) {
    if (!classes) return;
    for (std::size_t i = 0; i < count; ++i) kvlnmov::capi::freeClass(classes[i]);
    std::free(classes);
}

}  // extern "C"
