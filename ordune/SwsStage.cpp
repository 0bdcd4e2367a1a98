#include "ordune/SwsStage.h"

#include "ordune/SlowGather.h"

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace ordune {

namespace {

constexpr int kUnit = 1 << 16; // libswscale's 1.0 for contrast and saturation

bool IsRgb(int format) {
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
    return description && (description->flags & AV_PIX_FMT_FLAG_RGB);
}

} // namespace

void SwsStage::Free::operator()(SwsContext* context) const {
    sws_freeContext(context);
}

bool SwsStage::Prepare(const Kind& kind) {
    if (m_context && m_kind == kind) return true;
    AvoidSlowGather();
    m_context.reset(sws_getContext(
        kind.from_width, kind.from_height, static_cast<AVPixelFormat>(kind.from_format), kind.to_width,
        kind.to_height, static_cast<AVPixelFormat>(kind.to_format), kind.flags, nullptr, nullptr, nullptr));
    if (!m_context) return false;
    m_kind = kind;
    // Between two formats of brightness and colour differences both sides say the same, so that nothing is
    // stretched; that both say "full" also fits grey formats, which libswscale always takes for full range.
    const bool to_rgb = IsRgb(kind.to_format);
    const int* weights = sws_getCoefficients(kind.colour.space);
    const int range = to_rgb ? static_cast<int>(kind.colour.full_range) : 1;
    // A failure means that there is nothing to set for this pair of formats.
    sws_setColorspaceDetails(m_context.get(), weights, range, weights, 1, 0, kUnit, kUnit);
    return true;
}

Result<void> SwsStage::Convert(const ReadPlanes& from, const SwsColour& colour, const WritePlanes& to,
                               int flags) {
    const Kind kind{from.width, from.height, from.format, to.width, to.height, to.format, flags, colour};
    if (!Prepare(kind)) return Error{ErrorKind::OutOfMemory, "no tables for scaling", {}};
    const int rows = sws_scale(m_context.get(), from.planes.data(), from.strides.data(), 0, from.height,
                               to.planes.data(), to.strides.data());
    if (rows != to.height) return Error{ErrorKind::Damaged, "the picture could not be scaled", {}};
    return {};
}

} // namespace ordune
