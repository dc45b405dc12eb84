// vlstore index dump FILE: an index file piece by piece, every byte of it, with the tool's own reader; nothing is locked or
// changed.

#include <CLI/CLI.hpp>
#include <memory>

#include "ExitCode.h"
#include "IndexPlace.h"
#include "Session.h"

namespace vlstore {

namespace {

struct Options {
    std::string place;
};

class Dump {
public:
    Dump(std::string_view bytes, const IndexFile& index, Output& output) : bytes_(bytes), index_(index), output_(output) {}

    void Run()
    {
        output_.Remark(Summary());
        output_.Begin({"offset", "length", "piece", "VL_ITEM_ID", "UID", "properties", "form", "lastUid"});
        if (index_.rootLength > 0) {
            Fill(index_.rootOffset, "head");
            Put(index_.rootLength, "root", {}, {}, {}, NameOf(index_.form), int64_t{index_.lastUid});
        }
        for (const IndexElement& element : index_.elements) {
            Fill(element.offset, "gap");
            const Cell count = static_cast<int64_t>(element.properties.size());
            if (element.tombstone)
                Put(element.length, "tombstone", {}, {}, count);
            else
                Put(element.length, "element", element.id, int64_t{element.uid}, count);
        }
        if (index_.endLength > 0) {
            Fill(index_.endOffset, "gap");
            Put(index_.endLength, "end");
        }
        Fill(bytes_.size(), index_.fault ? "unread" : "tail");
        output_.End();
        output_.Finish();
    }

private:
    std::string Summary() const
    {
        const size_t tombstones = index_.Tombstones();
        const std::string last =
            index_.lastUidText ? std::to_string(index_.lastUid) + " (" + std::string(*index_.lastUidText) + ")" : "missing";
        return std::string("form ") + NameOf(index_.form) + ", LASTUID " + last + ", " +
               std::to_string(index_.elements.size() - tombstones) + " elements, " + std::to_string(tombstones) + " tombstones, " +
               std::to_string(bytes_.size()) + " bytes";
    }

    // The bytes up to `offset` that are no piece.
    void Fill(size_t offset, const char* piece)
    {
        if (at_ < offset) Put(offset - at_, piece);
    }

    void Put(size_t length, const char* piece, Cell id = {}, Cell uid = {}, Cell properties = {}, Cell form = {}, Cell lastUid = {})
    {
        output_.Add({static_cast<int64_t>(at_), static_cast<int64_t>(length), piece, std::move(id), std::move(uid), std::move(properties),
                     std::move(form), std::move(lastUid)});
        at_ += length;
    }

    const std::string_view bytes_;
    const IndexFile& index_;
    Output& output_;
    size_t at_ = 0;
};

void DumpIndex(const Options& options, Session& session, Output& output)
{
    const IndexPlace place = FindIndexPlace(options.place, session);
    const std::string bytes = ReadIndexBytes(place.file);
    const IndexFile index = ReadIndex(bytes);
    Dump(bytes, index, output).Run();
    if (index.fault) throw Failure(ExitCode::Data, FaultText(place.file, bytes, *index.fault));
}

}  // namespace

void AddIndexDump(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("dump", "Show every piece of an index file with its place, without locking it");
    verb->add_option("FILE", options->place, kIndexPlaceHelp)->required();
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { DumpIndex(*options, run, output); }; });
}

}  // namespace vlstore
