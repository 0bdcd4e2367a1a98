#include "tests/soak/Visitor.h"

#include "tests/support/BarCode.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <mutex>
#include <thread>

namespace soak {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostStep = 12;
constexpr std::size_t kFewestPictures = 8;
constexpr auto kFirstPicture = std::chrono::seconds(5);

// When which moment of the film was shown, by port: the display callback has no value of its caller's.
struct Shown {
    Clock::time_point at;
    int stamp;
};

class Record {
  public:
    static Record& Shared() {
        static Record record;
        return record;
    }
    static void OnDisplay(int port, char*, int, int, int, int stamp, int, int) {
        Record& record = Shared();
        const std::lock_guard lock(record.m_mutex);
        const auto found = record.m_shown.find(port);
        if (found != record.m_shown.end()) found->second.push_back({Clock::now(), stamp});
    }
    // From now on the port's pictures are kept.
    void Begin(int port) {
        const std::lock_guard lock(m_mutex);
        m_shown[port].clear();
    }
    std::size_t Count(int port) {
        const std::lock_guard lock(m_mutex);
        return m_shown[port].size();
    }
    std::vector<Shown> End(int port) {
        const std::lock_guard lock(m_mutex);
        std::vector<Shown> shown = std::move(m_shown[port]);
        m_shown.erase(port);
        return shown;
    }

  private:
    std::mutex m_mutex;
    std::map<int, std::vector<Shown>> m_shown;
};

} // namespace

Visitor::Visitor(const std::vector<Film>& films, support::XScreen& screen, Random& random)
    : m_films(films), m_screen(screen), m_random(random) {
    Dravo_GetPort(&m_port);
    Dravo_SetDisplayCallBack(m_port, Record::OnDisplay);
    m_window = m_screen.MakeWindow(static_cast<int>(Below(400)), static_cast<int>(Below(300)), 320, 180);
}

Visitor::~Visitor() {
    // In both orders: windows also vanish under what plays in them.
    if (Below(2) == 0) {
        m_screen.Destroy(m_window);
        Dravo_FreePort(m_port);
    } else {
        Dravo_FreePort(m_port);
        m_screen.Destroy(m_window);
    }
}

std::optional<std::string> Visitor::Open() {
    const Film& film = m_films[Below(m_films.size())];
    Dravo_SetDisplayCallBack(m_port, Record::OnDisplay);
    if (!Dravo_OpenFile(m_port, film.path.c_str())) return film.path + " does not open";
    m_film = &film;
    m_level = 0;
    if (!Dravo_Play(m_port, Below(4) == 0 ? 0 : m_window)) return film.path + " does not play";
    return std::nullopt;
}

std::optional<std::string> Visitor::Seek() {
    const unsigned long total = Dravo_GetFileTotalFrames(m_port);
    const unsigned long frame = Below(total);
    bool done = false;
    switch (Below(3)) {
    case 0:
        done = Dravo_SetCurrentFrameNum(m_port, frame) != 0;
        break;
    case 1:
        done = Dravo_SetPlayPos(m_port, static_cast<float>(frame) / static_cast<float>(total)) != 0;
        break;
    default:
        // Nothing said of what the last second rounds to.
        (void)Dravo_SetPlayedTimeEx(m_port, Below(Dravo_GetFileTime(m_port) * 1000 + 1));
        done = true;
        break;
    }
    return done ? std::nullopt : std::optional("a seek is refused in " + m_film->path);
}

std::optional<std::string> Visitor::Step() {
    const bool back = Below(2) == 0;
    for (std::size_t steps = 1 + Below(kMostStep); steps > 0; --steps) {
        const unsigned long from = Dravo_GetCurrentFrameNum(m_port);
        const bool done = (back ? Dravo_OneByOneBack(m_port) : Dravo_OneByOne(m_port)) != 0;
        if (!done) break; // an end of the film
        const unsigned long now = Dravo_GetCurrentFrameNum(m_port);
        // The first step pauses what may be playing.
        const bool first = now != (back ? from - 1 : from + 1);
        if (first && m_film->numbered && Dravo_Pause(m_port, 1) && Dravo_GetCurrentFrameNum(m_port) != now)
            return "a paused film moves in " + m_film->path;
    }
    return std::nullopt;
}

