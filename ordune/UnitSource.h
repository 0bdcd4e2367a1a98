// Where the units of a container's video stream come from, one step after the other.
//
// Used by one thread at a time.
#pragma once

#include "ordune/ContainerUnits.h"
#include "ordune/OutputOrder.h"

namespace ordune {

class UnitSource {
  public:
    virtual ~UnitSource() = default;

    // What the units' `time` is: a time, or only something to sort by, frames coming one tick after the
    // other.
    virtual OutputOrder::By Order() const { return OutputOrder::By::Time; }
    // Appends what a step finds, in the order of decoding; it may be nothing. False when there is no more. A
    // step takes milliseconds.
    virtual bool Read(ContainerUnits& units) = 0;
    // How much of the file has been gone through, from 0 to 1: what the number of frames is estimated by.
    virtual double Share() const = 0;
};

} // namespace ordune
