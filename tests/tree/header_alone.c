#include "Dravo.h"

_Static_assert(sizeof(DravoRect) == 16, "four 32-bit numbers");
