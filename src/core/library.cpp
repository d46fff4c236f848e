#include "kvlnmov/core/library.h"

namespace kvlnmov {

namespace {
struct LibraryState {
    db::ConnectionRef connection;
    std::unique_ptr<Funciones> funciones;
    std::shared_ptr<UserInterface> ui;
};

LibraryState& state() {
    static LibraryState instance;
    return instance;
}
}  // namespace

db::ConnectionRef sharedConnection() { return state().connection; }

void offerConnection(db::ConnectionRef connection) {
    if (!state().connection) state().connection = std::move(connection);
}

void replaceConnection(db::ConnectionRef connection) { state().connection = std::move(connection); }

Funciones& funciones() {
    if (!state().funciones) state().funciones = std::make_unique<Funciones>();
    return *state().funciones;
}

UserInterface& userInterface() {
    if (!state().ui) state().ui = std::make_shared<StderrUserInterface>();
    return *state().ui;
}

void setUserInterface(std::shared_ptr<UserInterface> ui) { state().ui = std::move(ui); }

void resetLibrary() { state() = LibraryState{}; }

}  // namespace kvlnmov
