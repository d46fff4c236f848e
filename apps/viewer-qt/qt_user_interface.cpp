#include "qt_user_interface.h"

#include <QApplication>
#include <QCoreApplication>
#include <QMessageBox>

namespace kvlnmov::viewer {

namespace {

QMessageBox::Icon qtIcon(MsgBoxIcon icon) {
    switch (icon) {
        case MsgBoxIcon::Critical:
            return QMessageBox::Critical;
        case MsgBoxIcon::Question:
            return QMessageBox::Question;
        case MsgBoxIcon::Exclamation:
            return QMessageBox::Warning;
        case MsgBoxIcon::Information:
            return QMessageBox::Information;
        case MsgBoxIcon::None:
            break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons qtButtons(MsgBoxButtons buttons) {
    switch (buttons) {
        case MsgBoxButtons::Ok:
            return QMessageBox::Ok;
        case MsgBoxButtons::OkCancel:
            return QMessageBox::Ok | QMessageBox::Cancel;
        case MsgBoxButtons::AbortRetryIgnore:
            return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
        case MsgBoxButtons::YesNoCancel:
            return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
        case MsgBoxButtons::YesNo:
            return QMessageBox::Yes | QMessageBox::No;
        case MsgBoxButtons::RetryCancel:
            return QMessageBox::Retry | QMessageBox::Cancel;
    }
    return QMessageBox::Ok;
}

MsgBoxResult resultOf(int button) {
    switch (button) {
        case QMessageBox::Cancel:
            return MsgBoxResult::Cancel;
        case QMessageBox::Abort:
            return MsgBoxResult::Abort;
        case QMessageBox::Retry:
            return MsgBoxResult::Retry;
        case QMessageBox::Ignore:
            return MsgBoxResult::Ignore;
        case QMessageBox::Yes:
            return MsgBoxResult::Yes;
        case QMessageBox::No:
            return MsgBoxResult::No;
        default:
            return MsgBoxResult::Ok;
    }
}

}  // namespace

MsgBoxResult QtUserInterface::messageBox(const std::string& text, MsgBoxIcon icon,
                                         MsgBoxButtons buttons, const std::string& title) {
    const QString caption =
        title.empty() ? QApplication::applicationDisplayName() : QString::fromStdString(title);
    QMessageBox box(qtIcon(icon), caption, QString::fromStdString(text), qtButtons(buttons),
                    QApplication::activeWindow());
    return resultOf(box.exec());
}

void QtUserInterface::yield() { QCoreApplication::processEvents(); }

}  // namespace kvlnmov::viewer
