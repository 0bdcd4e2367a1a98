// Clips of numbered pictures as the reader sees them.
#pragma once

#include "tests/ordune/ReaderUnderTest.h"
#include "tests/ordune/WholeIndex.h"
#include "tests/support/BarCode.h"
#include "tests/support/ClipMaker.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace testing_ordune {

// The number that the picture shows; -1 where there is none to be read.
inline int NumberOn(const Picture& picture) {
    const AVFrame* frame = picture.Frame();
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
    return support::ReadBarCodeFromLuma(frame->data[0], frame->linesize[0], frame->width, frame->height,
                                        format ? format->comp[0].depth : 8);
}

// A folder of the test's own, gone with it.
class ClipFolder {
  public:
    explicit ClipFolder(const std::string& name)
        : m_path(std::filesystem::path(TALVIO_TEST_WORK_DIR) / (name + "-" + std::to_string(::getpid()))) {
        std::filesystem::create_directories(m_path);
    }
    ~ClipFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ClipFolder(const ClipFolder&) = delete;
    ClipFolder& operator=(const ClipFolder&) = delete;

    std::string File(const std::string& name) const { return (m_path / name).string(); }
    std::string Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(File(name), std::ios::binary) << bytes;
        return File(name);
    }
    static std::string Read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

  private:
    const std::filesystem::path m_path;
};

} // namespace testing_ordune
