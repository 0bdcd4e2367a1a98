// A port: callbacks that may be registered before a file is open, and the open file's player.
#pragma once

#include "dravo/Player.h"

#include <memory>
#include <mutex>
#include <string>

namespace dravo {

class Port {
  public:
    explicit Port(int number);
    ~Port();
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    // Any thread. Opening fails when a file is open already; closing fails when none is.
    bool Open(const std::string& path);
    bool Close();
    // Closes the port for good: a file that is being opened is not opened any more.
    void Retire();

    // The open file's player; null when there is none. Whoever holds it may use it while the port is closed:
    // its calls then fail.
    std::shared_ptr<Player> OpenPlayer() const;
    std::shared_ptr<PortCallbacks> Callbacks() const;

  private:
    const int m_number;
    std::mutex m_opening; // held while a file is being opened, so that of two calls one fails
    // Guarded by m_mutex. Closing gives the port a fresh set of callbacks together with taking the player, so
    // that those registered for the next file are never taken for the last one's.
    mutable std::mutex m_mutex;
    bool m_retired = false;
    std::shared_ptr<Player> m_player;
    std::shared_ptr<PortCallbacks> m_callbacks;
};

} // namespace dravo
