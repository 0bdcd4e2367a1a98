// Looks into the units of H.264 and HEVC in containers where the container's word is not enough.
//
// 1. A unit without a slice makes no picture, nor does one that ends with an empty NAL unit: the decoder
// takes
//    none of it. One that is damaged otherwise, or cannot be read, stays a frame, which turns out undecodable
//    when it is wanted: what follows it keeps its number. Files of up to 32 MB are looked through for such
//    units, which takes as long as reading them once; in a larger one the container is believed.
// 2. A container without a table of key units calls every unit a key: those that are none are found out.
// 3. Two units that are the fields of one frame make one picture, the first one's. Only streams whose
//    sequence allows fields are looked through for that; many do that have none.
// 4. Pictures before the first key, and those shown before it that need what came before, are not shown.
//
// In a larger file, rules 2 and 3 look at the first 512 units. Only what shows up there has them go on
// through the rest.
//
// Used by one thread at a time.
#pragma once

#include "ordune/ContainerUnits.h"
#include "ordune/FileSource.h"

#include <cstdint>
#include <memory>
#include <span>

struct AVCodecParameters;

namespace ordune {

class UnitInspector {
  public:
    // Units are read from `file` by offset and size.
    UnitInspector(std::shared_ptr<const FileSource> file, const AVCodecParameters& parameters);
    ~UnitInspector();

    // How many units the first call has to bring, where there are as many: it is where the rest is judged by.
    static constexpr std::size_t kFirst = 512;

    // Corrects what the units say of themselves (key, closed, shown, referenced). They follow, in the order
    // of decoding, those of the call before.
    void Correct(std::span<ContainerUnit> units);

    // Whether the first key picture was found to be one that libavcodec decodes, or conceals, whatever its
    // slice data are: an IDR picture in one of the usual profiles, its header whole. Then it need not be
    // decoded to make sure.
    bool FirstKeyIsSure() const;

  private:
    class Impl;
    const std::unique_ptr<Impl> m_impl;
};

} // namespace ordune
