// Decoded pictures by frame number, within a budget of bytes.
//
// What is kept is what lies nearest to the wanted frame; pictures outside the window that the reader works
// for go first. Not thread-safe: its owner guards it.
#pragma once

#include "ordune/Picture.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

struct AVBuffer;

namespace ordune {

class PictureCache {
  public:
    explicit PictureCache(std::size_t budget_bytes);

    // The wanted frame, and the window [first, last] around it of frames that are of use now.
    void SetFocus(FrameNumber wanted, FrameNumber first, FrameNumber last);

    // Keeps the picture where it fits: pictures of less use than this one make room, and are handed to
    // `dropped` so that the caller can let go of them outside its lock. The wanted frame itself is always
    // kept, whatever the budget. False when there is no room for it, or a picture of that number is there
    // already.
    bool Add(PicturePtr picture, std::vector<PicturePtr>& dropped);

    // Lets go of what no longer fits.
    void SetBudget(std::size_t bytes, std::vector<PicturePtr>& dropped);

    // Lets go of all pictures.
    void Clear(std::vector<PicturePtr>& dropped);
    // Lets go of all pictures before the window, but for the newest that does not lie after the wanted frame:
    // decoding that is late has nothing else to show.
    void DropBehind(std::vector<PicturePtr>& dropped);

    bool Has(FrameNumber frame) const { return m_pictures.contains(frame); }
    PicturePtr Find(FrameNumber frame) const;
    // The picture with the greatest, or the least, number in [first, last]; null where there is none.
    PicturePtr FindNewest(FrameNumber first, FrameNumber last) const;
    PicturePtr FindOldest(FrameNumber first, FrameNumber last) const;

    std::size_t Count() const { return m_pictures.size(); }
    // Memory that the pictures hold; a buffer that several share counts once.
    std::size_t Bytes() const { return m_bytes; }
    std::size_t Budget() const { return m_budget; }

  private:
    using Pictures = std::map<FrameNumber, PicturePtr>;

    // How little a frame is of use: greater is worse.
    std::uint64_t Remoteness(FrameNumber frame) const;
    Pictures::iterator MostRemote();
    void CountIn(const Picture& picture);
    void CountOut(const Picture& picture);
    void Fit(std::vector<PicturePtr>& dropped);

    std::size_t m_budget;
    Pictures m_pictures;
    // How many kept pictures hold each buffer.
    std::unordered_map<const AVBuffer*, int> m_holders;
    std::size_t m_bytes = 0;
    FrameNumber m_wanted = 0;
    FrameNumber m_first = 0;
    FrameNumber m_last = 0;
};

} // namespace ordune
