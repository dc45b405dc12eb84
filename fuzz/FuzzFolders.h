// Folders for targets that go through files: made once a process, removed at its end, with an event log that keeps nothing.
#ifndef VELMORA_FUZZ_FUZZFOLDERS_H
#define VELMORA_FUZZ_FUZZFOLDERS_H

#include <cstdlib>

#include "tests/persistence/IndexFolder.h"

namespace velmora::test {

struct FuzzFolders {
    FuzzFolders() { setenv("VELMORA_EVENTLOG", "/dev/null", 1); }

    static const FuzzFolders& Get()
    {
        static const FuzzFolders folders;
        return folders;
    }

    IndexFolder folder;
    IndexFolder elsewhere;
};

}  // namespace velmora::test

#endif
