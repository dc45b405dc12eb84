#include "tests/torture/History.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <sstream>
#include <utility>

namespace velmora::torture {

namespace {

constexpr size_t kNone = std::numeric_limits<size_t>::max();

// What a thread has begun and not ended, as places in the histories.
struct Loose {
    size_t session = kNone;
    size_t hold = kNone;
    size_t write = kNone;
    std::map<std::string, size_t> removals, deliveries;  // by message
    std::optional<uint32_t> folder;                      // of the deed
};

// The times of the text, as many as there are.
void ReadTimes(const Record& record, std::initializer_list<int64_t*> times)
{
    std::istringstream text(record.text);
    for (int64_t* const time : times) text >> *time;
}

class Scribe {
public:
    Scribe(std::map<uint32_t, History>& histories, const std::map<uint64_t, int64_t>& deaths) : histories_(histories), deaths_(deaths) {}

    void Take(const Record& record)
    {
        History& history = histories_[record.folder];
        Loose& loose = loose_[{record.process, record.thread}];
        switch (record.deed) {
            case Deed::Begin:
                loose.folder = record.folder;
                break;
            case Deed::End:
                loose.folder.reset();
                break;
            case Deed::OpenBegin:
                loose.session = history.sessions.size();
                BeginSession(history.sessions, record);
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
                loose.deliveries[record.id] = history.deliveries.size();
                history.deliveries.push_back({record.id, false, record.time, kNever});
                break;
            case Deed::DropEnd:
                if (loose.deliveries.count(record.id) == 0) break;
                history.deliveries[loose.deliveries[record.id]].ended = true;
                history.deliveries[loose.deliveries[record.id]].end = record.time;
                break;
            case Deed::RemoveBegin:
                loose.removals[record.id] = history.removals.size();
                history.removals.push_back({record.id, record.text == kItemToo, false, false, record.time, kNever});
                break;
            case Deed::RemoveEnd:
                if (loose.removals.count(record.id) != 0) EndRemoval(history.removals[loose.removals[record.id]], record);
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
                BeginWrite(history, loose, history.writes.emplace_back(), record);
                break;
            case Deed::WriteEnd:
                if (loose.write != kNone) EndWrite(history, loose, history.writes[loose.write], record);
                loose.write = kNone;
                // A load writes when it has made the index from the files: for a mark that it need not have taken away.
                if (loose.session != kNone && history.sessions[loose.session].loadEnd == kNever && record.text != "0 0")
                    history.sessions[loose.session].scans = true;
                break;
            case Deed::Block:
                TakeBlock(history.blocks.emplace_back(), record);
                break;
            case Deed::Refused: {
                Refusal& refusal = history.refusals.emplace_back(Refusal{record.process, record.thread, 0, 0});
                ReadTimes(record, {&refusal.begin, &refusal.end});
                break;
            }
            case Deed::Break:
                history.breaks.push_back(record.time);
                break;
            case Deed::Stolen:
                history.thefts.push_back(record.time);
                break;
            case Deed::Told:
                break;
            case Deed::Fault:
                history.faults.push_back("process " + std::to_string(record.process) + " saw: " + record.text);
                break;
            default:
                if (loose.session != kNone) TakeInSession(history, loose, record);
        }
    }

    // What was cut by a death, when all records have been taken.
    void End()
    {
        for (const auto& [who, loose] : loose_) {
            if (!loose.folder || DeathOf(who.first) == kNever) continue;
            History& history = histories_[*loose.folder];
            ++history.cutDeeds;
            if (Save* const save = PresentSave(history, loose); save && loose.write != kNone) save->wroteUntil = DeathOf(who.first);
        }
    }

private:
    int64_t DeathOf(uint64_t process) const
    {
        const auto death = deaths_.find(process);
        return death == deaths_.end() ? kNever : death->second;
    }

    void BeginSession(std::vector<Session>& sessions, const Record& record)
    {
        Session session;
        for (const Session& other : sessions)
            if (other.process == record.process && other.IsCut()) session.sharedSince = std::min(session.sharedSince, other.loadBegin);
        session.process = record.process;
        session.thread = record.thread;
        session.loadBegin = record.time;
        session.died = DeathOf(record.process);
        session.delivers = record.text == kDirectInsert;
        session.byName = record.text == kDirectUpdate;
        session.underBlock = session.delivers || session.byName || record.text == kDirectRemove;
        sessions.push_back(std::move(session));
    }

    static void EndRemoval(Removal& removal, const Record& record)
    {
        removal.ended = true;
        removal.told = record.number == 1;
        removal.withItem = removal.withItem || record.text == kItemToo;
        removal.end = record.time;
    }

    // The save in whose course it is, if any.
    static Save* PresentSave(History& history, const Loose& loose)
    {
        if (loose.session == kNone) return nullptr;
        std::vector<Save>& saves = history.sessions[loose.session].saves;
        return saves.empty() || saves.back().end != kNever ? nullptr : &saves.back();
    }

    void BeginWrite(const History& history, const Loose& loose, IndexWrite& write, const Record& record) const
    {
        write.process = record.process;
        write.thread = record.thread;
        write.begin = record.time;
        write.died = DeathOf(record.process);
        write.byName = loose.session != kNone && history.sessions[loose.session].byName;
    }

    static void EndWrite(History& history, const Loose& loose, IndexWrite& write, const Record& record)
    {
        ReadTimes(record, {&write.begin, &write.end});
        write.whole = record.number == 1;
        if (Save* const save = PresentSave(history, loose); save && write.end != 0) save->wroteUntil = write.end;
    }

    static void TakeBlock(BlockSpan& block, const Record& record)
    {
        block.process = record.process;
        block.thread = record.thread;
        ReadTimes(record, {&block.begin, &block.end, &block.surelyFrom, &block.surelyTo});
    }

    static void TakeLoaded(Session& session, const std::string& text)
    {
        session.hasLoaded = true;
        std::istringstream entries(text);
        for (std::string entry; std::getline(entries, entry, ',');) {
            const size_t equals = entry.find('=');
            if (equals != entry.npos) session.loaded[entry.substr(0, equals)] = entry.substr(equals + 1);
        }
    }

    void TakeInSession(History& history, Loose& loose, const Record& record)
    {
        Session& session = history.sessions[loose.session];
        switch (record.deed) {
            case Deed::OpenEnd:
                session.loadEnd = record.time;
                if (record.number == 2) session.loadBegin = std::min(session.loadBegin, session.sharedSince);
                break;
            case Deed::Loaded:
                TakeLoaded(session, record.text);
                break;
            case Deed::Set:
                history.sets.push_back({record.id, record.text, record.time, loose.session, session.saves.size()});
                break;
            case Deed::SaveBegin:
                session.saves.push_back({record.time, kNever, false, kNotAtAll});
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
    scribe.End();
    for (auto& [folder, history] : histories)
        for (const Session& session : history.sessions)
            if (session.scans || session.IsCutInOpen()) history.scans.push_back(session.OpenEnd());
    return histories;
}

}  // namespace velmora::torture
