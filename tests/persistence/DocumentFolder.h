// A folder of a store whose index file is written in any of its three forms and read by either reader.
#ifndef VELMORA_TESTS_PERSISTENCE_DOCUMENTFOLDER_H
#define VELMORA_TESTS_PERSISTENCE_DOCUMENTFOLDER_H

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "persistence/LIBStoreIndexSerialisation.h"
#include "tests/index/TestTable.h"
#include "tests/persistence/IndexBytes.h"
#include "tests/support/Captured.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

enum class Form { Stream, OldDocument, NewDocument };
enum class Reader { Stream, Document };

inline constexpr Form kForms[] = {Form::Stream, Form::OldDocument, Form::NewDocument};
inline constexpr Reader kReaders[] = {Reader::Stream, Reader::Document};

class DocumentFolder : public testing::Test {
protected:
    DocumentFolder() : folder_(store_.MakeFolder("Inbox")) { UseDocuments(); }

    // With the settings of a store that has none.
    void UseDocuments()
    {
        store_.RemoveSetting("Use XML Stream Index Deserialisation");
        store_.RemoveSetting("Use XML Stream Index Serialisation");
    }
    std::string Folder() const { return folder_.string(); }
    std::filesystem::path File(const char* name = "_index.xml") const { return folder_ / name; }
    void Write(std::string_view bytes, const char* name = "_index.xml") const { WriteFileBytes(folder_ / name, bytes); }
    std::string Bytes(const char* name = "_index.xml") const { return ReadFileBytes(folder_ / name); }
    bool Exists(const char* name) const { return FileExists(folder_ / name); }
    bool IsMarked() const { return Exists("_CHANGE.DTY"); }

    uint64_t Save(SORTEDSTOREINDEXTYPE& table, Form form = Form::OldDocument, uint32_t kind = 0)
    {
        if (form == Form::Stream) return StreamXMLStoreIndexSerialiser().Serialise(table, Folder(), kind);
        store_.SetNumber("MSXML Index Serialisation Produces Old Format", form == Form::OldDocument ? 1 : 0);
        return MSXMLStoreIndexSerialiser().Serialise(table, Folder(), kind);
    }
    // The level reached, which the table keeps.
    int32_t Load(SORTEDSTOREINDEXTYPE& table, Reader reader = Reader::Document, int32_t level = 3, uint32_t verifyItemFiles = 0)
    {
        if (reader == Reader::Stream)
            table.LoadLevel = StreamXMLStoreIndexSerialiser().Deserialise(table, Folder(), 0, "po", "box", level, 0, verifyItemFiles);
        else
            table.LoadLevel = MSXMLStoreIndexSerialiser().Deserialise(table, Folder(), 0, "po", "box", level, 0, verifyItemFiles);
        return table.LoadLevel;
    }

    TestStore store_;
    std::filesystem::path folder_;
    TestTable table_;
    CapturedLog log_;
};

}  // namespace velmora::test

#endif
