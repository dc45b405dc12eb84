// Documents in files: through the file operations, whole or not at all.
#include "platform/FileSeam.h"
#include "platform/Xml.h"
#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

using platform::FileOperation;
using platform::FileVerdict;
using platform::XmlDocument;

constexpr uint32_t kSystem = 0x80070000;

// Makes the operations of one kind fail, from the `first`-th on and `times` times.
class Breaker : public platform::FileSeam {
public:
    Breaker(FileOperation operation, FileVerdict verdict, int first = 1, int times = 1000)
        : operation_(operation), verdict_(verdict), first_(first), times_(times), before_(platform::ReplaceFileSeam(this))
    {
    }
    ~Breaker() override { platform::ReplaceFileSeam(before_); }
    FileVerdict Before(FileOperation operation, const char*, uint64_t) override
    {
        if (operation == FileOperation::Read) ++reads;
        if (operation != operation_) return {};
        ++met_;
        return met_ >= first_ && met_ < first_ + times_ ? verdict_ : FileVerdict{};
    }
    int reads = 0;

private:
    FileOperation operation_;
    FileVerdict verdict_;
    int first_;
    int times_;
    int met_ = 0;
    platform::FileSeam* before_;
};

FileVerdict Failing(uint32_t error) { return {error, UINT64_MAX}; }

class XmlFiles : public PlatformTest {
protected:
    // A document to be saved.
    std::unique_ptr<XmlDocument> Made(const char* root = "new")
    {
        auto document = XmlDocument::Create();
        document->CreateRoot(root);
        return document;
    }
    // The code that a save raises, or 0.
    uint32_t SaveError(const XmlDocument& document, const std::string& path)
    {
        try {
            document.Save(path);
        } catch (const ComError& error) {
            EXPECT_FALSE(error.meaning.empty());
            EXPECT_FALSE(error.source.empty());
            EXPECT_NE(error.description.find(path), std::string::npos);
            return error.code;
        }
        return 0;
    }
    std::vector<std::string> Names() { return Search(At("*")); }
    const std::unique_ptr<XmlDocument> document_ = XmlDocument::Create();
};

using Names_ = std::vector<std::string>;

TEST_F(XmlFiles, AFileIsLoaded)
{
    const std::string path = MakeFile("f.xml", "<a>\xC3\xA4</a>");
    EXPECT_TRUE(document_->Load(path));
    EXPECT_EQ(document_->DocumentElement().Text(), "\xE4");
}

TEST_F(XmlFiles, AFileIsFoundInAnyCase)
{
    MakeFile("_Shares.xml", "<SHARES/>");
    EXPECT_TRUE(document_->Load(At("_shares.XML")));
    Made("b")->Save(At("_SHARES.XML"));
    EXPECT_EQ(Contents(At("_Shares.xml")), "<b/>");
    EXPECT_EQ(Names().size(), 3u);
}

