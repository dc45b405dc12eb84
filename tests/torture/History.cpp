#include "tests/torture/History.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace velmora::torture {

namespace {

constexpr size_t kNone = std::numeric_limits<size_t>::max();

// What a thread has begun and not ended, as places in the histories.
struct Loose {
    size_t session = kNone;
    size_t hold = kNone;
    size_t removal = kNone;
    size_t delivery = kNone;
    size_t write = kNone;
};

class Scribe {
public:
    Scribe(std::map<uint32_t, History>& histories, const std::map<uint64_t, int64_t>& deaths) : histories_(histories), deaths_(deaths) {}

    void Take(const Record& record)
    {
        History& history = histories_[record.folder];
        Loose& loose = loose_[{record.process, record.thread}];
        switch (record.deed) {
            case Deed::OpenBegin:
                loose.session = history.sessions.size();
                history.sessions.push_back(
                    {record.process, record.thread, record.time, kNever, kNever, false, false, DeathOf(record.process), {}});
                break;
            case Deed::HoldBegin:
                loose.hold = history.holds.size();
                history.holds.push_back({record.process, record.thread, record.time, record.time});
                if (loose.session != kNone) history.sessions[loose.session].underBlock = true;
                break;
            case Deed::HoldEnd:
                if (loose.hold != kNone) history.holds[loose.hold].end = record.time;
                break;
            case Deed::DropBegin:
                loose.delivery = history.deliveries.size();
                history.deliveries.push_back({record.id, false, record.time, kNever});
                break;
            case Deed::DropEnd:
                if (loose.delivery == kNone) break;
                history.deliveries[loose.delivery].ended = true;
                history.deliveries[loose.delivery].end = record.time;
                break;
            case Deed::RemoveBegin:
                loose.removal = history.removals.size();
                history.removals.push_back({record.id, record.text == "item", false, false, record.time, kNever});
                break;
            case Deed::RemoveEnd:
                if (loose.removal == kNone) break;
                history.removals[loose.removal].ended = true;
                history.removals[loose.removal].told = record.number == 1;
                history.removals[loose.removal].end = record.time;
                break;
            case Deed::Seen:
                history.sightings.push_back({record.id, record.number, record.process});
                break;
            case Deed::Scan:
                history.scans.push_back(record.time);
                if (loose.session != kNone) history.sessions[loose.session].scans = true;
                break;
            case Deed::Mark:
                break;
            case Deed::Damage:
                history.damages.push_back(record.time);
                break;
            case Deed::WriteBegin:
                loose.write = history.writes.size();
                history.writes.push_back({record.process, record.thread, record.time, kNever, true});
                break;
            case Deed::WriteEnd:
                if (loose.write != kNone) EndWrite(history.writes[loose.write], record);
                loose.write = kNone;
                // A load writes when it has made the index from the files: for a mark that it need not have taken away.
                if (loose.session != kNone && history.sessions[loose.session].loadEnd == kNever && record.text != "0 0")
                    history.sessions[loose.session].scans = true;
                break;
            case Deed::Fault:
                history.faults.push_back("process " + std::to_string(record.process) + " saw: " + record.text);
                break;
            default:
                if (loose.session != kNone) TakeInSession(history, loose, record);
        }
    }

private:
    int64_t DeathOf(uint64_t process) const
    {
        const auto death = deaths_.find(process);
        return death == deaths_.end() ? kNever : death->second;
    }

    static void EndWrite(IndexWrite& write, const Record& record)
    {
        std::istringstream times(record.text);
        times >> write.begin >> write.end;
        write.whole = record.number == 1;
    }

    void TakeInSession(History& history, Loose& loose, const Record& record)
    {
        Session& session = history.sessions[loose.session];
        switch (record.deed) {
            case Deed::OpenEnd:
                session.loadEnd = record.time;
                break;
            case Deed::Set:
                history.sets.push_back({record.id, record.text, record.time, loose.session, session.saves.size()});
                break;
            case Deed::SaveBegin:
                session.saves.push_back({record.time, kNever, false});
                break;
            case Deed::SaveEnd:
                if (session.saves.empty()) break;
                session.saves.back().end = record.time;
                session.saves.back().told = record.number == 1;
                break;
            case Deed::Close:
                session.close = record.time;
                loose.session = kNone;
                break;
            default:
                break;
        }
    }

    std::map<uint32_t, History>& histories_;
    const std::map<uint64_t, int64_t>& deaths_;
    std::map<std::pair<uint64_t, uint32_t>, Loose> loose_;
};

}  // namespace

std::map<uint32_t, History> MakeHistories(const std::vector<Record>& records, const std::map<uint64_t, int64_t>& deaths)
{
    std::map<uint32_t, History> histories;
    Scribe scribe(histories, deaths);
    for (const Record& record : records) scribe.Take(record);
    for (auto& [folder, history] : histories)
        for (const Session& session : history.sessions)
            if (session.scans || session.IsCutInOpen()) history.scans.push_back(session.OpenEnd());
    return histories;
}

}  // namespace velmora::torture
