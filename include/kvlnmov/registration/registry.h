#pragma once

// Late binding: classes are created by name ("KVLNMOV.clsMov") and their properties and
// operations are reached by name with Variant values, the way a scripting host or a
// late-bound caller drives the library. Each public class registers its members here.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "kvlnmov/frame/error.h"
#include "kvlnmov/frame/object.h"
#include "kvlnmov/frame/variant.h"

namespace kvlnmov::registration {

/// Declared type of a property, parameter or result.
enum class ValueKind {
    Void,
    Boolean,
    Byte,
    Integer,
    Long,
    Currency,
    Double,
    Date,
    String,
    Object,
    Variant
};

/// Case-insensitive ordering of member and class names.
struct NameLess {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
};

struct Parameter {
    std::string name;
    ValueKind kind = ValueKind::Variant;
    bool optional = false;
};

/// A property: getter and/or setter over `indexCount` index arguments (0 or 1).
struct PropertyInfo {
    ValueKind kind = ValueKind::Variant;
    int indexCount = 0;
    std::function<Variant(Object&, const std::vector<Variant>&)> get;
    std::function<void(Object&, const std::vector<Variant>&, const Variant&)> put;
};

struct MethodInfo {
    std::vector<Parameter> parameters;
    ValueKind result = ValueKind::Void;
    std::function<Variant(Object&, const std::vector<Variant>&)> invoke;
};

struct ClassInfo {
    std::string name;  ///< "clsMov"
    std::function<ObjectRef()> create;
    std::map<std::string, PropertyInfo, NameLess> properties;
    std::map<std::string, MethodInfo, NameLess> methods;
};

/// Adds (or replaces) a class in the registry under "KVLNMOV." + its name.
void registerClass(ClassInfo info);
/// The class registered under `progId` ("KVLNMOV.clsMov", any case), or nullptr.
const ClassInfo* findClass(std::string_view progId);
/// The ProgIDs of every registered class ("KVLNMOV.clsMov", ...), in name order.
std::vector<std::string> registeredProgIds();
/// Creates an object by ProgID; an unknown ProgID raises error 429 "ActiveX component can't
/// create object".
ObjectRef CreateObject(std::string_view progId);

/// The registration of an object's class; raises 438 when the class is not registered.
const ClassInfo& classOf(const Object& object);
/// Reads property `name` (with its index arguments). Unknown members raise 438 "Object
/// doesn't support this property or method"; a write-only property raises 451 "Property let
/// procedure not defined and property get procedure did not return an object".
Variant getProperty(Object& object, std::string_view name, const std::vector<Variant>& index = {});
/// Writes property `name`. A read-only property raises 383 "Property is read-only".
void putProperty(Object& object, std::string_view name, const Variant& value,
                 const std::vector<Variant>& index = {});
/// Calls operation `name`. Too many arguments raise 450 "Wrong number of arguments or invalid
/// property assignment"; a missing required one 449 "Argument not optional". Arguments are
/// converted by each parameter's declared type (error 13 when they cannot be).
Variant invoke(Object& object, std::string_view name, const std::vector<Variant>& arguments);

/// Registers every public class of the library (done once, before the first lookup).
void registerLibraryClasses();

// ---------------------------------------------------------------------------------------
// Typed registration helpers.

template <class T, class = void>
struct ValueTraits;

template <>
struct ValueTraits<bool> {
    static constexpr ValueKind kind = ValueKind::Boolean;
    static bool from(const Variant& v) { return v.toBoolean(); }
    static Variant to(bool v) { return Variant(v); }
};
template <>
struct ValueTraits<std::uint8_t> {
    static constexpr ValueKind kind = ValueKind::Byte;
    static std::uint8_t from(const Variant& v) { return v.toByte(); }
    static Variant to(std::uint8_t v) { return Variant(v); }
};
template <>
struct ValueTraits<std::int16_t> {
    static constexpr ValueKind kind = ValueKind::Integer;
    static std::int16_t from(const Variant& v) { return v.toInteger(); }
    static Variant to(std::int16_t v) { return Variant(v); }
};
template <>
struct ValueTraits<std::int32_t> {
    static constexpr ValueKind kind = ValueKind::Long;
    static std::int32_t from(const Variant& v) { return v.toLong(); }
    static Variant to(std::int32_t v) { return Variant(v); }
};
template <>
struct ValueTraits<Currency> {
    static constexpr ValueKind kind = ValueKind::Currency;
    static Currency from(const Variant& v) { return v.toCurrency(); }
    static Variant to(Currency v) { return Variant(v); }
};
template <>
struct ValueTraits<double> {
    static constexpr ValueKind kind = ValueKind::Double;
    static double from(const Variant& v) { return v.toDouble(); }
    static Variant to(double v) { return Variant(v); }
};
template <>
struct ValueTraits<Date> {
    static constexpr ValueKind kind = ValueKind::Date;
    static Date from(const Variant& v) { return v.toDate(); }
    static Variant to(Date v) { return Variant(v); }
};
template <>
struct ValueTraits<std::string> {
    static constexpr ValueKind kind = ValueKind::String;
    static std::string from(const Variant& v) { return v.toText(); }
    static Variant to(std::string v) { return Variant(std::move(v)); }
};
template <>
struct ValueTraits<Variant> {
    static constexpr ValueKind kind = ValueKind::Variant;
    static Variant from(const Variant& v) { return v; }
    static Variant to(Variant v) { return v; }
};
/// Enumerations travel as Long.
template <class E>
struct ValueTraits<E, std::enable_if_t<std::is_enum_v<E>>> {
    static constexpr ValueKind kind = ValueKind::Long;
    static E from(const Variant& v) { return static_cast<E>(v.toLong()); }
    static Variant to(E v) { return Variant(static_cast<std::int32_t>(v)); }
};
/// Objects travel as references; a reference of another class raises error 13.
template <class T>
struct ValueTraits<std::shared_ptr<T>, std::enable_if_t<std::is_base_of_v<Object, T>>> {
    static constexpr ValueKind kind = ValueKind::Object;
    static std::shared_ptr<T> from(const Variant& v) {
        ObjectRef held = v.toObject();
        if (!held) return nullptr;
        auto typed = std::dynamic_pointer_cast<T>(held);
        if (!typed) throw typeMismatch();
        return typed;
    }
    static Variant to(std::shared_ptr<T> v) { return Variant(ObjectRef(std::move(v))); }
};

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {
    using Inner = T;
};

/// Converts argument i of a call (missing arguments give nullopt for optional parameters).
template <class T>
T argumentAs(const std::vector<Variant>& arguments, std::size_t i) {
    if constexpr (IsOptional<T>::value) {
        using Inner = typename IsOptional<T>::Inner;
        if (i >= arguments.size() || arguments[i].isEmpty()) return std::nullopt;
        return ValueTraits<Inner>::from(arguments[i]);
    } else {
        if (i >= arguments.size()) {
            throw Error(errc::kArgumentNotOptional, kRuntimeSource, "Argument not optional");
        }
        return ValueTraits<std::decay_t<T>>::from(arguments[i]);
    }
}

template <class T>
Parameter parameterOf(std::string name) {
    if constexpr (IsOptional<T>::value) {
        return {std::move(name), ValueTraits<typename IsOptional<T>::Inner>::kind, true};
    } else {
        return {std::move(name), ValueTraits<std::decay_t<T>>::kind, false};
    }
}

/// Builds the registration of class `C` member by member.
template <class C>
class ClassBuilder {
  public:
    explicit ClassBuilder(std::string name) {
        info_.name = std::move(name);
        info_.create = [] { return ObjectRef(std::make_shared<C>()); };
    }

