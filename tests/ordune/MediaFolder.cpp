#include "tests/ordune/MediaFolder.h"

#include <fstream>
#include <sstream>

namespace ordune::test {

std::string RecordingPath(const std::string& name) {
    return std::string(TALVIO_MEDIA_DIR) + "/" + name;
}

std::vector<Recording> Recordings() {
    std::vector<Recording> recordings;
    std::ifstream manifest(RecordingPath("MANIFEST.tsv"));
    std::string line;
    std::getline(manifest, line);
    while (std::getline(manifest, line)) {
        std::istringstream fields(line);
        std::string pixels;
        Recording recording;
        if (!(fields >> recording.name >> recording.codec >> recording.width >> recording.height >> pixels >>
              recording.rotation >> recording.frames >> recording.rate >> recording.seconds)) {
            continue;
        }
        recording.path = RecordingPath(recording.name);
        recordings.push_back(recording);
    }
    return recordings;
}

} // namespace ordune::test
