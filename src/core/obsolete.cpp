#include "kvlnmov/core/obsolete.h"

#include "kvlnmov/frame/error.h"
#include "kvlnmov/core/library.h"

namespace kvlnmov {

void raiseObsolete(const std::string& description) {
    throw Error(errc::kObsoleteProperty, "", description);
}

std::int32_t warnObsolete(const std::string& notice) {
    userInterface().messageBox(notice, MsgBoxIcon::Exclamation, MsgBoxButtons::Ok, kNoticeTitle);
    return 0;
}

std::string documentText(std::int32_t number) {
    return number == 0 ? std::string() : std::to_string(number);
}

}  // namespace kvlnmov
