#pragma once

#include <memory>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/funciones.h"
#include "kvlnmov/core/user_interface.h"

namespace kvlnmov {

/// The library-wide state shared by every object: the connection, the formatting object and
/// the user-interface hooks. It lives until `resetLibrary()` (the equivalent of unloading the
/// library, used by tests and by tools that open another database).

/// The library-wide connection, or nullptr when no object has been given one yet.
db::ConnectionRef sharedConnection();
/// Offers a connection: it becomes the library-wide one only if none is held yet (the first
/// connection handed to any object wins; later ones are ignored).
void offerConnection(db::ConnectionRef connection);
/// Replaces the library-wide connection (what binding an entry header does).
void replaceConnection(db::ConnectionRef connection);

/// The formatting object, created on first use.
Funciones& funciones();

/// The application's user interface (by default `StderrUserInterface`).
UserInterface& userInterface();
void setUserInterface(std::shared_ptr<UserInterface> ui);

/// Forgets the connection, the formatting object and the installed user interface.
void resetLibrary();

}  // namespace kvlnmov
