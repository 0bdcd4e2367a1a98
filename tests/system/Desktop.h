// A desktop of a test's own: X server, window manager and sound server, on names that nobody else has.
//
// Everything ends with the object. Throws std::runtime_error when a part does not come up.
#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/XServer.h"

#include <map>
#include <optional>
#include <string>

namespace system_tests {

class Desktop {
  public:
    Desktop();

    const std::string& Display() const { return m_server.Display(); }

    // What a program needs to find this desktop and no other.
    std::map<std::string, std::optional<std::string>> Environment() const;

  private:
    void StartWindowManager();
    void StartSoundServer();

    support::TemporaryFolder m_home; // home and runtime folder of all programs on this desktop
    support::XServer m_server;
    support::ChildProcess m_windowManager;
    support::ChildProcess m_soundServer;
};

} // namespace system_tests
