// vlstore index check FILE: whether every reader of the store takes an index file, and whether it makes sense; where not, the
// first place that is wrong. The tool's own reader looks; nothing is locked or changed.

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

void CheckIndex(const Options& options, Session& session, Output& output)
{
    const IndexPlace place = FindIndexPlace(options.place, session);
    const std::string bytes = ReadIndexBytes(place.file);
    const IndexFile index = ReadIndex(bytes);
    const size_t tombstones = index.Tombstones();
    std::vector<std::string> names = {"file", "form", "lastUid", "elements", "tombstones", "bytes"};
    Row row = {place.file.string(),
               NameOf(index.form),
               int64_t{index.lastUid},
               static_cast<int64_t>(index.elements.size() - tombstones),
               static_cast<int64_t>(tombstones),
               static_cast<int64_t>(bytes.size())};
    const std::optional<XmlFault> fault = index.FirstFault();
    if (fault) {
        names.insert(names.end(), {"fault", "offset", "line"});
        row.insert(row.end(), {fault->what, static_cast<int64_t>(fault->offset), static_cast<int64_t>(LineOf(bytes, fault->offset))});
    }
    output.Record(names, row);
    output.Finish();
    if (fault) throw Failure(ExitCode::Data, FaultText(place.file, bytes, *fault));
}

}  // namespace

void AddIndexCheck(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("check", "Look for the first fault of an index file, without locking it");
    verb->add_option("FILE", options->place, kIndexPlaceHelp)->required();
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { CheckIndex(*options, run, output); }; });
}

}  // namespace vlstore
