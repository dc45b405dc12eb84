// A folder with an index file, and loads and saves of it by the stream strategy alone.
#ifndef VELMORA_TESTS_PERSISTENCE_INDEXFOLDER_H
#define VELMORA_TESTS_PERSISTENCE_INDEXFOLDER_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "persistence/LIBStoreIndexSerialisation.h"
#include "tests/index/TestTable.h"
#include "tests/persistence/IndexBytes.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

class IndexFolder {
public:
    std::string Folder() const { return directory_.Str(); }
    std::filesystem::path File(uint32_t kind = 0) const { return directory_ / (kind == 54 ? "_groups.xml" : "_index.xml"); }
    std::string Bytes() const { return ReadFileBytes(File()); }
    bool IsMarked() const { return FileExists(directory_ / "_CHANGE.DTY"); }
    void Write(std::string_view bytes) const { WriteFileBytes(File(), bytes); }

    // Loads into `table` and gives the level reached, which the table keeps.
    int32_t Load(SORTEDSTOREINDEXTYPE& table, int32_t level = 3, std::string_view selection = {}, uint32_t verifyItemFiles = 0) const
    {
        table.LoadSelection = selection;
        StreamXMLStoreIndexSerialiser serialiser;
        table.LoadLevel = serialiser.Deserialise(table, Folder(), 0, "", "", level, 0, verifyItemFiles);
        return table.LoadLevel;
    }

    uint64_t Save(SORTEDSTOREINDEXTYPE& table) const
    {
        StreamXMLStoreIndexSerialiser serialiser;
        return serialiser.Serialise(table, Folder(), 0);
    }

private:
    TempDirectory directory_;
};

// A table that holds what a folder's file holds.
struct LoadedTable : TestTable {
    explicit LoadedTable(const IndexFolder& folder, int32_t level = 3, std::string_view selection = {})
    {
        folder.Load(*this, level, selection);
    }

    IndexItemPropertyContainer& operator[](std::string_view id) { return *FindLoadedItem(*this, id); }
};

}  // namespace velmora::test

#endif
