// A value type that reaches up into the connection-aware core: the layer check must refuse it.
#include "kvlnmov/core/handlers.h"
#include "kvlnmov/frame/currency.h"
