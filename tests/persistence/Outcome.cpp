#include "tests/persistence/Outcome.h"

#include "index/IndexTable.h"

namespace velmora::test {

namespace {

// Names that are not kept count for nobody.
std::string PropertiesText(const std::map<std::string, std::string>& properties)
{
    std::string text;
    for (const auto& [name, value] : properties)
        if (IsKept(name)) text += " [" + name + "=" + value + "]";
    return text;
}

std::string Head(int result, const std::string& fault, uint32_t lastUid, bool rewriteRequired, const std::string& selection)
{
    return "result " + std::to_string(result) + " fault (" + fault + ") last " + std::to_string(lastUid) + " rewrite " +
           std::to_string(rewriteRequired) + " selection (" + selection + ")\n";
}

std::string ItemLine(uint32_t uid, uint32_t offset, uint32_t length, const std::map<std::string, std::string>& properties)
{
    return std::to_string(uid) + " at " + std::to_string(offset) + "+" + std::to_string(length) + PropertiesText(properties) + "\n";
}

}  // namespace

bool IsKept(const std::string& name)
{
    return IndexPropertyTable::Count() < kMaxPropertyNames || IndexPropertyTable::LookUp(name).Slot >= 0;
}

std::string DescribeItems(SORTEDSTOREINDEXTYPE& table)
{
    IndexTableContent& content = ContentOf(table);
    std::string text;
    content.ByUID.ForEach([&](uint32_t uid, IndexItemPropertyContainer* item) {
        std::map<std::string, std::string> properties;
        item->CopyTo(properties);
        text += ItemLine(uid, item->FileOffset, item->FileLength, properties);
    });
    text += "by ID:";
    for (const IndexItemPropertyContainer* item : content.ByID.Sorted()) text += " " + std::to_string(item->Uid());
    text += "\nin sequence:";
    for (const IndexItemPropertyContainer* item : content.Sequence) text += " " + std::to_string(item->Uid());
    return text + "\n";
}

std::string Describe(int result, const std::string& fault, SORTEDSTOREINDEXTYPE& table)
{
    return Head(result, fault, table.LastUID, table.RewriteRequired != 0, table.LoadSelection) + DescribeItems(table);
}

std::string Describe(const PlainOutcome& outcome, const PlainIndex& index)
{
    std::string text = Head(outcome.result, outcome.fault, index.lastUid, index.rewriteRequired, index.loadSelection);
    for (const auto& [uid, item] : index.byUid) text += ItemLine(uid, item->fileOffset, item->fileLength, item->properties);
    const auto uidOf = [](const PlainItem& item) { return std::to_string(static_cast<uint32_t>(PlainLong(item.properties.at("UID")))); };
    text += "by ID:";
    for (const auto& [id, item] : index.byId) text += " " + uidOf(*item);
    text += "\nin sequence:";
    for (const auto& item : index.sequence) text += " " + uidOf(*item);
    return text + "\n";
}

}  // namespace velmora::test
