#include "index/IndexPropertyTable.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>

namespace velmora {

namespace {

struct Entry {
    NamedProperty property;
    size_t hash;
};

size_t HashOf(std::string_view name)
{
    uint64_t hash = 0xCBF29CE484222325ull;
    for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3ull;
    return static_cast<size_t>(hash ^ (hash >> 29));
}

// The columns that the library's back-ends keep: those that the property tables of the kinds name, and those of the index
// itself. They are few, so they need no bound.
constexpr std::string_view kOwnColumns[] = {
    "ACTUALWORK",
    "ADR_WORK",
    "AGENT",
    "ALLDAYEVENT",
    "APPOINTMENTUID",
    "ATTACHMENTS",
    "ATTENDEES",
    "BDAY",
    "BILLING",
    "BODY",
    "BUSYSTATUS",
    "CC",
    "CLASS",
    "COMPANY",
    "COMPLETE",
    "CREATEDDATE",
    "DUEDATE",
    "EMAIL_PREF_INTERNET",
    "FILETYPE",
    "FINISHTIME",
    "FLAGSTATUS",
    "FN",
    "FROM",
    "IDX",
    "IMPORTANCE",
    "IM_TYPE-AIM",
    "IM_TYPE-FTMESSAGER",
    "IM_TYPE-MSMESSENGER",
    "IM_TYPE-ODIGO",
    "IM_TYPE-POWWOW",
    "IM_TYPE-YAHOOMESSENGER",
    "IM_TYPE=ICQ",
    "ISRECURRING",
    "LASTACCESSEDDATE",
    "LASTMODIFIEDDATE",
    "LOCATION",
    "MESSAGEDATE",
    "MILEAGE",
    "MODIFIEDDATE",
    "N",
    "NAME",
    "NICKNAME",
    "NOENDDATE",
    "NOTE",
    "OCCURRENCES",
    "OPTIONALATTENDEES",
    "ORG",
    "PATTERNENDDATE",
    "PATTERNSTARTDATE",
    "PERCCOMP",
    "PHOTO",
    "READ",
    "RECEIVED",
    "RECURRENCEDAYOFMONTH",
    "RECURRENCEDAYOFWEEKMASK",
    "RECURRENCEINSTANCE",
    "RECURRENCEINTERVAL",
    "RECURRENCEMONTHOFYEAR",
    "RECURRENCESTATE",
    "RECURRENCETYPE",
    "REMINDERMINUTESBEFORESTART",
    "REMINDERSET",
    "RESOURCES",
    "REV",
    "SENDERADDRESS",
    "SENDERNAME",
    "SENSITIVITY",
    "SEQ",
    "SIZE",
    "STARTDATE",
    "STARTIME",
    "STATE",
    "STATUS",
    "SUBJECT",
    "TEL_CELL_VOICE",
    "TEL_HOME_VOICE",
    "TEL_PAGER_VOICE",
    "TEL_WORK_FAX",
    "TEL_WORK_VOICE",
    "TITLE",
    "TO",
    "TOTALWORK",
    "TZSTART",
    "URL_WORK",
    "VCALENDAR",
    "VCARD",
    "VL_STATUS",
    "X-EPOCAGENDAENTRYTYPE",
    "X-EPOCSECONDNAME",
};
static_assert(std::is_sorted(std::begin(kOwnColumns), std::end(kOwnColumns)));

bool IsOwnColumn(std::string_view name) { return std::binary_search(std::begin(kOwnColumns), std::end(kOwnColumns), name); }

// An open hash that only grows: entries are published with a release store and never change, so readers need no lock.
class Names {
public:
    Names()
    {
        Intern("ID", 0);
        Intern("UID", 1);
        Intern("READ", 1);
    }

    IndexPropertyRef Find(std::string_view name) const
    {
        const Entry* const entry = Find(name, HashOf(name));
        return entry ? entry->property.Ref : IndexPropertyRef{};
    }

    const Entry* Find(std::string_view name, size_t hash) const
    {
        for (size_t at = hash % kBuckets;; at = (at + 1) % kBuckets) {
            const Entry* entry = buckets_[at].load(std::memory_order_acquire);
            if (!entry || (entry->hash == hash && entry->property.Name == name)) return entry;
        }
    }

    IndexPropertyRef LookUp(std::string_view name)
    {
        const size_t hash = HashOf(name);
        if (const Entry* entry = Find(name, hash)) return entry->property.Ref;
        const std::lock_guard<std::mutex> lock(mutex_);
        if (const Entry* entry = Find(name, hash)) return entry->property.Ref;
        if (!HasRoomFor(name)) return {};
        return Intern(name, 0);
    }

    bool CanHold(std::string_view name)
    {
        if (Find(name, HashOf(name))) return true;
        const std::lock_guard<std::mutex> lock(mutex_);
        return HasRoomFor(name);
    }

    std::shared_ptr<const std::vector<NamedProperty>> ByName()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!sorted_ || sorted_->size() != entries_.size()) {
            auto sorted = std::make_shared<std::vector<NamedProperty>>();
            sorted->reserve(entries_.size());
            for (const auto& entry : entries_) sorted->push_back(entry->property);
            std::sort(sorted->begin(), sorted->end(), [](const NamedProperty& a, const NamedProperty& b) { return a.Name < b.Name; });
            sorted_ = std::move(sorted);
        }
        return sorted_;
    }

    size_t Count()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return entries_.size();
    }

private:
    static constexpr size_t kBuckets = 4 * kMaxPropertyNames;

    bool HasRoomFor(std::string_view name) const { return entries_.size() < kMaxPropertyNames || IsOwnColumn(name); }

    IndexPropertyRef Intern(std::string_view name, uint32_t kind)
    {
        const size_t hash = HashOf(name);
        const IndexPropertyRef ref{static_cast<int32_t>(entries_.size()), kind};
        entries_.push_back(std::make_unique<Entry>(Entry{{std::string(name), ref}, hash}));
        size_t at = hash % kBuckets;
        while (buckets_[at].load(std::memory_order_relaxed)) at = (at + 1) % kBuckets;
        buckets_[at].store(entries_.back().get(), std::memory_order_release);
        return ref;
    }

    std::mutex mutex_;  // guards what follows; buckets_ is written under it and read without
    std::vector<std::unique_ptr<Entry>> entries_;
    std::shared_ptr<const std::vector<NamedProperty>> sorted_;
    std::array<std::atomic<const Entry*>, kBuckets> buckets_{};
};

// Lives until the process ends: items are destroyed late, by hosts that exit with folders open.
Names& ProcessNames()
{
    static Names* const names = new Names;
    return *names;
}

}  // namespace

IndexPropertyRef IndexPropertyTable::LookUp(std::string_view name) { return ProcessNames().LookUp(name); }

IndexPropertyRef IndexPropertyTable::Find(std::string_view name) { return ProcessNames().Find(name); }

bool IndexPropertyTable::CanHold(std::string_view name) { return ProcessNames().CanHold(name); }

std::shared_ptr<const std::vector<NamedProperty>> IndexPropertyTable::ByName() { return ProcessNames().ByName(); }

size_t IndexPropertyTable::Count() { return ProcessNames().Count(); }

}  // namespace velmora
