// The strategies that carry an index between memory and disk, how one is chosen, and how a damaged file is recovered.
//
// Each call makes one short-lived object, uses it once and frees it. Everything here runs under the caller's locks: the
// folder's block file, which LoadIndex takes itself unless it is told that the caller holds it, and the record's Mutex.
#ifndef VELMORA_PERSISTENCE_LIBSTOREINDEXSERIALISATION_H
#define VELMORA_PERSISTENCE_LIBSTOREINDEXSERIALISATION_H

#include <cstdint>
#include <memory>
#include <string>

#include "velmora/index_records.h"

namespace velmora {

namespace platform {
class XmlDocument;
}

class StoreIndexSerialiser {
public:
    virtual ~StoreIndexSerialiser() = default;

    virtual void BackupIndex(const std::string& folderPath) = 0;
    virtual bool RestoreBackup(const std::string& folderPath) = 0;
    virtual bool QuarantineIndex(const std::string& folderPath) = 0;
    // 1 when the file is good or nothing had to be done, else 0.
    virtual uint64_t Serialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind) = 0;
    // The load level reached, 0 on failure.
    virtual int32_t Deserialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind, const std::string& pathA,
                                const std::string& pathB, int32_t level, uint32_t reserved, uint32_t verifyItemFiles) = 0;
    virtual bool RequiresFullLoad() const = 0;
    virtual bool SupportsBackup() const = 0;
    virtual bool HasBackup(const std::string& folderPath) = 0;
    virtual uint64_t BackupAgeMinutes(const std::string& folderPath) = 0;
    virtual void DeleteBackup(const std::string& folderPath) = 0;

    // Whether the last load made something that could not be written, or left out something that could not be read.
    bool LeftUnfinished() const { return !finished_; }
    // False when the last load found a file that it could not look into: such a file may be a good one, and stays as it is.
    bool OpenedFile() const { return openedFile_; }

protected:
    bool finished_ = true;
    bool openedFile_ = true;
};

// Operations on _index.xml, _index.xml.bak and _index.xml.bad that the two file formats share.
class IndexFileSerialiser : public StoreIndexSerialiser {
public:
    void BackupIndex(const std::string& folderPath) override;
    bool RestoreBackup(const std::string& folderPath) override;
    bool QuarantineIndex(const std::string& folderPath) override;
    bool HasBackup(const std::string& folderPath) override;
    uint64_t BackupAgeMinutes(const std::string& folderPath) override;
    void DeleteBackup(const std::string& folderPath) override;
};

// The flat file read by StreamIndexReader.h and updated in place by StreamIndexWriter.h.
class StreamXMLStoreIndexSerialiser : public IndexFileSerialiser {
public:
    uint64_t Serialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind) override;
    int32_t Deserialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind, const std::string& pathA,
                        const std::string& pathB, int32_t level, uint32_t reserved, uint32_t verifyItemFiles) override;
    bool RequiresFullLoad() const override { return false; }
    bool SupportsBackup() const override { return true; }
};

// The whole file as an XML document, always loaded and written in full. Every load fails, and every save, where no document can
// be made.
class MSXMLStoreIndexSerialiser : public IndexFileSerialiser {
public:
    // The form of the files comes from the settings.
    MSXMLStoreIndexSerialiser();
    // The same with another way to make documents.
    explicit MSXMLStoreIndexSerialiser(std::unique_ptr<platform::XmlDocument> (*make)());
    uint64_t Serialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind) override;
    int32_t Deserialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind, const std::string& pathA,
                        const std::string& pathB, int32_t level, uint32_t reserved, uint32_t verifyItemFiles) override;
    bool RequiresFullLoad() const override { return true; }
    bool SupportsBackup() const override { return false; }
    bool ProducesOldFormat() const { return producesOldFormat_; }

private:
    std::unique_ptr<platform::XmlDocument> (*make_)();
    bool producesOldFormat_;
};

