#include "dravo/Port.h"

namespace dravo {

Port::Port(int number) : m_number(number), m_callbacks(std::make_shared<PortCallbacks>(number)) {}

Port::~Port() {
    Close();
}

bool Port::Open(const std::string& path) {
    const std::lock_guard opening(m_opening);
    if (OpenPlayer()) return false;
    Player::Parts parts{.callbacks = Callbacks(),
                        .make_output = [](std::uint32_t window) { return MakeXVideoOutput(window); },
                        .make_sound = [] { return SoundOutput::Make(); },
                        .reader = {}};
    auto player = Player::Open(path, std::move(parts));
    if (!player) return false;
    const std::lock_guard lock(m_mutex);
    if (m_retired) return false;
    // A callback that asks the port finds it open: it waits here for its player.
    player.Value()->Begin();
    m_player = std::move(player.Value());
    return true;
}

void Port::Retire() {
    {
        const std::lock_guard lock(m_mutex);
        m_retired = true;
    }
    Close();
}

bool Port::Close() {
    std::shared_ptr<Player> player;
    {
        auto fresh = std::make_shared<PortCallbacks>(m_number);
        const std::lock_guard lock(m_mutex);
        if (!m_player) return false;
        player = std::move(m_player);
        m_player.reset();
        m_callbacks->Clear();
        m_callbacks = std::move(fresh);
    }
    player->Close();
    return true;
}

std::shared_ptr<PortCallbacks> Port::Callbacks() const {
    const std::lock_guard lock(m_mutex);
    return m_callbacks;
}

std::shared_ptr<Player> Port::OpenPlayer() const {
    const std::lock_guard lock(m_mutex);
    return m_player;
}

} // namespace dravo
