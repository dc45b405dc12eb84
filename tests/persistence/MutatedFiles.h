// Index files, good ones and damaged ones, from a fixed seed.
#ifndef VELMORA_TESTS_PERSISTENCE_MUTATEDFILES_H
#define VELMORA_TESTS_PERSISTENCE_MUTATEDFILES_H

#include <string>

#include "tests/index/Dice.h"

namespace velmora::test {

// IDs that the files are made of: "a" to "h", so that selections and checks for files hit.
inline constexpr char kIdLetters[] = "abcdefgh";

// A file that the reader may or may not accept as it stands: of either form, with tombstones, odd attributes, texts and
// tags about as long as the reader's buffers.
std::string RandomFile(Dice& dice);

// One to a few changes: bytes and bits, pieces of tags, long runs, cuts, blocks copied and swapped, other line ends, towers of
// tags.
void Damage(std::string& bytes, Dice& dice);

}  // namespace velmora::test

#endif
