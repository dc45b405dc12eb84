// The index file that a verb is about: a file by its path, or the index of a folder.
#ifndef VLSTORE_INDEXPLACE_H
#define VLSTORE_INDEXPLACE_H

#include <filesystem>
#include <memory>
#include <string>

#include "IndexReader.h"
#include "Session.h"
#include "Store.h"

namespace vlstore {

struct IndexPlace {
    std::filesystem::path file;
    std::string label;             // the folder, or the file
    std::unique_ptr<Store> store;  // of a folder; null for a file, which needs no store
};

// What is a file is taken for one; anything else is the name of a folder. Throws Failure when it is neither, or a folder
// without an index.
IndexPlace FindIndexPlace(const std::string& argument, const Session& session);

// The bytes of an index file. Throws Failure; also for one beyond 4 GiB, which no index is.
std::string ReadIndexBytes(const std::filesystem::path& file);

// "PATH: byte 12, line 1: WHAT".
std::string FaultText(const std::filesystem::path& file, std::string_view bytes, const XmlFault& fault);

inline constexpr const char* kIndexPlaceHelp = "An index file, or POSTOFFICE/MAILBOX/FOLDER";

}  // namespace vlstore

#endif
