#pragma once

// How the entry viewer class reaches the application's form. The library has no user
// interface of its own: an application that can show the viewer form `frmAsientoVisor`
// installs a hook, and `frmclsAsientoVisor.Show` opens the form through it.

#include <cstdint>
#include <memory>

#include "kvlnmov/db/connection.h"
#include "kvlnmov/core/context.h"
#include "kvlnmov/frame/object.h"

namespace kvlnmov {

/// What the viewer form is opened with: the keys of the entry, the shared references and how
/// to show it.
struct EntryViewerRequest {
    std::int16_t company = 0;
    std::int16_t exercise = 0;
    std::int32_t entry = 0;
    /// The company/exercise object handed to the class (`EmpresaKavelon`); may be null.
    cEmpresaRef context;
    /// The library-wide connection the form reads the entry from; may be null, in which case
    /// loading the form raises error 91.
    db::ConnectionRef connection;
    /// 0 shows the form and returns at once; any other value shows it modally and returns
    /// when the user has closed it.
    std::int16_t modal = 0;
    /// The owner form, or null.
    ObjectRef owner;
};

/// A viewer form the hook has opened, as the class keeps it.
class EntryViewerForm {
  public:
    virtual ~EntryViewerForm() = default;
    /// True while the form is loaded (not yet closed by the user or unloaded).
    virtual bool loaded() const = 0;
    /// Unloads the form: closes it and its line query. Does nothing when no longer loaded.
    virtual void unload() = 0;
};

/// The application's side: loads the form `frmAsientoVisor` for a request and shows it.
class EntryViewerFormHook {
  public:
    virtual ~EntryViewerFormHook() = default;
    /// Loads and shows the form. Errors while loading (reading the entry) are raised to the
    /// caller. Returns the form opened.
    virtual std::shared_ptr<EntryViewerForm> open(const EntryViewerRequest& request) = 0;
};

/// Installs the application's hook (null uninstalls it). One hook serves the whole library.
void setEntryViewerFormHook(std::shared_ptr<EntryViewerFormHook> hook);
/// The installed hook, or null.
std::shared_ptr<EntryViewerFormHook> entryViewerFormHook();

}  // namespace kvlnmov
