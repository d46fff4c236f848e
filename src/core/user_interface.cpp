#include "kvlnmov/core/user_interface.h"

#include <iostream>

namespace kvlnmov {

MsgBoxResult firstButton(MsgBoxButtons buttons) {
    switch (buttons) {
        case MsgBoxButtons::Ok:
        case MsgBoxButtons::OkCancel:
            return MsgBoxResult::Ok;
        case MsgBoxButtons::AbortRetryIgnore:
            return MsgBoxResult::Abort;
        case MsgBoxButtons::YesNoCancel:
        case MsgBoxButtons::YesNo:
            return MsgBoxResult::Yes;
        case MsgBoxButtons::RetryCancel:
            return MsgBoxResult::Retry;
    }
    return MsgBoxResult::Ok;
}

MsgBoxResult StderrUserInterface::messageBox(const std::string& text, MsgBoxIcon,
                                             MsgBoxButtons buttons, const std::string& title) {
    std::cerr << "[" << title << "] " << text << "\n";
    return firstButton(buttons);
}

MsgBoxResult RecordingUserInterface::messageBox(const std::string& text, MsgBoxIcon icon,
                                                MsgBoxButtons buttons, const std::string& title) {
    shown.push_back({text, icon, buttons, title});
    if (answers.empty()) return firstButton(buttons);
    MsgBoxResult answer = answers.front();
    answers.erase(answers.begin());
    return answer;
}

}  // namespace kvlnmov
