#include "tests/faults/Look.h"

#include <stdexcept>

#include "frame/Attach.h"
#include "tests/faults/ScanWatch.h"
#include "tests/faults/Scenario.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FakeClock.h"
#include "velmora/vlaisp.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

// Texts as length, colon and bytes, so that no column can be taken for anything else.
void Put(std::string& bytes, const std::string& text) { bytes += std::to_string(text.size()) + ":" + text; }

class Pieces {
public:
    explicit Pieces(const std::string& bytes) : bytes_(bytes) {}
    std::string Next()
    {
        const size_t colon = bytes_.find(':', at_);
        if (colon == std::string::npos) throw std::runtime_error("a process that was to list the folder broke off");
        const size_t size = std::stoul(bytes_.substr(at_, colon - at_));
        if (size > bytes_.size() - colon - 1) throw std::runtime_error("a process that was to list the folder broke off");
        at_ = colon + 1 + size;
        return bytes_.substr(colon + 1, size);
    }
    size_t NextNumber() { return std::stoul(Next()); }

private:
    const std::string& bytes_;
    size_t at_ = 0;
};

std::string BytesOf(const Look& look)
{
    std::string bytes;
    Put(bytes, std::to_string(look.opened));
    Put(bytes, std::to_string(look.scanned ? 1 : 0));
    Put(bytes, std::to_string(look.counts ? 1 : 0));
    if (look.counts)
        for (const uint32_t word : *look.counts) Put(bytes, std::to_string(word));
    Put(bytes, std::to_string(look.listing.size()));
    for (const auto& [id, columns] : look.listing) {
        Put(bytes, id);
        Put(bytes, std::to_string(columns.size()));
        for (const auto& [name, value] : columns) {
            Put(bytes, name);
            Put(bytes, value);
        }
    }
    return bytes;
}

Look LookOf(const std::string& bytes)
{
    Pieces pieces(bytes);
    Look look;
    look.opened = pieces.NextNumber();
    look.scanned = pieces.NextNumber() != 0;
    if (pieces.NextNumber() != 0)
        for (uint32_t& word : look.counts.emplace()) word = static_cast<uint32_t>(pieces.NextNumber());
    for (size_t items = pieces.NextNumber(); items != 0; --items) {
        Columns& columns = look.listing[pieces.Next()];
        for (size_t left = pieces.NextNumber(); left != 0; --left) {
            const std::string name = pieces.Next();
            columns[name] = pieces.Next();
        }
    }
    return look;
}

}  // namespace

Look LookHere()
{
    const ScanWatch watch;
    Look look;
    look.opened = StoreFolder_Open("po", "box", "INBOX", 0, 0);
    look.listing = ListingOfOpenFolder();
    LeaveEverything();
    look.scanned = watch.Scans() != 0;
    look.counts = ReadCounts();
    return look;
}

Look LookInNewProcess(const fs::path& directory)
{
    const fs::path answer = directory / "listing.txt";
    fs::remove(answer);
    ChildOptions options;
    options.closedInput = true;
    options.stdoutPath = directory / "output.txt";
    ChildProcess child(OwnProgramPath(), {kLookArgument, answer.string()}, options);
    if (const int ended = child.Wait(); ended != 0)
        throw std::runtime_error("a process that was to list the folder ended with " + std::to_string(ended));
    return LookOf(ReadFileBytes(answer));
}

int RunLook(const std::vector<std::string>& arguments)
{
    FakeClock clock;
    SetPresentTime(clock);
    if (arguments.size() != 1 || !ProcessAttach()) return 1;
    WriteFileBytes(arguments[0], BytesOf(LookHere()));
    ThreadDetach();
    ProcessDetach();
    return 0;
}

}  // namespace velmora::test
