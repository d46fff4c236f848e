#include "kvlnmov/core/business_object.h"

#include "kvlnmov/frame/error.h"
#include "kvlnmov/core/library.h"

namespace kvlnmov {

void BusinessObject::Conexion(db::ConnectionRef connection) {
    offerConnection(std::move(connection));
}

cEmpresa& BusinessObject::empresa() const {
    if (!context_) throw objectRequired();
    return *context_;
}

db::Connection& BusinessObject::connection() const { return *connectionRef(); }

db::ConnectionRef BusinessObject::connectionRef() const {
    db::ConnectionRef held = sharedConnection();
    if (!held) throw objectRequired();
    return held;
}

}  // namespace kvlnmov
