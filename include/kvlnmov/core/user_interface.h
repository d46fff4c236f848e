#pragma once

#include <memory>
#include <string>
#include <vector>

namespace kvlnmov {

enum class MsgBoxIcon { None, Critical, Question, Exclamation, Information };
enum class MsgBoxButtons { Ok, OkCancel, AbortRetryIgnore, YesNoCancel, YesNo, RetryCancel };
/// The button a user chose (numbered as the language numbers them).
enum class MsgBoxResult { Ok = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

/// What the library needs of the application's user interface: a modal message box, and a
/// chance for the application to process its pending messages while an operation waits
/// between retries.
class UserInterface {
  public:
    virtual ~UserInterface() = default;
    virtual MsgBoxResult messageBox(const std::string& text, MsgBoxIcon icon, MsgBoxButtons buttons,
                                    const std::string& title) = 0;
    virtual void yield() = 0;
};

/// The default: writes message boxes to standard error and answers with the first button;
/// yields by doing nothing.
class StderrUserInterface : public UserInterface {
  public:
    MsgBoxResult messageBox(const std::string& text, MsgBoxIcon icon, MsgBoxButtons buttons,
                            const std::string& title) override;
    void yield() override {}
};

/// Records every message box and yield, for tests; answers message boxes from a queue of
/// planned answers (the first button when the queue is empty).
class RecordingUserInterface : public UserInterface {
  public:
    struct Shown {
        std::string text;
        MsgBoxIcon icon;
        MsgBoxButtons buttons;
        std::string title;
    };

    MsgBoxResult messageBox(const std::string& text, MsgBoxIcon icon, MsgBoxButtons buttons,
                            const std::string& title) override;
    void yield() override { ++yields; }

    std::vector<Shown> shown;
    int yields = 0;
    std::vector<MsgBoxResult> answers;
};

/// The answer a message box gives when the user takes the first button.
MsgBoxResult firstButton(MsgBoxButtons buttons);

}  // namespace kvlnmov
