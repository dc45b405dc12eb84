// Index files of any bytes loaded as documents: a load takes the whole file or tells why not, whatever level is asked for, and
// what was loaded is read back by both readers from what either document writer makes of it. A file that the stream writer made
// of what was loaded says the same. The first byte of an input chooses, the rest is the file.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "fuzz/FuzzFolders.h"
#include "fuzz/FuzzedChoices.h"
#include "persistence/ElementText.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "tests/persistence/FolderModel.h"
#include "tests/support/StandardOutput.h"

using namespace velmora;
using namespace velmora::test;

namespace {

struct Place {
    Place()
    {
        // Files that do not load are told of, line by line, and so are names that no element can have.
        SendStandardOutputTo(std::fopen("/dev/null", "w"));
        WriteFileBytes(std::filesystem::path(folder.Folder()) / "a", "");
    }
    const IndexFolder& folder = FuzzFolders::Get().folder;
};

int32_t LoadDocument(const Place& place, SORTEDSTOREINDEXTYPE& table, int32_t level, uint32_t verify)
{
    table.LoadSelection = "a";
    MSXMLStoreIndexSerialiser serialiser;
    table.LoadLevel = serialiser.Deserialise(table, place.folder.Folder(), 0, "po", "box", level, 0, verify);
    if (!serialiser.OpenedFile()) Require("a file that is there was not looked into");
    return table.LoadLevel;
}

// What a table must be behind any load.
void CheckTable(SORTEDSTOREINDEXTYPE& table, bool loaded)
{
    IndexTableContent& content = ContentOf(table);
    if (!loaded && (!content.DamagedFile || !content.Sequence.empty())) Require("a file that does not load left something behind");
    if (!loaded) return;
    if (content.DamagedFile || !table.LoadSelection.empty()) Require("a file that loads is all in memory");
    uint32_t before = 0;
    for (const IndexItemPropertyContainer* const item : content.Sequence) {
        if (item->Uid() <= before && item != content.Sequence.front()) Require("the sequence does not follow the UIDs");
        before = item->Uid();
        if (before > table.LastUID) Require("a UID is above the last one");
        if (content.ByID.Find(item->Id()) != item || content.ByUID.Find(before) != item) Require("an item is not found");
    }
}

// Without what the flat form cannot hold.
FolderModel InFlatForm(SORTEDSTOREINDEXTYPE& table)
{
    FolderModel model = ModelOf(table);
    for (const IndexItemPropertyContainer* const item : ContentOf(table).Sequence)
        if (!FitsInTag(*item)) model.items.erase(item->Uid());
    for (auto& [uid, properties] : model.items)
        std::erase_if(properties,
                      [](const auto& property) { return property.first != kId && property.first != kUid && !FitsAsChild(property.first); });
    return model;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Place place;
    if (size == 0) return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto level = static_cast<int32_t>(1 + data[0] % 3);
    place.folder.Write(bytes);

    TestTable checked;
    CheckTable(checked, LoadDocument(place, checked, level, 1) == 3);
    TestTable table;
    const bool loaded = LoadDocument(place, table, level, 0) == 3;
    CheckTable(table, loaded);
    if (loaded && ContentOf(checked).Sequence.size() > ContentOf(table).Sequence.size()) Require("a check for files made items");
    if (!loaded) return 0;

    // The flat form holds whatever was loaded.
    const FolderModel expected = InFlatForm(table);
    std::filesystem::remove(place.folder.File());
    ContentOf(table).UnusualFile = true;
    table.RewriteRequired = 1;
    if (StreamXMLStoreIndexSerialiser().Serialise(table, place.folder.Folder(), 0) != 1) Require("what was loaded was not saved");
    TestTable flat;
    if (place.folder.Load(flat) != 3) Require("the flat reader does not take what was saved:\n" + place.folder.Bytes());
    Require(Difference(expected, ModelOf(flat)));
    TestTable again;
    if (LoadDocument(place, again, 3, 0) != 3) Require("the flat form is no document:\n" + place.folder.Bytes());
    Require(Difference(expected, ModelOf(again)));

    // As a document it is one that both readers see alike.
    std::filesystem::remove(place.folder.File());
    if (MSXMLStoreIndexSerialiser().Serialise(table, place.folder.Folder(), 0) != 1) Require("what was loaded was not saved");
    TestTable read;
    if (LoadDocument(place, read, 3, 0) != 3) Require("a document that was saved does not load:\n" + place.folder.Bytes());
    CheckTable(read, true);
    TestTable readFlat;
    if (place.folder.Load(readFlat) != 3) Require("the flat reader does not take the document:\n" + place.folder.Bytes());
    Require(Difference(ModelOf(read), ModelOf(readFlat)));
    if (read.LastUID != table.LastUID) Require("the last UID is another one");
    return 0;
}
