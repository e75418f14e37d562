// A HAL core that keeps to the letter of the selector contract and to nothing else, driven by a stream of bytes. Every
// answer it gives may differ from the one before: lists change, entries vanish, metadata is of any shape, adapters come
// and go and throw. It brings its own definitions of every platform interface, so it is linked with the library's
// sources and no platform library at all.

#pragma once

#include <cstddef>
#include <cstdint>

namespace hostile {

// What goes wrong at the first, the second, ... opportunity of each call into the library.
enum class Fault {
    kNone,
    kAllocation,  // operator new throws; only where the process counts its allocations by the variables below
    kCoreCall,    // an operation of a queue, metadata object or adapter throws
    kWrite,       // the recorder's, of its files
};

// Plays the session that the bytes describe: makes two selectors and has them serve up to four requests, in up to seven
// calls each. Aborts with a message
// when the library breaks a promise. Returns a digest of all answers and log messages, which is the same on every
// machine. With a fault, each call is repeated until none is left to strike; what it answers then goes into the digest.
// `recorded`: with the recorder in front of the library, which changes nothing of all that.
uint64_t play(const uint8_t* data, size_t size, Fault fault = Fault::kNone, bool recorded = false);

inline int64_t gLiveAllocations = 0;      // kept by operator new and delete, where they are replaced
inline uint64_t gAllocationsToFault = 0;  // the allocation that makes it 0 fails; no fault while it is 0
inline uint64_t gFaultsStruck = 0;        // of any kind, so far
inline bool gStruckOutside = false;       // a fault did, in the latest call
bool isOutside();                         // whether the recorder is at work, and not the library behind it

}  // namespace hostile
