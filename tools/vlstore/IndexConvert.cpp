// vlstore index convert FILE --to FORM: writes an index in another form.
//
// The library does it, as it does for every folder: on a copy in a directory of its own, with settings that choose the reader
// and the writer. Where no item files are there are none to look for, so every item stays. What comes out is read with the
// tool's own reader and must have the same items with the same values; then it takes the place of the index in one step,
// under the folder's block file, which is held from before the first read. Until that step nothing of the folder has changed.

#include <CLI/CLI.hpp>
#include <cstring>
#include <memory>

#include "ExitCode.h"
#include "FolderBlock.h"
#include "IndexPlace.h"
#include "Message.h"
#include "Session.h"
#include "SettingsFile.h"
#include "System.h"
#include "Text.h"
#include "velmora/index_records.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kStreamReader = "Use XML Stream Index Deserialisation";
constexpr const char* kOldForm = "MSXML Index Serialisation Produces Old Format";
constexpr int32_t kFullLoad = 3;

struct Options {
    std::string place, form;
    bool dryRun = false;
};

// A directory for this run alone.
class PrivateDirectory {
public:
    PrivateDirectory()
    {
        std::error_code error;
        path_ = MakePrivateDirectory(error);
        if (error) throw Failure(ExitCode::CannotCreate, "cannot make a temporary directory: " + error.message());
    }
    ~PrivateDirectory()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    PrivateDirectory(const PrivateDirectory&) = delete;
    PrivateDirectory& operator=(const PrivateDirectory&) = delete;
    const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

void WriteFile(const fs::path& path, std::string_view bytes)
{
    if (std::error_code error = WriteNewFile(path, bytes))
        throw Failure(CodeOf(error, ExitCode::CannotCreate), "cannot write " + path.string() + ": " + error.message());
}

IndexForm FormOf(const std::string& name)
{
    if (name == NameOf(IndexForm::Stream)) return IndexForm::Stream;
    return name == NameOf(IndexForm::DomNew) ? IndexForm::DomNew : IndexForm::DomOld;
}

// The library on a directory of its own, by settings that no store has.
class Converter {
public:
    // The library reads these settings when it first needs them: `loaded` has not loaded or saved an index yet.
    Converter(IndexForm from, IndexForm to, const Library* loaded)
    {
        RegistryText settings = RegistryText::Parse("");
        settings.Set(kBaseKey, kStreamReader, RegistryValue::OfNumber(from == IndexForm::Stream));
        settings.Set(kBaseKey, kIndexWriterSetting, RegistryValue::OfNumber(to == IndexForm::Stream));
        settings.Set(kBaseKey, kOldForm, RegistryValue::OfNumber(to == IndexForm::DomOld));
        const fs::path file = directory_.Path() / "registry.reg";
        WriteFile(file, settings.Serialise());
        SetEnvironment("VELMORA_REGISTRY", file.string());
        library_ = loaded ? *loaded : LoadLibraryModule();
    }

    const Library& Functions() const { return library_; }

    std::string Convert(std::string_view bytes) const
    {
        const fs::path folder = directory_.Path() / "folder";
        std::error_code error;
        fs::create_directory(folder, error);
        WriteFile(folder / "_index.xml", bytes);
        const std::string path = folder.string();
        auto record = std::make_unique<STOREINDEXTYPE>();
        library_.indexInit(record.get());
        if (path.size() >= sizeof record->Path)
            throw Failure(ExitCode::CannotCreate, "the path of the temporary directory is too long: " + path);
        std::memcpy(record->Path, path.c_str(), path.size() + 1);
        library_.indexGet(record.get());
        const bool loaded = record->Table.LoadLevel == kFullLoad;
        record->Table.RewriteRequired = 1;
        const bool saved = loaded && library_.indexSave(record.get()) == 1;
        library_.indexRelease(record.get());
        library_.threadRelease();
        if (!loaded) throw Failure(ExitCode::Data, "the library does not load this index; it stays as it is");
        if (!saved) throw Failure(ExitCode::IoError, "the library does not write this index; it stays as it is");
        return ReadIndexBytes(folder / "_index.xml");
    }

private:
    PrivateDirectory directory_;
    Library library_;
};

// In the library READ is a number that every item has.
std::map<std::string, std::string> ValuesOf(const IndexFile& index, const IndexElement& element)
{
    std::map<std::string, std::string> values = PropertiesOf(index, element);
    values.try_emplace("READ", "0");
    return values;
}

// What two indexes with the same items differ in; nothing when they do not.
std::string Difference(const IndexFile& before, const IndexFile& after)
{
    if (after.fault) return "it has a fault: " + after.fault->what;
    if (after.lastUid != before.lastUid) return "LASTUID became " + std::to_string(after.lastUid);
    std::map<std::string_view, const IndexElement*> items;
    for (const IndexElement& element : after.elements) {
        if (!element.tombstone) items.emplace(element.id, &element);
    }
    size_t count = 0;
    for (const IndexElement& element : before.elements) {
        if (element.tombstone) continue;
        ++count;
        const auto found = items.find(element.id);
        if (found == items.end()) return "the item " + element.id + " is not in it";
        if (found->second->uid != element.uid) return "the item " + element.id + " has another UID";
        if (ValuesOf(before, element) != ValuesOf(after, *found->second)) return "the item " + element.id + " has other values";
    }
    return items.size() == count ? std::string() : "it has more items";
}

class ConvertRun {
public:
    ConvertRun(const Options& options, const Session& session, Output& output)
        : options_(options), session_(session), output_(output), to_(FormOf(options.form)), place_(FindIndexPlace(options.place, session))
    {
    }

