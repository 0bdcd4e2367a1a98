#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace support {

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "talvio-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), "mkdtemp");
    m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored; // what cannot be removed is no reason to fail a test
    std::filesystem::remove_all(m_path, ignored);
}

} // namespace support
