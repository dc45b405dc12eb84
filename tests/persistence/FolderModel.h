// A folder as it should be: what each item holds, by UID.
#ifndef VELMORA_TESTS_PERSISTENCE_FOLDERMODEL_H
#define VELMORA_TESTS_PERSISTENCE_FOLDERMODEL_H

#include <cstdint>
#include <map>
#include <string>

#include "tests/persistence/IndexFolder.h"
#include "tests/persistence/PlainReader.h"

namespace velmora::test {

using Properties = std::map<std::string, std::string>;

struct FolderModel {
    std::map<uint32_t, Properties> items;  // without SEQ and IDX, which are of the memory alone
    uint32_t lastUid = 0;
};

FolderModel ModelOf(SORTEDSTOREINDEXTYPE& table);
FolderModel ModelOf(const PlainIndex& index);

// Where two models differ, in words; empty when they do not.
std::string Difference(const FolderModel& expected, const FolderModel& actual);

// Whether the index file of `folder` is well formed and holds just that: for the plain reader, for the library at every
// level, and in the places that the library notes. Empty when it does, else what is wrong.
std::string CheckFile(const IndexFolder& folder, const FolderModel& expected);

// The file that a table with those items in it makes where none was.
std::string WriteAnew(const IndexFolder& folder, const FolderModel& model);

}  // namespace velmora::test

#endif