    void Run()
    {
        std::string bytes = ReadIndexBytes(place_.file);
        const IndexForm from = RequireSound(bytes).form;
        if (from == to_) return Report(bytes, from, bytes.size(), "is in that form");
        const Converter converter(from, to_, place_.store ? &place_.store->Functions() : nullptr);
        if (options_.dryRun) return Report(bytes, from, Converted(converter, bytes).size(), "would be converted");

        const FolderBlock block(converter.Functions(), BlockFile(), place_.label, LockWaitOf(session_));
        // Somebody may have had the folder until now.
        bytes = ReadIndexBytes(place_.file);
        if (RequireSound(bytes).form != from) throw Failure(ExitCode::Temporary, "the index was just written anew: " + place_.label);
        const std::string converted = Converted(converter, bytes);
        Replace(converted);
        Report(bytes, from, converted.size(), "converted");
    }

private:
    fs::path BlockFile() const
    {
        const bool groups = StartsWithNoCase(place_.file.filename().string(), "_groups.");
        return fs::absolute(place_.file).parent_path() / (groups ? "_groups.blk" : "_index.blk");
    }

    IndexFile RequireSound(std::string_view bytes) const
    {
        IndexFile index = ReadIndex(bytes);
        if (index.fault) throw Failure(ExitCode::Data, FaultText(place_.file, bytes, *index.fault));
        return index;
    }

    std::string Converted(const Converter& converter, std::string_view bytes) const
    {
        std::string converted = converter.Convert(bytes);
        const IndexFile before = ReadIndex(bytes), after = ReadIndex(converted);
        const std::string difference = Difference(before, after);
        if (!difference.empty()) throw Failure(ExitCode::Data, place_.label + " stays as it is, since converted " + difference);
        // Names that the stream reader would misread in a document are never written in the new form of one.
        if (after.form != to_)
            throw Failure(ExitCode::Data, place_.label + " stays as it is: for its items the library writes " + NameOf(after.form));
        return converted;
    }

    void Replace(std::string_view converted) const
    {
        std::error_code error = ReplaceFileContent(place_.file, converted);
        if (error) throw Failure(CodeOf(error, ExitCode::IoError), "cannot write " + place_.file.string() + ": " + error.message());
        if (SyncDirectory(fs::absolute(place_.file).parent_path()))
            PutMessage("note: a crash may bring the old index back: " + place_.file.string());
        if (ReadIndexBytes(place_.file) != converted)
            throw Failure(ExitCode::IoError, "what was written does not read back: " + place_.file.string());
    }

    void Report(std::string_view bytes, IndexForm from, size_t size, const char* what) const
    {
        const IndexFile index = ReadIndex(bytes);
        const size_t tombstones = index.Tombstones(), items = index.elements.size() - tombstones;
        output_.Record({"file", "result", "from", "to", "elements", "tombstones", "bytesBefore", "bytesAfter"},
                       {place_.file.string(), what, NameOf(from), NameOf(to_), static_cast<int64_t>(items),
                        static_cast<int64_t>(tombstones), static_cast<int64_t>(bytes.size()), static_cast<int64_t>(size)});
    }

    const Options& options_;
    const Session& session_;
    Output& output_;
    const IndexForm to_;
    const IndexPlace place_;
};

}  // namespace

void AddIndexConvert(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("convert", "Write an index in another form, with the same items, and without its tombstones");
    verb->add_option("FILE", options->place, kIndexPlaceHelp)->required();
    verb->add_option("--to", options->form, "stream, dom-old or dom-new")
        ->required()
        ->check(CLI::IsMember({"stream", "dom-old", "dom-new"}))
        ->type_name("FORM");
    verb->add_flag("--dry-run", options->dryRun, "Convert a copy, say what came out, and write nothing");
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { ConvertRun(*options, run, output).Run(); }; });
}

}  // namespace vlstore
