#include "kvlnmov/registration/registry.h"

#include <algorithm>
#include <cctype>
#include <mutex>

#include "kvlnmov/frame/text.h"

namespace kvlnmov::registration {

namespace {

constexpr std::string_view kLibraryPrefix = "KVLNMOV.";

std::map<std::string, ClassInfo, NameLess>& classes() {
    static std::map<std::string, ClassInfo, NameLess> registry;
    return registry;
}

void ensureRegistered() {
    static std::once_flag once;
    std::call_once(once, [] { registerLibraryClasses(); });
}

Error memberNotFound() {
    return Error(errc::kMemberNotFound, kRuntimeSource,
                 "Object doesn't support this property or method");
}

}  // namespace

bool NameLess::operator()(std::string_view a, std::string_view b) const {
    return text::lessIgnoringCase(a, b);
}

void registerClass(ClassInfo info) {
    std::string key = std::string(kLibraryPrefix) + info.name;
    classes()[key] = std::move(info);
}

const ClassInfo* findClass(std::string_view progId) {
    ensureRegistered();
    auto found = classes().find(progId);
    return found == classes().end() ? nullptr : &found->second;
}

std::vector<std::string> registeredProgIds() {
    ensureRegistered();
    std::vector<std::string> names;
    for (const auto& [progId, info] : classes()) names.push_back(progId);
    return names;
}

ObjectRef CreateObject(std::string_view progId) {
    const ClassInfo* info = findClass(progId);
    if (!info) {
        throw Error(errc::kCantCreateObject, kRuntimeSource,
                    "ActiveX component can't create object");
    }
    return info->create();
}

const ClassInfo& classOf(const Object& object) {
    const ClassInfo* info = findClass(std::string(kLibraryPrefix) + object.className());
    if (!info) throw memberNotFound();
    return *info;
}

Variant getProperty(Object& object, std::string_view name, const std::vector<Variant>& index) {
    const ClassInfo& info = classOf(object);
    auto property = info.properties.find(name);
    if (property == info.properties.end()) {
        // A method without arguments can be read like a property.
        auto method = info.methods.find(name);
        if (method != info.methods.end() && index.empty()) {
            return method->second.invoke(object, {});
        }
        throw memberNotFound();
    }
    if (!property->second.get) {
        throw Error(451, kRuntimeSource,
                    "Property let procedure not defined and property get procedure did not "
                    "return an object");
    }
    if (index.size() != static_cast<std::size_t>(property->second.indexCount)) {
        throw Error(450, kRuntimeSource,
                    "Wrong number of arguments or invalid property assignment");
    }
    return property->second.get(object, index);
}

void putProperty(Object& object, std::string_view name, const Variant& value,
                 const std::vector<Variant>& index) {
    const ClassInfo& info = classOf(object);
    auto property = info.properties.find(name);
    if (property == info.properties.end()) throw memberNotFound();
    if (!property->second.put) throw Error(383, kRuntimeSource, "Property is read-only");
    if (index.size() != static_cast<std::size_t>(property->second.indexCount)) {
        throw Error(450, kRuntimeSource,
                    "Wrong number of arguments or invalid property assignment");
    }
    property->second.put(object, index, value);
}

Variant invoke(Object& object, std::string_view name, const std::vector<Variant>& arguments) {
    const ClassInfo& info = classOf(object);
    auto method = info.methods.find(name);
    if (method == info.methods.end()) throw memberNotFound();
    return method->second.invoke(object, arguments);
}

}  // namespace kvlnmov::registration
