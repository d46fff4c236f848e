// The application's message boxes and yields through C callbacks.

#include "kvlnmov/core/user_interface.h"

#include <memory>

#include "capi/handles.h"
#include "kvlnmov/core/library.h"

namespace kvlnmov::capi {

namespace {

std::int32_t iconCode(MsgBoxIcon icon) {
    switch (icon) {
        case MsgBoxIcon::None:
            return 0;
        case MsgBoxIcon::Critical:
            return 16;
        case MsgBoxIcon::Question:
            return 32;
        case MsgBoxIcon::Exclamation:
            return 48;
        case MsgBoxIcon::Information:
            return 64;
    }
    return 0;
}

std::int32_t buttonsCode(MsgBoxButtons buttons) { return static_cast<std::int32_t>(buttons); }

/// True when a box with `buttons` has the button `answer`.
bool offers(MsgBoxButtons buttons, MsgBoxResult answer) {
    switch (buttons) {
        case MsgBoxButtons::Ok:
            return answer == MsgBoxResult::Ok;
        case MsgBoxButtons::OkCancel:
            return answer == MsgBoxResult::Ok || answer == MsgBoxResult::Cancel;
        case MsgBoxButtons::AbortRetryIgnore:
            return answer == MsgBoxResult::Abort || answer == MsgBoxResult::Retry ||
                   answer == MsgBoxResult::Ignore;
        case MsgBoxButtons::YesNoCancel:
            return answer == MsgBoxResult::Yes || answer == MsgBoxResult::No ||
                   answer == MsgBoxResult::Cancel;
        case MsgBoxButtons::YesNo:
            return answer == MsgBoxResult::Yes || answer == MsgBoxResult::No;
        case MsgBoxButtons::RetryCancel:
            return answer == MsgBoxResult::Retry || answer == MsgBoxResult::Cancel;
    }
    return false;
}

class CallbackUserInterface : public UserInterface {
  public:
    CallbackUserInterface(kvlnmov_message_box_fn messageBox, kvlnmov_yield_fn yield, void* userData)
        : messageBox_(messageBox), yield_(yield), userData_(userData) {}

    MsgBoxResult messageBox(const std::string& text, MsgBoxIcon icon, MsgBoxButtons buttons,
                            const std::string& title) override {
        if (!messageBox_) return fallback_.messageBox(text, icon, buttons, title);
        std::int32_t answer = messageBox_(userData_, text.c_str(), iconCode(icon),
                                          buttonsCode(buttons), title.c_str());
        auto chosen = static_cast<MsgBoxResult>(answer);
        return answer >= 1 && answer <= 7 && offers(buttons, chosen) ? chosen
                                                                     : firstButton(buttons);
    }

    void yield() override {
        if (yield_) yield_(userData_);
    }

  private:
    kvlnmov_message_box_fn messageBox_;
    kvlnmov_yield_fn yield_;
    void* userData_;
    StderrUserInterface fallback_;
};

}  // namespace

}  // namespace kvlnmov::capi

extern "C" {

kvlnmov_status kvlnmov_set_user_interface(kvlnmov_message_box_fn message_box,
                                          kvlnmov_yield_fn yield, void* user_data,
                                          kvlnmov_error* error) {
    return kvlnmov::capi::guarded(error, [&] {
        if (!message_box && !yield) {
            kvlnmov::setUserInterface(nullptr);  // the default is made again on first use
            return;
        }
        kvlnmov::setUserInterface(
            std::make_shared<kvlnmov::capi::CallbackUserInterface>(message_box, yield, user_data));
    });
}

}  // extern "C"
