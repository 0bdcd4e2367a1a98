// Evens out the brightness pumping at key frames.
//
// An encoder that codes its key pictures coarser or finer than the ones before makes a still scene flash once
// a group. Told the mean brightness of the pictures as they are shown in sequence, this says by how much each
// is to be shown brighter or darker: a small jump at a key picture is taken back at once and given out again
// over the following kSpread pictures; a large one is a cut in the film and left alone. Pure.
#pragma once

namespace dravo {

class Deflash {
  public:
    // Jumps of the mean beyond this, in steps of 1/255, are cuts, not pumping.
    static constexpr double kLargestJump = 12.0;
    static constexpr int kSpread = 12;

    // Forgets what was shown: after a seek, while paused, while switched off.
    void Reset();
    // What to add to the brightness of this picture (in steps of 1/255), which follows the one given last.
    int Correction(double mean, bool key);

  private:
    bool m_started = false;
    double m_last_shown = 0.0; // mean of the last picture, as shown
    double m_offset = 0.0;
    double m_step = 0.0;
};

} // namespace dravo
