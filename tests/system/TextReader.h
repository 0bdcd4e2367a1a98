// What the program tells a screen reader: the texts that its windows show, as text.
//
// Read over the accessibility bus of the test's desktop, from the widgets themselves, at the moment of the
// call. Only a program started for it tells anything (PlayerRun::Setup::readsTexts).
#pragma once

#include "tests/system/ScreenReader.h"

#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace system_tests {

class TextReader {
  public:
    struct Entry {
        std::string name;
        bool isSelected = false;
        Area place;
    };

    // Waits for the program to be on the bus. Throws std::runtime_error when it does not come.
    TextReader(const std::string& sessionBus, pid_t program);
    ~TextReader();
    TextReader(const TextReader&) = delete;
    TextReader& operator=(const TextReader&) = delete;

    // The status line's two texts: the state at its left, frame and time at its right.
    std::string State();
    std::string Progress();

    // The playlist, from top to bottom.
    std::vector<Entry> Playlist();

    // Where a visible button of the main window lies, by its name; of no size when there is none.
    Area PlaceOfButton(const std::string& name);

    // The sound slider, in percent.
    int Volume();

    // Every text that is to be seen in a visible window of this title, in order.
    std::vector<std::string> TextsIn(const std::string& title);

  private:
    struct Bus;

    std::unique_ptr<Bus> m_bus;
    // Objects of the main window, found once: they live as long as the program.
    std::string m_stateLabel;
    std::string m_progressLabel;
    std::string m_playlist;
    std::string m_volume;
};

} // namespace system_tests
