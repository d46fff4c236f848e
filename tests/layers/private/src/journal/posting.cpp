// A journal file that reaches into the tax books' private header (journal uses taxbooks, but
// only through its public headers): the layer check must refuse it.
#include "kvlnmov/core/handlers.h"
#include "taxbooks/book_statements.h"
