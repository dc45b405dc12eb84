#include "tests/faults/Listing.h"

#include <chrono>
#include <cstdlib>

#include "index/IndexItem.h"
#include "index/IndexTable.h"
#include "items/DateForms.h"
#include "provider/ThreadContext.h"
#include "tests/faults/Scenario.h"

namespace velmora::test {

namespace {

// A change under the test's clock, in seconds since 1970, or a file that was written by this run, in the form of DOS dates,
// which are smaller here. The messages that a test puts there are at least twelve hours old.
bool IsPresentTime(const std::string& text)
{
    static const long long halfADayAgo = [] {
        using namespace std::chrono;
        const auto seconds = duration_cast<std::chrono::seconds>((system_clock::now() - 12h).time_since_epoch()).count();
        const uint64_t fileTime = (static_cast<uint64_t>(seconds) + kSecondsBefore1970) * kFileTimePerSecond;
        return static_cast<long long>(DosDateTime({static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)}));
    }();
    const long long time = std::atoll(text.c_str());
    return time >= halfADayAgo && time < kPresentSeconds + 1'000'000;
}

}  // namespace

Listing ListingOf(SORTEDSTOREINDEXTYPE& table)
{
    Listing listing;
    if (!table.Content) return listing;
    for (const IndexItemPropertyContainer* const item : table.Content->Sequence) {
        Columns columns;
        item->CopyTo(columns);
        columns.erase(kSeq);
        columns.erase(kIdx);
        std::string& modified = columns[kModifiedDate];
        if (IsPresentTime(modified)) modified = "now";
        listing[std::string(item->Id())] = std::move(columns);
    }
    return listing;
}

Listing ListingOfOpenFolder()
{
    const TLSStoreIndex* const context = CurrentContext();
    return context && context->Index ? ListingOf(context->Index->Table) : Listing();
}

Columns WithoutUid(Columns columns)
{
    columns.erase(kUid);
    return columns;
}

std::string Text(const Columns& columns)
{
    std::string text;
    for (const auto& [name, value] : columns)
        if (!value.empty()) text += name + "=" + value + "; ";
    return text;
}

}  // namespace velmora::test