std::optional<std::string> Visitor::Capture() {
    long width = 0;
    long height = 0;
    if (!Dravo_Pause(m_port, 1)) return std::nullopt;
    if (!Dravo_GetPictureSize(m_port, &width, &height)) return "there is no size in " + m_film->path;
    m_still.resize(static_cast<std::size_t>(width * height) * 4 + 65536);
    unsigned long written = 0;
    const bool done = (Below(2) == 0 ? Dravo_GetBMP(m_port, m_still.data(), m_still.size(), &written)
                                     : Dravo_GetJPEG(m_port, m_still.data(), m_still.size(), &written)) != 0;
    const unsigned long frame = Dravo_GetCurrentFrameNum(m_port);
    if (!m_film->numbered) return std::nullopt;
    if (!done) return "no still of frame " + std::to_string(frame) + " of " + m_film->path;
    m_still.resize(written);
    const int number = support::ReadBarCodeFromStill(m_still);
    if (static_cast<unsigned long>(number) == frame) return std::nullopt;
    return "a still of frame " + std::to_string(frame) + " shows " + std::to_string(number) + " in " +
           m_film->path;
}

void Visitor::ChangeSpeed() {
    if (Below(2) == 0) {
        m_level += Dravo_Fast(m_port) ? 1 : 0;
    } else {
        m_level -= Dravo_Slow(m_port) ? 1 : 0;
    }
}

void Visitor::ChangeWindow() {
    switch (Below(3)) {
    case 0:
        m_screen.Place(m_window, static_cast<int>(Below(600)), static_cast<int>(Below(400)),
                       80 + static_cast<int>(Below(600)), 60 + static_cast<int>(Below(400)));
        break;
    case 1:
        m_screen.Destroy(m_window);
        m_window = m_screen.MakeWindow(0, 0, 320, 180);
        break;
    default:
        break;
    }
    (void)Dravo_Play(m_port, m_window);
}

void Visitor::ChangeSound() {
    if (Below(3) == 0) {
        (void)Dravo_StopSound();
    } else {
        (void)Dravo_PlaySound(m_port);
        (void)Dravo_SetVolume(m_port, static_cast<unsigned short>(Below(65536)));
    }
}

std::optional<std::string> Visitor::Act() {
    if (!m_film) return Open();
    switch (Below(12)) {
    case 0:
    case 1:
        return Seek();
    case 2:
    case 3:
        return Step();
    case 4:
    case 5:
        return Capture();
    case 6:
        ChangeSpeed();
        break;
    case 7:
        ChangeWindow();
        break;
    case 8:
        ChangeSound();
        break;
    case 9:
        (void)Dravo_Pause(m_port, static_cast<int>(Below(2)));
        break;
    case 10:
        if (!Dravo_Stop(m_port) || !Dravo_Play(m_port, m_window))
            return "stopping and playing again fails in " + m_film->path;
        m_level = 0;
        break;
    default:
        m_film = nullptr;
        if (!Dravo_CloseFile(m_port)) return "a file cannot be closed";
        break;
    }
    return std::nullopt;
}

std::optional<double> Visitor::WatchClock(std::chrono::milliseconds length) {
    if (!m_film || !Dravo_Stop(m_port) || !Dravo_Play(m_port, m_window)) return std::nullopt;
    Record& record = Record::Shared();
    record.Begin(m_port);
    if (support::WaitUntil([&] { return record.Count(m_port) > 0; }, kFirstPicture))
        std::this_thread::sleep_for(length);
    const std::vector<Shown> shown = record.End(m_port);
    if (shown.size() < kFewestPictures) return std::nullopt;
    // Counted from a picture in the middle, so that a late first one does not shift all.
    const Shown& middle = shown[shown.size() / 2];
    std::vector<double> errors;
    for (const Shown& one : shown) {
        const std::chrono::duration<double, std::milli> wall = one.at - middle.at;
        errors.push_back(std::abs(wall.count() - (one.stamp - middle.stamp)));
    }
    std::sort(errors.begin(), errors.end());
    return errors[errors.size() / 2];
}

} // namespace soak
