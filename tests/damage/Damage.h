// Breaks files: what is done to which part of them.
#pragma once

#include "tests/damage/FilePlan.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace damage {

enum class Place { Header, Table, FirstPicture, KeyPicture, OtherPicture, LastPicture };
enum class Harm {
    CutOff,    // the file ends there
    Remove,    // a piece is missing
    Zero,      // a piece is blank
    Flip,      // a few bits are wrong
    FlipHead,  // one bit is, of the first few bytes: of a length, a type, a header
    Duplicate, // a piece is there twice
    Reorder,   // two neighbouring pieces have changed places
};

inline constexpr Place kPlaces[] = {Place::Header,     Place::Table,        Place::FirstPicture,
                                    Place::KeyPicture, Place::OtherPicture, Place::LastPicture};
inline constexpr Harm kHarms[] = {Harm::CutOff,   Harm::Remove,    Harm::Zero,   Harm::Flip,
                                  Harm::FlipHead, Harm::Duplicate, Harm::Reorder};

const char* NameOf(Place place);
const char* NameOf(Harm harm);

using Random = std::mt19937_64;

// A part of that kind, one of several at random; an empty range where the file has none.
Range PartOf(const FilePlan& plan, std::size_t file_bytes, Place place, Random& random);

struct Damaged {
    std::vector<std::uint8_t> bytes;
    Range touched;          // of the whole file: before it nothing has changed
    bool moved = false;     // what comes after it lies elsewhere, or nowhere
    bool misplaced = false; // there may be whole pictures that do not belong where they are, or say so
};

// Breaks something within the part, of `whole`, which must not be empty.
Damaged Break(const std::vector<std::uint8_t>& whole, Range part, Harm harm, Random& random);

} // namespace damage
