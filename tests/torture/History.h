// What happened to one folder between two checks, put together from the journals of all processes.
#ifndef VELMORA_TESTS_TORTURE_HISTORY_H
#define VELMORA_TESTS_TORTURE_HISTORY_H

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "tests/torture/Journal.h"

namespace velmora::torture {

inline constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

inline constexpr int64_t kNotAtAll = std::numeric_limits<int64_t>::min();

struct Save {
    int64_t begin = 0;
    int64_t end = kNever;            // of one that its process did not live to see
    bool told = false;               // that it succeeded
    int64_t wroteUntil = kNotAtAll;  // its last write of the index, or the death in its middle
};

struct FlagSet {
    std::string id, flags;
    int64_t time = 0;
    size_t session = 0;
    size_t save = 0;  // the first one behind it in its session; there may be none
};

// One thread's work on one loaded copy of the folder.
struct Session {
    uint64_t process = 0;
    uint32_t thread = 0;
    int64_t loadBegin = 0;
    int64_t loadEnd = kNever;
    int64_t close = kNever;
    int64_t sharedSince = kNever;  // when a thread of its process began the oldest load that is open as well
    bool underBlock = false;       // load and save under one block
    bool byName = false;           // and that held by its name alone
    bool delivers = false;         // the direct call that inserts messages
    bool scans = false;            // its open has scanned the folder, or has begun to
    int64_t died = kNever;         // when its process was killed, if it was
    std::vector<Save> saves;
    bool hasLoaded = false;                     // the next is known
    std::map<std::string, std::string> loaded;  // by message: FlagsMark of what it had

    // Whether the process died in it, and whether it died before it had anything loaded.
    bool IsCut() const { return close == kNever; }
    bool IsCutInOpen() const { return loadEnd == kNever; }
    // When a scan in its open had ended at the latest.
    int64_t OpenEnd() const { return loadEnd == kNever ? died : loadEnd; }
    // The last moment at which a save of it wrote the index.
    int64_t LastWrite() const
    {
        int64_t last = kNotAtAll;
        for (const Save& save : saves) last = std::max(last, save.wroteUntil);
        return last;
    }
};

struct Hold {
    uint64_t process = 0;
    uint32_t thread = 0;
    int64_t begin = 0;
    int64_t end = 0;  // the begin, when its process died with it
};

// What one thread wrote of the index while it had the block.
struct IndexWrite {
    uint64_t process = 0;
    uint32_t thread = 0;
    int64_t begin = 0;
    int64_t end = kNever;   // of one in whose middle the process died
    int64_t died = kNever;  // when the process did
    bool whole = true;
    bool byName = false;  // under a block that others may take away
};

// An attempt at the block that was refused, from when to when at most.
struct Refusal {
    uint64_t process = 0;
    uint32_t thread = 0;
    int64_t begin = 0;
    int64_t end = 0;
};

// A time for which a thread had the block.
struct BlockSpan {
    uint64_t process = 0;
    uint32_t thread = 0;
    int64_t begin = 0;  // at the earliest
    int64_t end = 0;    // at the latest
    int64_t surelyFrom = 0;
    int64_t surelyTo = 0;
    // When all had ended that had the block as well, for it had been taken away; 0 for nobody.
    int64_t sharedUntil = 0;
};

struct Removal {
    std::string id;
    bool withItem = false;
    bool ended = false;
    bool told = false;
    int64_t begin = 0;
    int64_t end = kNever;
};

struct Delivery {
    std::string id;
    bool ended = false;
    int64_t begin = 0;
    int64_t end = kNever;
};

struct Sighting {
    std::string id;
    uint32_t uid = 0;
    uint64_t process = 0;
};

struct History {
    std::vector<Session> sessions;
    std::vector<FlagSet> sets;
    std::vector<Hold> holds;
    std::vector<Removal> removals;
    std::vector<Delivery> deliveries;
    std::vector<Sighting> sightings;
    std::vector<IndexWrite> writes;
    std::vector<int64_t> scans;    // when they had ended, at the latest
    std::vector<int64_t> damages;  // when it was noticed that an index did not load
    std::vector<BlockSpan> blocks;
    std::vector<Refusal> refusals;
    std::vector<int64_t> breaks;  // when somebody was about to delete the block of another
    std::vector<int64_t> thefts;  // when a holder by name alone noticed that its block was gone
    uint64_t cutDeeds = 0;        // threads whose process was killed in a deed on this folder
    std::vector<std::string> faults;
};

// By folder. `records` are those of one process after another, each in its order; `deaths` says when a process was killed.
std::map<uint32_t, History> MakeHistories(const std::vector<Record>& records, const std::map<uint64_t, int64_t>& deaths);

}  // namespace velmora::torture

#endif
