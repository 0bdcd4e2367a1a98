// What a container says of its video.
#pragma once

#include "ordune/MediaFile.h"

struct AVFormatContext;
struct AVStream;

namespace ordune {

// Of a stream of the context, as far as its headers tell.
VideoInfo DescribeVideo(AVFormatContext* context, AVStream* stream);

} // namespace ordune
