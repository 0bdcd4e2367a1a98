// A time of a file, split as it is shown.
#pragma once

// Hours, minutes below 60 and seconds below 60 of a time in seconds.
struct CPlayTime {
    explicit CPlayTime(unsigned long nTotal)
        : nHours(static_cast<unsigned int>(nTotal / 3600)),
          nMinutes(static_cast<unsigned int>(nTotal % 3600 / 60)),
          nSeconds(static_cast<unsigned int>(nTotal % 60)) {}

    unsigned int nHours;
    unsigned int nMinutes;
    unsigned int nSeconds;
};
