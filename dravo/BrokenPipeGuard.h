// Keeps a write into a closed connection from ending the process.
//
// The X library writes with plain writev(), so a server that went away raises SIGPIPE in the writing thread.
// What the process does about that signal is not this library's to change; for as long as an object of this
// class lives, its own thread alone does not take it, and one that came meanwhile is taken away.
#pragma once

#include <csignal>

namespace dravo {

class BrokenPipeGuard {
  public:
    BrokenPipeGuard();
    ~BrokenPipeGuard();
    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

  private:
    sigset_t m_before{};
    bool m_was_pending = false;
};

} // namespace dravo
