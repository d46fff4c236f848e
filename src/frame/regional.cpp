#include "kvlnmov/frame/regional.h"

namespace kvlnmov {

namespace {
Regional& settings() {
    static Regional current;
    return current;
}
}  // namespace

bool Regional::dayBeforeMonth() const {
    auto day = shortDate.find_first_of("dD");
    auto month = shortDate.find_first_of("mM");
    return day != std::string::npos && (month == std::string::npos || day < month);
}

const Regional& regional() { return settings(); }

void setRegional(const Regional& value) { settings() = value; }

}  // namespace kvlnmov
