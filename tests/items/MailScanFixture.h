// A mail folder, a table of its own, and the scan over them.
#ifndef VELMORA_TESTS_ITEMS_MAILSCANFIXTURE_H
#define VELMORA_TESTS_ITEMS_MAILSCANFIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/Settings.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "items/MailScan.h"
#include "tests/items/HookedSeam.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

using Names = std::vector<std::string>;

class MailScan : public testing::Test {
protected:
    MailScan() { folder_ = store_.MakeFolder("Inbox"); }
    ~MailScan() override
    {
        UnInit(table_);
        delete table_.Content;
    }

    void Deliver(const std::string& name, std::string_view text = "Subject: s\r\n\r\nbody\r\n") { WriteFileBytes(folder_ / name, text); }
    void SetLimit(uint32_t limit)
    {
        store_.SetNumber("Maximum Index Rows", limit);
        ForgetCachedSettings();
    }
    std::string Path() const { return folder_.string(); }
    uint64_t Scan(uint32_t mode = kScanTakesBlock, uint32_t verify = 0)
    {
        return ScanFoldersOrdered(nullptr, table_, Path(), mode, verify);
    }
    // A scan while operations on files go the way that the hook says.
    uint64_t ScanUnder(HookedSeam::Hook hook)
    {
        const HookedSeam seam(std::move(hook));
        return Scan();
    }

    Names Ids()
    {
        Names ids;
        for (const IndexItemPropertyContainer* item : ContentOf(table_).Sequence) ids.emplace_back(item->Id());
        return ids;
    }
    std::string Column(const std::string& id, std::string_view column)
    {
        std::string text = "(no item)";
        if (const IndexItemPropertyContainer* const item = FindLoadedItem(table_, id)) {
            text = "(no column)";
            item->GetText(column, text);
        }
        return text;
    }
    Names Listed(uint32_t limit = 100000)
    {
        MessageListing listing;
        listing.Read(Path(), limit);
        Names names;
        for (size_t i = 0; i < listing.Count(); ++i) names.emplace_back(listing[i].name);
        return names;
    }
    bool Has(const char* name) const { return FileExists(folder_ / name); }

    TestStore store_;
    std::filesystem::path folder_;
    SORTEDSTOREINDEXTYPE table_;
};

// The same while branding is on.
class BrandedScan : public MailScan {
protected:
    BrandedScan()
    {
        store_.SetNumber("UID Branding Enabled", 1);
        ForgetCachedSettings();
    }
    std::string FolderId() const { return std::to_string(GetFolderUniqueId(folder_.string())); }
};

inline HookedSeam::Hook CountMessageOpens(uint32_t& opens)
{
    return [&opens](platform::FileOperation operation, std::string_view path, uint64_t) {
        if (operation == platform::FileOperation::Open && path.ends_with(".MAI")) ++opens;
        return platform::FileVerdict{};
    };
}

}  // namespace velmora::test

#endif
