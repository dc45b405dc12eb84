// What the workers began and what they were told had succeeded, one file a process, outside the store.
//
// A record is one line and one write, so that the death of its process cuts at most the last one. Its time is that of the
// machine's steady clock, the same in all processes.
#ifndef VELMORA_TESTS_TORTURE_JOURNAL_H
#define VELMORA_TESTS_TORTURE_JOURNAL_H

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace velmora::torture {

enum class Deed : char {
    Begin = 'b',        // a deed on this folder begins; between two of them the thread has nothing to do with any folder
    End = 'e',          //
    Told = 'T',         // id: what was asked for; number: 1 when it was told to have been done
    OpenBegin = 'o',    // a folder is loaded: by an open, or under the block by a transaction or by a direct call
    OpenEnd = 'O',      // number: 1 when something is loaded, 2 when another thread of the process had loaded it
    Loaded = 'l',       // text: what the items had for flags, see LoadedFlags
    Set = 'f',          // id, text: its new flags
    SaveBegin = 's',    //
    SaveEnd = 'S',      // number: 1 when it was told to have succeeded
    Close = 'c',        //
    DropBegin = 'd',    // id: a message is about to be put into the folder
    DropEnd = 'D',      // id: it is there, and the folder is marked
    RemoveBegin = 'r',  // id: text "file" when only the file goes, "item" when the item goes with it
    RemoveEnd = 'R',    // id; number: 1 when the file is gone; text "item" when the item was told to have gone as well
    Seen = 'u',         // id, number: the UID that the index gives
    HoldBegin = 'h',    // the block file is held by handle from before this record on
    HoldEnd = 'H',      // until after this one
    Scan = 'n',         // the thread has taken the mark for a scan, or has scanned: before the end of its open at the latest
    Damage = 'x',       // an index did not load, and not because it could not be opened
    WriteBegin = 'w',   // the thread is about to write the index, and has the block
    WriteEnd = 'W',     // it is about to let the block go; number: 1 when the file is whole; text: first and last write, or 0
    Block = 'k',        // text: from when to when at most the thread had the block, and from when to when at least
    Refused = 'q',      // text: from when to when at most an attempt at the block ran that was refused
    Break = 'z',        // the thread is about to delete a block that it does not have
    Stolen = 't',       // the block of a direct call that holds it by its name is gone before its write
    Mark = 'y',         // the dirty flag was set
    Fault = '!',        // text: something is wrong that the worker saw by itself
};

struct Record {
    int64_t time = 0;  // nanoseconds
    uint64_t process = 0;
    uint32_t thread = 0;
    Deed deed = Deed::Fault;
    uint32_t folder = 0;
    uint32_t number = 0;
    std::string id;
    std::string text;
};

// The texts of an OpenBegin behind which comes a direct call.
inline constexpr char kDirectInsert[] = "direct-insert";
inline constexpr char kDirectUpdate[] = "direct-update";
inline constexpr char kDirectRemove[] = "direct-remove";
// The text of a RemoveBegin or a RemoveEnd.
inline constexpr char kItemToo[] = "item";

int64_t TimeNow();

// Writes records; any thread may.
class Journal {
public:
    // Throws std::runtime_error when the file cannot be made.
    explicit Journal(const std::filesystem::path& path);
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    void Write(uint32_t thread, Deed deed, uint32_t folder, const std::string& id = {}, uint32_t number = 0, const std::string& text = {});

private:
    std::mutex mutex_;
    std::FILE* file_;
};

// Reads what a process has written since the last look. A line that is cut is left for the next one.
class JournalReader {
public:
    JournalReader(std::filesystem::path path, uint64_t process) : path_(std::move(path)), process_(process) {}
    void ReadOn(std::vector<Record>& records);

private:
    std::filesystem::path path_;
    uint64_t process_;
    uint64_t position_ = 0;
};

}  // namespace velmora::torture

#endif