// Makes the index agree with the folder's own files: loads through `inner`, if there is one, has the back-end scan the
// directory, and saves.
class UnindexedStoreIndexSerialiser : public StoreIndexSerialiser {
public:
    explicit UnindexedStoreIndexSerialiser(std::unique_ptr<StoreIndexSerialiser> inner) : inner_(std::move(inner)) {}
    // For a recovery, where `inner` stays with the caller.
    explicit UnindexedStoreIndexSerialiser(StoreIndexSerialiser& inner) : borrowed_(&inner) {}

    void BackupIndex(const std::string&) override {}
    bool RestoreBackup(const std::string&) override { return false; }
    bool QuarantineIndex(const std::string&) override { return false; }
    uint64_t Serialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind) override;
    int32_t Deserialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind, const std::string& pathA,
                        const std::string& pathB, int32_t level, uint32_t reserved, uint32_t verifyItemFiles) override;
    bool RequiresFullLoad() const override { return true; }
    bool SupportsBackup() const override { return false; }
    bool HasBackup(const std::string&) override { return false; }
    uint64_t BackupAgeMinutes(const std::string&) override { return 0; }
    void DeleteBackup(const std::string&) override {}

    StoreIndexSerialiser* Inner() const { return borrowed_ ? borrowed_ : inner_.get(); }
    // Whether the last load through `inner` failed for something that says nothing about the file.
    bool InnerUnread() const { return innerUnread_; }

private:
    bool innerUnread_ = false;
    std::unique_ptr<StoreIndexSerialiser> inner_;
    StoreIndexSerialiser* borrowed_ = nullptr;
};

// No file and nothing to rebuild: an empty index, loaded in full.
class NullStoreIndexDeserialiser : public StoreIndexSerialiser {
public:
    void BackupIndex(const std::string&) override {}
    bool RestoreBackup(const std::string&) override { return false; }
    bool QuarantineIndex(const std::string&) override { return false; }
    uint64_t Serialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind) override;
    int32_t Deserialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind, const std::string& pathA,
                        const std::string& pathB, int32_t level, uint32_t reserved, uint32_t verifyItemFiles) override;
    bool RequiresFullLoad() const override { return true; }
    bool SupportsBackup() const override { return false; }
    bool HasBackup(const std::string&) override { return false; }
    uint64_t BackupAgeMinutes(const std::string&) override { return 0; }
    void DeleteBackup(const std::string&) override {}
};

// The strategy that the settings and the folder's state ask for.
std::unique_ptr<StoreIndexSerialiser> ChooseDeserialiser(const std::string& folderPath, uint32_t indexKind, bool checkDirty,
                                                         bool forceRebuild);
std::unique_ptr<StoreIndexSerialiser> ChooseSerialiser();

// Runs a load: stores and returns the load level, keeps the backup copy, recovers a damaged file. No exception leaves
// it. A recovery goes one level deep: a backup that does not load either is deleted and the load fails. `dirtyMark` is the
// flag that was noted before the strategy was chosen (NoteDirtyMark; 0 for none): a full load takes it away.
int32_t DispatchDeserialise(StoreIndexSerialiser& serialiser, SORTEDSTOREINDEXTYPE& index, const std::string& folderPath,
                            uint32_t indexKind, const std::string& pathA, const std::string& pathB, int32_t level, uint32_t reserved,
                            uint32_t verifyItemFiles, uint64_t dirtyMark);
// Runs a save; 0 on any exception.
uint64_t DispatchSerialise(StoreIndexSerialiser& serialiser, SORTEDSTOREINDEXTYPE& index, const std::string& folderPath,
                           uint32_t indexKind);

// An age in minutes from the difference of two FILETIMEs read as a calendar date since 1601: years count 365 days and
// months 30. A time that is not in the past is 0 minutes old.
uint64_t AgeInMinutes(uint64_t fileTime, uint64_t now);

}  // namespace velmora

#endif
