#include "registration/library_classes.h"

#include "kvlnmov/registration/registry.h"

namespace kvlnmov::registration {

void registerLibraryClasses() {
    registerMasters();
    registerJournal();
    registerTaxbooks();
    registerForecasts();
    registerViewer();
}

}  // namespace kvlnmov::registration
