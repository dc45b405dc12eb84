// Indexes as documents: a load and a save in full, beside an XML library's own on the same file.
#include <cstring>
#include <memory>
#include <pugixml.hpp>
#include <string>

#include "bench/Corpus.h"
#include "bench/Measure.h"
#include "index/IndexTable.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "velmora/index_records.h"
#include "velmora/vlaisp.h"

namespace velmora::bench {
namespace {

constexpr int32_t kFullLoad = 3;

// A table that is read and written as a document, whatever the settings of the process.
class DocumentFolder {
public:
    explicit DocumentFolder(std::string path) : path_(std::move(path)) { StoreIndex_Init(&record_); }
    ~DocumentFolder() { StoreIndex_Release(&record_); }
    DocumentFolder(const DocumentFolder&) = delete;
    DocumentFolder& operator=(const DocumentFolder&) = delete;

    uint32_t Load()
    {
        MSXMLStoreIndexSerialiser serialiser;
        record_.Table.LoadLevel = serialiser.Deserialise(record_.Table, path_, 0, "", "", kFullLoad, 0, 0);
        Require(record_.Table.LoadLevel == kFullLoad, "the document does not load");
        return ItemCountOf(record_.Table);
    }
    void Save()
    {
        MSXMLStoreIndexSerialiser serialiser;
        Require(serialiser.Serialise(record_.Table, path_, 0) == 1, "the document cannot be saved");
    }

private:
    std::string path_;
    STOREINDEXTYPE record_;
};

// The corpus' index as a save of a document leaves it.
std::string DocumentPath(const std::string& name, uint32_t size)
{
    const auto source = MakeIndexFile(DataDirectory() / ("index-" + std::to_string(size)), size);
    const auto directory = DataDirectory() / ("document-" + name + "-" + std::to_string(size));
    OverwriteFile(source, directory / "_index.xml");
    DocumentFolder folder(directory.string());
    Require(folder.Load() == size, "items are missing");
    folder.Save();
    return directory.string();
}

void BenchLoad(benchmark::State& state, uint32_t size)
{
    const std::string path = DocumentPath("load", size);
    std::unique_ptr<DocumentFolder> folder;
    Measure(
        state, [&] { folder = std::make_unique<DocumentFolder>(path); }, [&] { Require(folder->Load() == size, "items are missing"); });
}

void BenchSave(benchmark::State& state, uint32_t size)
{
    DocumentFolder folder(DocumentPath("save", size));
    Require(folder.Load() == size, "items are missing");
    Measure(state, {}, [&] { folder.Save(); });
}

// With the values' bytes touched, as whoever fills a table from them has to.
void BenchPlainLoad(benchmark::State& state, uint32_t size)
{
    const std::string file = DocumentPath("plain", size) + "/_index.xml";
    std::unique_ptr<pugi::xml_document> document;
    Measure(
        state, [&] { document = std::make_unique<pugi::xml_document>(); },
        [&] {
            Require(document->load_file(file.c_str()), "not a document");
            size_t bytes = 0;
            for (const pugi::xml_node element : document->first_child())
                for (const pugi::xml_node child : element) bytes += std::strlen(child.child_value());
            benchmark::DoNotOptimize(bytes);
        });
}

void BenchPlainSave(benchmark::State& state, uint32_t size)
{
    const std::string file = DocumentPath("plain", size) + "/_index.xml";
    pugi::xml_document document;
    Require(document.load_file(file.c_str()), "not a document");
    Measure(state, {},
            [&] { Require(document.save_file(file.c_str(), "", pugi::format_raw | pugi::format_no_declaration), "cannot save"); });
}

}  // namespace

void RegisterDocumentBenchmarks()
{
    constexpr std::pair<const char*, void (*)(benchmark::State&, uint32_t)> kAll[] = {{"PlainDocumentLoad", BenchPlainLoad},
                                                                                      {"PlainDocumentSave", BenchPlainSave},
                                                                                      {"DocumentLoad", BenchLoad},
                                                                                      {"DocumentSave", BenchSave}};
    for (const uint32_t size : Sizes())
        for (const auto& [name, bench] : kAll)
            Register(name, size, RoundsFor(size), [size, bench = bench](benchmark::State& state) { bench(state, size); });
}

}  // namespace velmora::bench
