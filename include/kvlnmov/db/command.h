#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/db/types.h"
#include "kvlnmov/frame/object.h"
#include "kvlnmov/frame/variant.h"

namespace kvlnmov::db {

/// One parameter of a command: name, type, direction, size and value.
struct Parameter {
    std::string name;
    DataType type = DataType::Empty;
    ParameterDirection direction = ParameterDirection::Input;
    std::int32_t size = 0;
    Variant value;
};

/// The parameters of a command, in the order appended. Names are case-insensitive;
/// an unknown name raises ADO error 3265.
class ParameterList {
  public:
    void Append(Parameter parameter);
    Parameter& operator()(std::string_view name);
    const Parameter& operator()(std::string_view name) const;
    Parameter& operator[](std::size_t index) { return items_.at(index); }
    const Parameter& operator[](std::size_t index) const { return items_.at(index); }
    std::size_t Count() const { return items_.size(); }
    /// The parameter named `name`, or nullptr.
    Parameter* find(std::string_view name);

  private:
    std::vector<Parameter> items_;
};

/// A prepared command, shaped as ADO's Command: the business objects keep one for a stored
/// procedure for their whole life and attach it to the connection only while they run it.
/// Executing without an active connection raises ADO error 3709.
class Command : public Object {
  public:
    std::string className() const override { return "Command"; }

    void ActiveConnection(ConnectionRef connection) { connection_ = std::move(connection); }
    const ConnectionRef& ActiveConnection() const { return connection_; }
    void CommandText(std::string text) { text_ = std::move(text); }
    const std::string& CommandText() const { return text_; }
    void CommandType(db::CommandType type) { type_ = type; }
    db::CommandType CommandType() const { return type_; }

    static Parameter CreateParameter(std::string name, DataType type, ParameterDirection direction,
                                     std::int32_t size = 0, Variant value = {});
    ParameterList& Parameters() { return parameters_; }
    const ParameterList& Parameters() const { return parameters_; }

    /// Runs the stored procedure (seen by observers as "EXEC name") or the text; output
    /// parameters hold their values afterwards.
    void Execute();

  private:
    ConnectionRef connection_;
    std::string text_;
    db::CommandType type_ = db::CommandType::Text;
    ParameterList parameters_;
};

}  // namespace kvlnmov::db