TEST_F(XmlFiles, AFileThatIsNotThereIsToldByCode)
{
    ASSERT_TRUE(document_->LoadBytes("<a/>"));
    EXPECT_FALSE(document_->Load(At("none.xml")));
    EXPECT_EQ(document_->ParseError().code, kSystem | ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(document_->ParseError().line, 0);
    EXPECT_EQ(document_->ParseError().column, 0);
    EXPECT_FALSE(document_->ParseError().reason.empty());
    EXPECT_FALSE(document_->DocumentElement());
    EXPECT_FALSE(document_->Load(At("no directory\\none.xml")));
    EXPECT_EQ(document_->ParseError().code, kSystem | ERROR_PATH_NOT_FOUND);
    MakeDirectory("d");
    EXPECT_FALSE(document_->Load(At("d")));
    EXPECT_NE(document_->ParseError().code, 0u);
    EXPECT_FALSE(document_->Load(""));
    EXPECT_NE(document_->ParseError().code, 0u);
}

TEST_F(XmlFiles, AnEmptyFileIsNoDocument)
{
    EXPECT_FALSE(document_->Load(MakeFile("f.xml")));
    EXPECT_EQ(document_->ParseError().line, 1);
    EXPECT_EQ(document_->ParseError().column, 1);
}

TEST_F(XmlFiles, ALoadTakesOneReadAndIsMetByTheSeam)
{
    const std::string path = MakeFile("f.xml", "<a>" + std::string(100000, 'x') + "</a>");
    {
        Breaker none(FileOperation::Count_, {});
        EXPECT_TRUE(document_->Load(path));
        EXPECT_EQ(none.reads, 1);
    }
    {
        Breaker open(FileOperation::Open, Failing(ERROR_SHARING_VIOLATION));
        EXPECT_FALSE(document_->Load(path));
        EXPECT_EQ(document_->ParseError().code, kSystem | ERROR_SHARING_VIOLATION);
    }
    Breaker read(FileOperation::Read, Failing(ERROR_IO_DEVICE));
    EXPECT_FALSE(document_->Load(path));
    EXPECT_EQ(document_->ParseError().code, kSystem | ERROR_IO_DEVICE);
    EXPECT_FALSE(document_->DocumentElement());
}

TEST_F(XmlFiles, ALargeFileIsLoadedWhole)
{
    std::string text;
    for (int i = 0; i < 400000; ++i) text += std::to_string(i) + " ";
    const std::string path = MakeFile("f.xml", "<a>" + text + "</a>");
    EXPECT_TRUE(document_->Load(path)) << document_->ParseError().reason;
    EXPECT_EQ(document_->DocumentElement().Text(), text);
}

TEST_F(XmlFiles, AFileThatOthersReadWriteOrDeleteIsLoaded)
{
    const std::string path = MakeFile("f.xml", "<a/>");
    Opened writer(OpenToUpdate(path, kShareWithDelete));
    EXPECT_TRUE(document_->Load(path));
    writer.Close();
    Opened alone(OpenToUpdate(path, 0));
    EXPECT_FALSE(document_->Load(path));
    EXPECT_EQ(document_->ParseError().code, kSystem | ERROR_SHARING_VIOLATION);
}

TEST_F(XmlFiles, ASaveMakesOrReplacesTheFileAndLeavesNoOther)
{
    Made("first")->Save(At("f.xml"));
    EXPECT_EQ(Contents(At("f.xml")), "<first/>");
    MakeFile("f.xml", std::string(5000, 'x'));
    Made("second")->Save(At("f.xml"));
    EXPECT_EQ(Contents(At("f.xml")), "<second/>");
    EXPECT_EQ(Names(), (Names_{".", "..", "f.xml"}));
}

TEST_F(XmlFiles, WhatADeathLeftBesideTheFileIsNoHindrance)
{
    MakeFile("f.xml.tmp", "half a docum");
    Made()->Save(At("f.xml"));
    EXPECT_EQ(Contents(At("f.xml")), "<new/>");
    EXPECT_EQ(Names(), (Names_{".", "..", "f.xml"}));
}

TEST_F(XmlFiles, AFileThatAReaderHasOpenIsWrittenInPlace)
{
    const std::string path = MakeFile("f.xml", "<old>" + std::string(5000, 'x') + "</old>");
    Opened reader(OpenToRead(path));
    Made()->Save(path);
    reader.Close();
    EXPECT_EQ(Contents(path), "<new/>");
    EXPECT_EQ(Names(), (Names_{".", "..", "f.xml"}));
}

TEST_F(XmlFiles, AFileThatSomebodyHasAloneIsNotSaved)
{
    const std::string path = MakeFile("f.xml", "<old/>");
    Opened alone(OpenToUpdate(path, 0));
    EXPECT_EQ(SaveError(*Made(), path), kSystem | ERROR_SHARING_VIOLATION);
    alone.Close();
    EXPECT_EQ(Contents(path), "<old/>");
    EXPECT_EQ(Names(), (Names_{".", "..", "f.xml"}));
}

TEST_F(XmlFiles, WhereNoOtherFileCanBeMadeTheFileIsWrittenInPlace)
{
    const std::string path = MakeFile("f.xml", "<old>x</old>");
    MakeDirectory("f.xml.tmp");
    Made()->Save(path);
    EXPECT_EQ(Contents(path), "<new/>");
    Breaker open(FileOperation::Open, Failing(ERROR_ACCESS_DENIED), 1, 1);
    Made("n")->Save(path);
    EXPECT_EQ(Contents(path), "<n/>");
}

TEST_F(XmlFiles, ASaveIntoAMissingDirectoryRaises) { EXPECT_EQ(SaveError(*Made(), At("none\\f.xml")), kSystem | ERROR_PATH_NOT_FOUND); }

TEST_F(XmlFiles, AFullDiskLeavesTheFileAsItWas)
{
    const std::string path = MakeFile("f.xml", "<old/>");
    for (const uint64_t limit : {0, 1, 5}) {
        {
            Breaker write(FileOperation::Write, {0, limit});
            EXPECT_EQ(SaveError(*Made(), path), kSystem | ERROR_DISK_FULL) << limit;
        }
        EXPECT_EQ(Contents(path), "<old/>");
        EXPECT_EQ(Names(), (Names_{".", "..", "f.xml"}));
    }
}

TEST_F(XmlFiles, AFailedSaveLeavesTheFileAsItWasAndNoOther)
{
    const std::string path = MakeFile("f.xml", "<old/>");
    for (const auto operation : {FileOperation::Open, FileOperation::Write, FileOperation::Move}) {
        for (const uint32_t error : {ERROR_IO_DEVICE, ERROR_DISK_FULL}) {
            {
                Breaker breaker(operation, Failing(error));
                EXPECT_EQ(SaveError(*Made(), path), kSystem | error) << static_cast<uint32_t>(operation);
            }
            EXPECT_EQ(Contents(path), "<old/>") << static_cast<uint32_t>(operation);
            EXPECT_EQ(Names(), (Names_{".", "..", "f.xml"})) << static_cast<uint32_t>(operation);
        }
    }
    Breaker denied(FileOperation::Open, Failing(ERROR_ACCESS_DENIED));
    EXPECT_EQ(SaveError(*Made(), path), kSystem | ERROR_ACCESS_DENIED);
}

TEST_F(XmlFiles, AReplaceThatIsRefusedIsWrittenInPlaceAndAFaultThereIsTold)
{
    const std::string path = MakeFile("f.xml", "<old>text</old>");
    {
        Breaker move(FileOperation::Move, Failing(ERROR_SHARING_VIOLATION));
        Made()->Save(path);
    }
    EXPECT_EQ(Contents(path), "<new/>");
    MakeFile("f.xml", "<old>text</old>");
    Opened reader(OpenToRead(path));
    {
        Breaker write(FileOperation::Write, Failing(ERROR_IO_DEVICE), 2);
        EXPECT_EQ(SaveError(*Made(), path), kSystem | ERROR_IO_DEVICE);
    }
    {
        Breaker cut(FileOperation::Resize, Failing(ERROR_DISK_FULL));
        EXPECT_EQ(SaveError(*Made(), path), kSystem | ERROR_DISK_FULL);
    }
    reader.Close();
    EXPECT_EQ(Names(), (Names_{".", "..", "f.xml"}));
}

TEST_F(XmlFiles, ALoadedDocumentIsSavedAndLoadedAgain)
{
    const std::string path = MakeFile("f.xml", "<?xml version='1.0' encoding='utf-8'?>\r\n<r>\r\n <a b='\xC3\xA4'>1</a>\r\n</r>\r\n");
    ASSERT_TRUE(document_->Load(path));
    document_->Save(path);
    EXPECT_EQ(Contents(path), "<?xml version=\"1.0\"?><r>\n <a b=\"&#xe4;\">1</a>\n</r>");
    ASSERT_TRUE(document_->Load(path));
    EXPECT_EQ(document_->DocumentElement().FirstElement().Attribute("b"), "\xE4");
}

}  // namespace

}  // namespace velmora::test