    /// A read/write property.
    template <class T>
    ClassBuilder& property(const std::string& name, T (C::*get)() const, void (C::*set)(T)) {
        return add<T>(name, get, set);
    }
    template <class T>
    ClassBuilder& readOnly(const std::string& name, T (C::*get)() const) {
        return add<T>(name, get, nullptr);
    }
    template <class T>
    ClassBuilder& writeOnly(const std::string& name, void (C::*set)(T)) {
        return add<T>(name, static_cast<T (C::*)() const>(nullptr), set);
    }
    /// A property with one 16-bit index (`Base(Index)`); either accessor may be null.
    template <class T>
    ClassBuilder& indexed(const std::string& name, T (C::*get)(std::int16_t) const,
                          void (C::*set)(std::int16_t, T)) {
        PropertyInfo p;
        p.kind = ValueTraits<std::decay_t<T>>::kind;
        p.indexCount = 1;
        if (get) {
            p.get = [get](Object& o, const std::vector<Variant>& index) {
                return ValueTraits<std::decay_t<T>>::to((self(o).*get)(index.at(0).toInteger()));
            };
        }
        if (set) {
            p.put = [set](Object& o, const std::vector<Variant>& index, const Variant& v) {
                (self(o).*set)(index.at(0).toInteger(), ValueTraits<std::decay_t<T>>::from(v));
            };
        }
        info_.properties[name] = std::move(p);
        return *this;
    }

    /// An operation; `names` are the declared parameter names.
    template <class R, class... A>
    ClassBuilder& method(const std::string& name, R (C::*call)(A...),
                         std::vector<std::string> names = {}) {
        MethodInfo m;
        names.resize(sizeof...(A));
        std::size_t i = 0;
        ((m.parameters.push_back(parameterOf<std::decay_t<A>>(names[i])), ++i), ...);
        if constexpr (std::is_void_v<R>) {
            m.result = ValueKind::Void;
        } else {
            m.result = ValueTraits<std::decay_t<R>>::kind;
        }
        m.invoke = [call](Object& o, const std::vector<Variant>& arguments) {
            return callWith(self(o), call, arguments, std::index_sequence_for<A...>{});
        };
        info_.methods[name] = std::move(m);
        return *this;
    }

    /// Registers the class.
    void done() { registerClass(std::move(info_)); }

  private:
    static C& self(Object& o) { return static_cast<C&>(o); }

    template <class R, class... A, std::size_t... I>
    static Variant callWith(C& target, R (C::*call)(A...), const std::vector<Variant>& arguments,
                            std::index_sequence<I...>) {
        if (arguments.size() > sizeof...(A)) {
            throw Error(450, kRuntimeSource,
                        "Wrong number of arguments or invalid property assignment");
        }
        if constexpr (std::is_void_v<R>) {
            (target.*call)(argumentAs<std::decay_t<A>>(arguments, I)...);
            return Variant();
        } else {
            return ValueTraits<std::decay_t<R>>::to(
                (target.*call)(argumentAs<std::decay_t<A>>(arguments, I)...));
        }
    }

    template <class T>
    ClassBuilder& add(const std::string& name, T (C::*get)() const, void (C::*set)(T)) {
        PropertyInfo p;
        p.kind = ValueTraits<std::decay_t<T>>::kind;
        if (get) {
            p.get = [get](Object& o, const std::vector<Variant>&) {
                return ValueTraits<std::decay_t<T>>::to((self(o).*get)());
            };
        }
        if (set) {
            p.put = [set](Object& o, const std::vector<Variant>&, const Variant& v) {
                (self(o).*set)(ValueTraits<std::decay_t<T>>::from(v));
            };
        }
        info_.properties[name] = std::move(p);
        return *this;
    }

    ClassInfo info_;
};

}  // namespace kvlnmov::registration
