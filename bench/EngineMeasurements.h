// The measurements of the playback library, by what is measured. Each prints its rows of the table; a film
// that is not in the folder is named and left out.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bench {

class MpvPlayer;

struct Setup {
    std::string folder;  // of the films
    std::string program; // this program's own file, to be run anew where a process must be fresh
    int runs = 5;
    unsigned window = 0; // 1280x720

    // The film's path; empty, and the table says so, where there is none.
    std::string Film(const std::string& name, const std::string& what) const;
    // mpv with the film; null without mpv.
    std::unique_ptr<MpvPlayer> Mpv(const std::string& path) const;
    // Numbers below `limit`, the same each time for the same seed.
    static std::vector<unsigned long> Positions(unsigned long limit, int count, unsigned seed);
};

void MeasureStepsBack(const Setup& setup, const std::string& film, const std::string& twin);
void MeasureHeldDown(const Setup& setup, const std::string& film, double steps_a_second, double seconds,
                     const std::string& goal);
void MeasureStepsForward(const Setup& setup, const std::string& film);

// `twin`: the same pictures in a container that the bare library can jump in.
void MeasureJumps(const Setup& setup, const std::string& film, const std::string& twin, int jumps);

void MeasureOpening(const Setup& setup, const std::string& film);
void MeasureIndex(const Setup& setup, const std::string& film);

void MeasurePlaying(const Setup& setup, const std::string& film);
void MeasureFast(const Setup& setup, const std::string& film, int level, double seconds);
void MeasureMemory(const Setup& setup, const std::string& film);

void MeasureStills(const Setup& setup, const std::string& film);
void MeasureExport(const Setup& setup, const std::string& film);

// What a fresh process measures for the above: prints lines of a name and a number. False for a word that it
// does not know.
bool MeasureInFreshProcess(const std::string& what, const std::string& path);

} // namespace bench
