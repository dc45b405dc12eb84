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
    OpenBegin = 'o',    // a folder is loaded: by an open, or under the block by a transaction
    OpenEnd = 'O',      // number: 1 when there is something loaded
    Set = 'f',          // id, text: its new flags
    SaveBegin = 's',    //
    SaveEnd = 'S',      // number: 1 when it was told to have succeeded
    Close = 'c',        //
    DropBegin = 'd',    // id: a message is about to be put into the folder
    DropEnd = 'D',      // id: it is there, and the folder is marked
    RemoveBegin = 'r',  // id: text "file" when only the file goes, "item" when the item goes with it
    RemoveEnd = 'R',    // id
    Seen = 'u',         // id, number: the UID that the index gives
    HoldBegin = 'h',    // the block file is held by handle from before this record on
    HoldEnd = 'H',      // until after this one
    Scan = 'n',         // the thread has taken the mark for a scan, or has scanned: before the end of its open at the latest
    Damage = 'x',       // an index did not load, and not because it could not be opened
    WriteBegin = 'w',   // the thread is about to write the index, and has the block
    WriteEnd = 'W',     // it is about to let the block go; number: 1 when the file is whole; text: first and last write, or 0
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
