#include "Dravo.h"

static_assert(sizeof(DravoRect) == 16, "four 32-bit numbers");
