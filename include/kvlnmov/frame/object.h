#pragma once

#include <memory>
#include <string>

namespace kvlnmov {

/// Base of every object that can travel inside a Variant: business objects, recordsets,
/// connections, context objects. Objects are shared: whoever holds a reference keeps the
/// object alive, and the object ends (its destructor runs) when the last reference goes.
class Object : public std::enable_shared_from_this<Object> {
  public:
    virtual ~Object() = default;
    /// The class name as the application knows it ("clsMov", "Recordset").
    virtual std::string className() const = 0;
};

using ObjectRef = std::shared_ptr<Object>;

}  // namespace kvlnmov
