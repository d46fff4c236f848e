#pragma once

// One registration function per business folder; registerLibraryClasses() calls them all.

namespace kvlnmov::registration {

void registerMasters();
void registerJournal();
void registerTaxbooks();
void registerForecasts();
void registerViewer();

}  // namespace kvlnmov::registration
