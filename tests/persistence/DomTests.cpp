// The document facility: which version is there, what it prints, what it saves.
#include <gtest/gtest.h>

#include <new>

#include "frame/Settings.h"
#include "persistence/Dom.h"
#include "platform/FileSeam.h"
#include "platform/win32.h"
#include "tests/support/Captured.h"
#include "tests/support/TestStore.h"

namespace velmora::test {
namespace {

using platform::XmlDocument;
using platform::XmlNode;

constexpr char kStoreKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store";

class Dom : public testing::Test {
protected:
    bool Given(const char* version)
    {
        store_.SetText("XML Version", version, kStoreKey);
        return GetDOMInstance(kNoDomText) != nullptr;
    }
    std::string Path(const char* name) { return (store_.Directory() / name).string(); }
    void Write(const char* name, std::string_view bytes) { WriteFileBytes(store_.Directory() / name, bytes); }

    TestStore store_;
};

// Makes the operations of one kind fail.
class Failing : public platform::FileSeam {
public:
    Failing(platform::FileOperation operation, uint32_t error)
        : operation_(operation), error_(error), before_(platform::ReplaceFileSeam(this))
    {
    }
    ~Failing() override { platform::ReplaceFileSeam(before_); }
    platform::FileVerdict Before(platform::FileOperation operation, const char*, uint64_t) override
    {
        return {operation == operation_ ? error_ : 0, UINT64_MAX};
    }

private:
    platform::FileOperation operation_;
    uint32_t error_;
    platform::FileSeam* before_;
};

TEST_F(Dom, WithoutASettingThereIsADocument)
{
    CapturedLog log;
    EXPECT_EQ(CaptureStdout([&] { EXPECT_TRUE(GetDOMInstance(kNoDomText)); }), "");
    EXPECT_TRUE(log.Events().empty());
}

TEST_F(Dom, VersionsFourAndSixAreNotThereAndNothingIsSaid)
{
    CapturedLog log;
    const std::string printed = CaptureStdout([&] {
        EXPECT_FALSE(Given("4"));
        EXPECT_FALSE(Given("6"));
        EXPECT_FALSE(Given("4.0"));
        EXPECT_FALSE(Given("60"));
    });
    EXPECT_EQ(printed, "");
    EXPECT_TRUE(log.Events().empty());
}

TEST_F(Dom, AnyOtherVersionIsThree)
{
    for (const char* const version : {"3", "0", "", "5", "x", " 4", "34", "-6"}) EXPECT_TRUE(Given(version)) << version;
}

TEST_F(Dom, AVersionLongerThanItsBufferCountsAsNone)
{
    EXPECT_FALSE(Given(("4" + std::string(62, 'x')).c_str()));
    EXPECT_TRUE(Given(("4" + std::string(63, 'x')).c_str()));
}

TEST_F(Dom, TheVersionIsReadOnceAProcess)
{
    EXPECT_FALSE(Given("4"));
    WriteFileBytes(store_.Directory() / "registry.reg", "Windows Registry Editor Version 5.00\r\n");
    EXPECT_FALSE(GetDOMInstance(kNoDomText));
    EXPECT_EQ(XmlVersion(), 4u);
}

TEST_F(Dom, ADocumentThatCannotBeMadeIsReportedAndPrinted)
{
    CapturedLog log;
    const std::string printed = CaptureStdout([] {
        EXPECT_FALSE(GetDOMInstance("the text", []() -> std::unique_ptr<XmlDocument> { throw ComError{0x80040154, "", "", ""}; }));
    });
    EXPECT_EQ(printed, "the text\n");
    ASSERT_EQ(log.Events().size(), 1u);
    EXPECT_EQ(log.Events().front(), "[-2147221164] Error creating DOM instance");
}

// It says nothing of the version of XML.
TEST_F(Dom, ADocumentThatThereIsNoMemoryForIsRaisedAsThat)
{
    CapturedLog log;
    const std::string printed = CaptureStdout(
        [] { EXPECT_THROW(GetDOMInstance("the text", []() -> std::unique_ptr<XmlDocument> { throw std::bad_alloc(); }), std::bad_alloc); });
    EXPECT_EQ(printed, "");
    EXPECT_TRUE(log.Events().empty());
}

TEST_F(Dom, TheUseOfNoDocumentIsAnErrorOfThePointer)
{
    try {
        Needed(nullptr);
        FAIL();
    } catch (const ComError& error) {
        EXPECT_EQ(error.code, 0x80004003u);
        EXPECT_EQ(error.meaning, "Invalid pointer");
    }
    const auto document = GetDOMInstance(kNoDomText);
    EXPECT_EQ(&Needed(document), document.get());
}

TEST_F(Dom, AFileThatLoadsPrintsNothing)
{
    Write("f.xml", "<a>text</a>");
    const auto document = GetDOMInstance(kNoDomText);
    EXPECT_EQ(CaptureStdout([&] { EXPECT_TRUE(LoadDOMFile(*document, Path("f.xml"))); }), "");
    EXPECT_EQ(document->DocumentElement().Text(), "text");
}

TEST_F(Dom, AFileThatIsNoDocumentIsToldWithItsPlace)
{
    Write("f.xml", "<a>\n  <b></c></a>");
    const auto document = GetDOMInstance(kNoDomText);
    const std::string printed = CaptureStdout([&] { EXPECT_FALSE(LoadDOMFile(*document, Path("f.xml"))); });
    EXPECT_EQ(printed,
              "Error:\nCode = 0xc00ce56d\nSource = Line : 2; Char : 6\n"
              "Error Description = The end tag \"c\" does not match the start tag \"b\"\n");
}

TEST_F(Dom, AFileThatIsNotThereIsToldWithoutAPlace)
{
    const auto document = GetDOMInstance(kNoDomText);
    const std::string printed = CaptureStdout([&] { EXPECT_FALSE(LoadDOMFile(*document, Path("none.xml"))); });
    EXPECT_EQ(printed, "Error:\nCode = 0x80070002\nSource = Line : 0; Char : 0\nError Description = The file is not there\n");
}

// A document whose facility fails as told.
class StrangeDocument : public XmlDocument {
public:
    explicit StrangeDocument(bool raises) : raises_(raises) {}
    bool LoadBytes(std::string_view) override
    {
        if (raises_) throw ComError{0x8001, "what it means", "who says it", "what it is"};
        return true;
    }
    XmlNode DocumentElement() const override { return {}; }
    XmlNode CreateRoot(const char*) override { return {}; }
    std::string ToBytes() const override { return {}; }

protected:
    void Clear() override {}

private:
    bool raises_;
};

TEST_F(Dom, ADocumentWithoutARootIsToldByItsPath)
{
    Write("f.xml", "<a/>");
    StrangeDocument document(false);
    const std::string printed = CaptureStdout([&] { EXPECT_FALSE(LoadDOMFile(document, Path("f.xml"))); });
    EXPECT_EQ(printed, "Error: The document \"" + Path("f.xml") +
                           "\" was loaded, but the documentElement could not be accessed. There may be invalid permissions set on this "
                           "object.\n");
}

TEST_F(Dom, AnErrorOfTheFacilityInALoadIsPrinted)
{
    Write("f.xml", "<a/>");
    StrangeDocument document(true);
    const std::string printed = CaptureStdout([&] { EXPECT_FALSE(LoadDOMFile(document, Path("f.xml"))); });
    EXPECT_EQ(printed, "Error:\nCode = 00008001\nCode meaning = what it means\nSource = who says it\nError Description = what it is\n");
}

TEST_F(Dom, ADocumentIsSavedOverTheFile)
{
    Write("f.xml", "<older>text</older>");
    const auto document = GetDOMInstance(kNoDomText);
    document->CreateRoot("r").AppendElement("t", "");
    SaveDOMFile(*document, Path("f.xml"));
    EXPECT_EQ(ReadFileBytes(store_.Directory() / "f.xml"), "<r><t></t></r>");
}

TEST_F(Dom, ASaveThatFailsRaisesAndLeavesTheFile)
{
    Write("f.xml", "<old/>");
    const auto document = GetDOMInstance(kNoDomText);
    document->CreateRoot("r");
    Failing write(platform::FileOperation::Write, ERROR_DISK_FULL);
    EXPECT_THROW(SaveDOMFile(*document, Path("f.xml")), ComError);
    EXPECT_EQ(ReadFileBytes(store_.Directory() / "f.xml"), "<old/>");
    EXPECT_FALSE(FileExists(store_.Directory() / "f.xml.tmp"));
}

TEST_F(Dom, AnErrorIsPrintedInFiveLines)
{
    EXPECT_EQ(CaptureStdout([] {
                  PrintComError({0x80004005, "m", "s", "d"});
              }),
              "Error:\nCode = 80004005\nCode meaning = m\nSource = s\nError Description = d\n");
    EXPECT_EQ(CaptureStdout([] { PrintComError({}); }), "Error:\nCode = 00000000\nCode meaning = \nSource = \nError Description = \n");
}

}  // namespace
}  // namespace velmora::test
