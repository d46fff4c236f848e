#include "kvlnmov/db/command.h"

#include <algorithm>
#include <cctype>

#include "kvlnmov/frame/text.h"

namespace kvlnmov::db {

namespace {

Error parameterNotFound() {
    return Error(adoerr::kItemNotFound, "ADODB.Parameters",
                 "Item cannot be found in the collection corresponding to the requested name or "
                 "ordinal.");
}

}  // namespace

void ParameterList::Append(Parameter parameter) { items_.push_back(std::move(parameter)); }

Parameter* ParameterList::find(std::string_view name) {
    auto found = std::find_if(items_.begin(), items_.end(), [name](const Parameter& item) {
        return text::equalsIgnoringCase(item.name, name);
    });
    return found == items_.end() ? nullptr : &*found;
}

Parameter& ParameterList::operator()(std::string_view name) {
    Parameter* parameter = find(name);
    if (!parameter) throw parameterNotFound();
    return *parameter;
}

const Parameter& ParameterList::operator()(std::string_view name) const {
    return const_cast<ParameterList&>(*this)(name);
}

Parameter Command::CreateParameter(std::string name, DataType type, ParameterDirection direction,
                                   std::int32_t size, Variant value) {
    return Parameter{std::move(name), type, direction, size, std::move(value)};
}

void Command::Execute() {
    if (!connection_) {
        throw Error(adoerr::kInvalidConnection, "ADODB.Command",
                    "The connection cannot be used to perform this operation. It is either "
                    "closed or invalid in this context.");
    }
    if (type_ == db::CommandType::StoredProc) {
        connection_->runProcedure(text_, parameters_);
    } else {
        connection_->Execute(text_);
    }
}

}  // namespace kvlnmov::db
