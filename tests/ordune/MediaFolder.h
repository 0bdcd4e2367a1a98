// The folder of real recordings and its list.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ordune::test {

struct Recording {
    std::string name; // "mp4/sample.mp4"
    std::string path;
    std::string codec;
    int width = 0;
    int height = 0;
    int rotation = 0; // degrees counterclockwise, as libavformat's tools give it
    std::uint32_t frames = 0;
    std::string rate;
    std::string seconds;
};

// Every line of the manifest; empty where the folder is missing.
std::vector<Recording> Recordings();
// A file of the folder, whether listed or not.
std::string RecordingPath(const std::string& name);

} // namespace ordune::test
