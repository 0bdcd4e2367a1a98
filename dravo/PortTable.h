// All ports of the process, and which of them sounds.
//
// A port's number names its slot and how often the slot was taken before, so that a number that was given
// back is a failure for ever and never somebody else's port. Any thread.
#pragma once

#include "dravo/Port.h"

#include <array>
#include <memory>
#include <mutex>

namespace dravo {

class PortTable {
  public:
    static constexpr int kSlots = 256;

    // The process's table. It is never destroyed: a program may end with files open, and then its threads end
    // with the process instead of calling into what is half gone.
    static PortTable& Instance();

    // A new port's number, from 1 on; 0 when all are taken.
    int Take();
    // Gives a port back, closing its file; false for a number that names none.
    bool Free(int number);
    std::shared_ptr<Port> Find(int number) const;

    // Makes the player the one that sounds, null for none.
    void SetSounding(const std::shared_ptr<Player>& player);

  private:
    struct Slot {
        std::shared_ptr<Port> port;
        int number = 0; // of the port in it, or of the last one
    };

    static int SlotOf(int number) { return (number - 1) % kSlots; }

    // Guards what follows; never held while a port opens, closes or waits. Taken before a player's own lock.
    mutable std::mutex m_mutex;
    std::array<Slot, kSlots> m_slots;
    std::weak_ptr<Player> m_sounding;
};

} // namespace dravo
