#include "tests/support/XServer.h"

#include <algorithm>
#include <csignal>
#include <stdexcept>

namespace support {

namespace {

constexpr std::chrono::seconds kLimit{20};

bool IsNumber(const std::string& line) {
    return !line.empty() &&
           std::all_of(line.begin(), line.end(), [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

XServer::XServer(const std::string& screen, const std::vector<std::string>& arguments,
                 const ChildProcess::Setup& setup) {
    // The server tells the free display number that it took once it takes connections, on its standard
    // output.
    std::vector<std::string> command{"Xvfb",      "-displayfd", "1",          "-screen", "0",       screen,
                                     "-nolisten", "tcp",        "+extension", "RANDR",   "-noreset"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    m_process = ChildProcess::Start(command, setup);
    while (const auto line = m_process.ReadLine(kLimit)) {
        if (!IsNumber(*line)) continue; // a remark of the server
        m_display = ":" + *line;
        return;
    }
    throw std::runtime_error("no X server: " + m_process.Output());
}

void XServer::Kill() {
    m_process.Signal(SIGKILL);
    m_process.WaitForExit(kLimit);
}

} // namespace support
