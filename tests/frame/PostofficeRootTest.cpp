// The root of a post office, with and without an options module that knows another.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "common/Text.h"
#include "frame/Companions.h"
#include "frame/ProcessState.h"
#include "frame/StorePaths.h"
#include "tests/support/TestStore.h"

namespace velmora {
namespace {

class PostofficeRoot : public testing::Test {
protected:
    PostofficeRoot()
    {
        CopyBounded(Process().MailRoot, "C:\\store");
        Process().AllowCustomPostofficePaths = 1;
        ForgetOptionsModule();
    }
    ~PostofficeRoot() override
    {
        Process().AllowCustomPostofficePaths = 0;
        ForgetOptionsModule();
    }
    void UseModules(const char* name) { store_.SetText("Application Directory", std::string(VELMORA_TEST_MODULES "/") + name); }
    std::string Of(const char* postoffice)
    {
        char root[1024];
        EXPECT_EQ(ResolvePostofficeRoot(root, sizeof root, postoffice), 1u);
        return root;
    }
    test::TestStore store_;
};

TEST_F(PostofficeRoot, IsMailRootAndNameWithNoOptionsModule)
{
    EXPECT_EQ(Of("custom"), "C:\\store\\custom");
    EXPECT_EQ(Of(nullptr), "C:\\store\\");
    UseModules("no such directory");
    EXPECT_EQ(Of("custom"), "C:\\store\\custom");
}

TEST_F(PostofficeRoot, ComesFromTheSizedGetWhereThereIsOne)
{
    UseModules("sized");
    EXPECT_EQ(Of("custom"), "C:\\sized root");
}

TEST_F(PostofficeRoot, ComesFromThePlainGetOtherwise)
{
    UseModules("plain");
    EXPECT_EQ(Of("custom"), "C:\\plain root");
}

TEST_F(PostofficeRoot, AZeroAnswerFallsThroughWhateverTheModuleWrote)
{
    UseModules("sized");
    EXPECT_EQ(Of("other"), "C:\\store\\other");
}

TEST_F(PostofficeRoot, AModuleWithoutSetOptionCountsAsMissing)
{
    UseModules("broken");
    EXPECT_EQ(Of("custom"), "C:\\store\\custom");
}

TEST_F(PostofficeRoot, IsAskedForOnlyWhenAllowedWithExactlyOne)
{
    UseModules("sized");
    Process().AllowCustomPostofficePaths = 0;
    EXPECT_EQ(Of("custom"), "C:\\store\\custom");
    Process().AllowCustomPostofficePaths = 2;
    EXPECT_EQ(Of("custom"), "C:\\store\\custom");
}

TEST_F(PostofficeRoot, AnAnswerWithNoEndIsCut)
{
    UseModules("sized");
    EXPECT_EQ(Of("endless"), std::string(1023, 'x'));
}

TEST_F(PostofficeRoot, ASmallBufferIsNotOverrun)
{
    UseModules("sized");
    char root[8] = "yyyyyyy";
    ResolvePostofficeRoot(root, 4, "custom");
    EXPECT_STREQ(root, "C:\\");
    EXPECT_EQ(root[4], 'y');
}

TEST_F(PostofficeRoot, IsHonouredByTheStatusAndByNoOtherResolver)
{
    UseModules("sized");
    char status[kStatusPathSize];
    ResolveStatusPath(status, sizeof status, "custom", "box", "Inbox");
    EXPECT_STREQ(status, "C:\\sized root\\MAILROOT\\box\\Inbox");
    char folder[1024];
    EXPECT_STREQ(ResolveFolderPath("custom", "box", "Inbox", folder, sizeof folder), "C:\\store\\custom\\MAILROOT\\box\\Inbox");
    STOREITEMTYPE item;
    CopyBounded(item.Postoffice, "custom");
    CopyBounded(item.Mailbox, "box");
    CopyBounded(item.Folder, "Inbox");
    ResolveItemPaths(item);
    EXPECT_STREQ(item.FolderPath, "C:\\store\\custom\\MAILROOT\\box\\Inbox");
}

TEST_F(PostofficeRoot, AnEmptyMailRootIsReadAgain)
{
    Process().AllowCustomPostofficePaths = 0;
    Process().MailRoot[0] = 0;
    store_.SetText("Mail Root", "D:\\late");
    EXPECT_EQ(Of("po"), "D:\\late\\po");
    EXPECT_STREQ(Process().MailRoot, "D:\\late");
}

TEST_F(PostofficeRoot, AMailRootThatStaysEmptyGivesARelativePath)
{
    Process().AllowCustomPostofficePaths = 0;
    Process().MailRoot[0] = 0;
    store_.RemoveSetting("Mail Root");
    EXPECT_EQ(Of("po"), "\\po");
}

}  // namespace
}  // namespace velmora
