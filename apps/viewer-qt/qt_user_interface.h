#pragma once

#include "kvlnmov/core/user_interface.h"

namespace kvlnmov::viewer {

/// The library's message boxes as Qt message boxes (owned by the active window), and its
/// yield between retries as one pass of Qt's event loop.
class QtUserInterface : public UserInterface {
  public:
    /// A box without a title of its own takes the application's display name.
    MsgBoxResult messageBox(const std::string& text, MsgBoxIcon icon, MsgBoxButtons buttons,
                            const std::string& title) override;
    void yield() override;
};

}  // namespace kvlnmov::viewer
