#include "tests/persistence/FolderModel.h"

#include <filesystem>

#include "persistence/StreamIndexReader.h"
#include "tests/support/Captured.h"

namespace velmora::test {

namespace {

void ForgetPlaces(Properties& properties)
{
    properties.erase("SEQ");
    properties.erase("IDX");
}

std::string InWords(const std::string& value)
{
    constexpr size_t kShown = 60;
    return "(" + value.substr(0, kShown) + ") of " + std::to_string(value.size()) + " bytes";
}

std::string Difference(const Properties& expected, const Properties& actual)
{
    for (const auto& [name, value] : expected) {
        const auto found = actual.find(name);
        if (found == actual.end()) return "no " + name.substr(0, 20);
        if (found->second != value) return name.substr(0, 20) + ": " + InWords(found->second) + " instead of " + InWords(value);
    }
    for (const auto& [name, value] : actual)
        if (!expected.contains(name)) return name.substr(0, 20) + ": " + InWords(value) + " should not be there";
    return {};
}

std::string CheckPlain(const std::string& bytes, const FolderModel& expected)
{
    PlainIndex plain;
    const PlainOutcome outcome = PlainParse(plain, bytes, {});
    if (outcome.result != 1) return "the plain reader says " + outcome.fault;
    const std::string difference = Difference(expected, ModelOf(plain));
    return difference.empty() ? difference : "plainly read: " + difference;
}

// Places are of elements that stand one behind the other, and SEQ is dense.
std::string CheckPlaces(SORTEDSTOREINDEXTYPE& table, const std::string& bytes)
{
    uint32_t seq = 0;
    uint32_t end = 33;
    for (const IndexItemPropertyContainer* item : ContentOf(table).Sequence) {
        const std::string uid = std::to_string(item->Uid());
        if (TextOf(*item, kSeq) != std::to_string(++seq)) return "SEQ of " + uid + " is " + TextOf(*item, kSeq);
        if (item->FileOffset < end || item->FileOffset + item->FileLength > bytes.size()) return uid + " has the place of another";
        end = item->FileOffset + item->FileLength;
        if (bytes.compare(item->FileOffset, 8, "<ELEMENT") != 0) return uid + " does not begin where it should";
        if (bytes.compare(end - 10, 10, "</ELEMENT>") != 0) return uid + " does not end where it should";
    }
    return {};
}

std::string CheckLoads(const IndexFolder& folder, const std::string& bytes, const FolderModel& expected)
{
    for (const int32_t level : {1, 2, 3}) {
        const std::string at = "at level " + std::to_string(level) + ": ";
        CapturedLog log;
        TestTable table;
        if (folder.Load(table, level) < level) return at + "not loaded";
        if (!log.Events().empty()) return at + log.Events().front();
        if (table.LastUID != expected.lastUid) return at + "last UID " + std::to_string(table.LastUID);
        if (level == 1) continue;
        FolderModel loaded = ModelOf(table);
        if (loaded.items.size() != expected.items.size()) return at + std::to_string(loaded.items.size()) + " items";
        for (const auto& [uid, properties] : loaded.items)
            if (!expected.items.contains(uid) || expected.items.at(uid).at("ID") != properties.at("ID"))
                return at + "another item " + std::to_string(uid);
        if (level == 2) continue;
        if (const std::string difference = Difference(expected, loaded); !difference.empty()) return at + difference;
        if (const std::string wrong = CheckPlaces(table, bytes); !wrong.empty()) return at + wrong;
    }
    return {};
}

}  // namespace

FolderModel ModelOf(SORTEDSTOREINDEXTYPE& table)
{
    FolderModel model;
    model.lastUid = table.LastUID;
    ContentOf(table).ByUID.ForEach([&](uint32_t uid, IndexItemPropertyContainer* item) {
        item->CopyTo(model.items[uid]);
        ForgetPlaces(model.items[uid]);
    });
    return model;
}

FolderModel ModelOf(const PlainIndex& index)
{
    FolderModel model;
    model.lastUid = index.lastUid;
    for (const auto& [uid, item] : index.byUid) {
        model.items[uid] = item->properties;
        ForgetPlaces(model.items[uid]);
    }
    return model;
}

std::string Difference(const FolderModel& expected, const FolderModel& actual)
{
    if (expected.lastUid != actual.lastUid)
        return "last UID " + std::to_string(actual.lastUid) + " instead of " + std::to_string(expected.lastUid);
    for (const auto& [uid, properties] : expected.items) {
        const auto found = actual.items.find(uid);
        if (found == actual.items.end()) return "item " + std::to_string(uid) + " is missing";
        if (const std::string difference = Difference(properties, found->second); !difference.empty())
            return "item " + std::to_string(uid) + ", " + difference;
    }
    for (const auto& [uid, properties] : actual.items)
        if (!expected.items.contains(uid)) return "item " + std::to_string(uid) + " should not be there";
    return {};
}

std::string CheckFile(const IndexFolder& folder, const FolderModel& expected)
{
    const std::string bytes = folder.Bytes();
    if (!bytes.starts_with(Header(expected.lastUid))) return "header " + bytes.substr(0, 33);
    if (!bytes.ends_with(kRootEnd)) return "no end tag";
    if (const std::string wrong = CheckPlain(bytes, expected); !wrong.empty()) return wrong;
    return CheckLoads(folder, bytes, expected);
}

std::string WriteAnew(const IndexFolder& folder, const FolderModel& model)
{
    std::filesystem::remove(folder.File());
    TestTable table;
    table.LastUID = model.lastUid;
    for (const auto& [uid, properties] : model.items) {
        IndexItemPropertyContainer* const item = Add(table, properties.at("ID"), uid);
        if (!item) return "no place for item " + std::to_string(uid);
        for (const auto& [name, value] : properties) item->SetText(name, value);
    }
    return folder.Save(table) == 1 ? std::string() : "not written";
}

}  // namespace velmora::test
