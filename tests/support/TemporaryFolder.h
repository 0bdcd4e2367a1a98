// A folder of a test's own, removed with everything in it when the object goes.
#pragma once

#include <filesystem>
#include <string>

namespace support {

class TemporaryFolder {
  public:
    // Made below the system's folder for temporary files. Throws std::system_error when it cannot be made.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    // Full path of a name inside the folder; nothing is made.
    std::string operator/(const std::string& name) const { return (m_path / name).string(); }

  private:
    std::filesystem::path m_path;
};

} // namespace support
