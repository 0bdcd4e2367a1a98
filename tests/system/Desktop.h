// A desktop of a test's own: X server, window manager and sound server, on names that nobody else has.
//
// Everything ends with the object. One at a time in a process, for its sound server's sake. Throws
// std::runtime_error when a part does not come up.
#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/PulseServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/XServer.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace system_tests {

class Desktop {
  public:
    struct Setup {
        std::string screen = "1280x1024x24"; // width x height x depth
        bool windowManager = true;
        // Screen scale of the programs, as Qt takes it: "1.5"; empty for none.
        std::string scale;
        // Commands that are run on the screen before anything else, and have to succeed.
        std::vector<std::vector<std::string>> commands;
        // For the X server, behind the usual ones.
        std::vector<std::string> serverArguments = {};
    };

    explicit Desktop(const Setup& setup);
    Desktop() : Desktop(Setup()) {}

    const std::string& Display() const { return m_server.Display(); }
    bool HasWindowManager() const { return m_windowManager.Pid() > 0; }

    // Ends the X server at once, as a crash would.
    void KillServer() { m_server.Kill(); }

    // The sound server, to be lost and found.
    support::PulseServer& Sound() { return m_sound; }

    // What a program needs to find this desktop and no other.
    std::map<std::string, std::optional<std::string>> Environment() const;

    // The same for a program that is to tell screen readers its texts. The buses for that are started when
    // they are first asked for.
    std::map<std::string, std::optional<std::string>> TellingEnvironment();

    // Address of the session bus that knows the one on which texts are told.
    std::string SessionBus() const;

  private:
    void StartWindowManager();
    void StartTextBus();

    std::string m_scale;
    support::TemporaryFolder m_home; // home and runtime folder of all programs on this desktop
    support::XServer m_server;
    support::ChildProcess m_windowManager;
    support::PulseServer m_sound;
    support::ChildProcess m_sessionBus;
    support::ChildProcess m_textBus;
};

} // namespace system_tests
