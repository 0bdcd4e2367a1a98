// Memory for decoded pictures, used again and again.
//
// Fresh memory costs about as much as the decoding itself (the kernel clears every page at its first touch),
// so a buffer that a dropped picture gives back is kept for the next picture of the same size, whichever
// reader of the pool decodes it. Buffers are taken from the kernel directly, with large pages where it has
// them. Thread-safe: decoder threads take buffers, and whichever thread drops the last reference to a picture
// gives one back. Buffers outlive the pool while pictures hold them.
#pragma once

#include <cstddef>
#include <memory>

struct AVBufferRef;
struct AVCodecContext;
struct AVFrame;

namespace ordune {

class PicturePool {
  public:
    // Keeps at most this much unused memory for the next pictures.
    explicit PicturePool(std::size_t spare_bytes);
    // Frees all unused buffers; those still in use are freed when they are given back.
    ~PicturePool();
    PicturePool(const PicturePool&) = delete;
    PicturePool& operator=(const PicturePool&) = delete;

    // Fills in data, linesize and buf of the frame, whose format, width and height are set: one buffer holds
    // all planes. False when the format is not one of plain planes or memory runs out.
    bool Fill(AVCodecContext* context, AVFrame* frame);

    // Frees the unused buffers now.
    void Trim();

    // Memory of all buffers that exist, in use or not.
    std::size_t Bytes() const;
    // How many buffers have been taken from the kernel since the pool was made.
    std::size_t Made() const;

  private:
    struct Store;
    // Shared with the buffers that are in use.
    const std::shared_ptr<Store> m_store;
};

} // namespace ordune
