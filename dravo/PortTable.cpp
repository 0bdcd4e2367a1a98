#include "dravo/PortTable.h"

#include <limits>

namespace dravo {

PortTable& PortTable::Instance() {
    static PortTable* const table = new PortTable;
    return *table;
}

int PortTable::Take() {
    const std::lock_guard lock(m_mutex);
    for (int index = 0; index < kSlots; ++index) {
        Slot& slot = m_slots[static_cast<std::size_t>(index)];
        if (slot.port) continue;
        // A slot whose numbers are used up starts again; two thousand million ports lie between.
        const bool fresh = slot.number == 0 || slot.number > std::numeric_limits<int>::max() - kSlots;
        const int number = fresh ? index + 1 : slot.number + kSlots;
        slot.port = std::make_shared<Port>(number);
        slot.number = number;
        return number;
    }
    return 0;
}

bool PortTable::Free(int number) {
    std::shared_ptr<Port> port;
    {
        const std::lock_guard lock(m_mutex);
        if (number < 1) return false;
        Slot& slot = m_slots[static_cast<std::size_t>(SlotOf(number))];
        if (!slot.port || slot.number != number) return false;
        port = std::move(slot.port);
        slot.port.reset();
    }
    port->Retire();
    return true;
}

std::shared_ptr<Port> PortTable::Find(int number) const {
    if (number < 1) return nullptr;
    const std::lock_guard lock(m_mutex);
    const Slot& slot = m_slots[static_cast<std::size_t>(SlotOf(number))];
    return slot.number == number ? slot.port : nullptr;
}

void PortTable::SetSounding(const std::shared_ptr<Player>& player) {
    std::shared_ptr<Player> before; // declared before the lock: letting go of a player may end it
    const std::lock_guard lock(m_mutex);
    before = m_sounding.lock();
    m_sounding = player;
    // Under the lock, so that of two calls at once the later one leaves one port sounding.
    if (before && before != player) before->SetSound(false);
    if (player) player->SetSound(true);
}

} // namespace dravo
