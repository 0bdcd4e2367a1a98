// An X server of a test's own, without a screen to look at, on a display number that nobody else has.
//
// The server ends with the object. Throws std::runtime_error when none could be started.
#pragma once

#include "tests/support/ChildProcess.h"

#include <string>
#include <vector>

namespace support {

class XServer {
  public:
    // `screen` is width x height x depth; `arguments` come behind the usual ones.
    explicit XServer(const std::string& screen = "1280x1024x24",
                     const std::vector<std::string>& arguments = {}, const ChildProcess::Setup& setup = {});

    // The display's name for programs: ":5".
    const std::string& Display() const { return m_display; }
    pid_t Pid() const { return m_process.Pid(); }

    // Ends the server at once, as a crash would.
    void Kill();

  private:
    ChildProcess m_process;
    std::string m_display;
};

} // namespace support
