#include "kvlnmov/viewer/form_hook.h"

namespace kvlnmov {

namespace {
std::shared_ptr<EntryViewerFormHook>& installedHook() {
    static std::shared_ptr<EntryViewerFormHook> hook;
    return hook;
}
}  // namespace

void setEntryViewerFormHook(std::shared_ptr<EntryViewerFormHook> hook) {
    installedHook() = std::move(hook);
}

std::shared_ptr<EntryViewerFormHook> entryViewerFormHook() { return installedHook(); }

}  // namespace kvlnmov
