// The root of a post office, with and without an options module that knows another.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/Text.h"
#include "frame/Companions.h"
#include "frame/ProcessState.h"
#include "frame/StorePaths.h"
#include "tests/support/Module.h"
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
    static int TakeHandles(const std::string& name)
    {
        return test::TakeModuleHandles(VELMORA_TEST_MODULES "/" + name + "64", "VLAISO.DLL");
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
    EXPECT_EQ(Of("custom"), "C:\\store\\custom");
    EXPECT_EQ(TakeHandles("broken"), 0) << "no handle of it is kept";
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

TEST_F(PostofficeRoot, AMailRootThatIsReadAgainIsSeenEmptyOrWhole)
{
    Process().AllowCustomPostofficePaths = 0;
    const std::string root = "D:\\" + std::string(900, 'r');
    store_.SetText("Mail Root", root);
    for (int round = 0; round < 50; ++round) {
        std::memset(Process().MailRoot, 0, sizeof Process().MailRoot);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&, fills = i % 2 == 0] {
                if (fills) {
                    EXPECT_EQ(Of("po"), (root + "\\po").substr(0, 1023));
                    return;
                }
                for (std::string_view seen; seen.empty(); std::this_thread::yield()) {
                    seen = MailRootText();
                    EXPECT_TRUE(seen.empty() || seen == root);
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
    }
}

TEST_F(PostofficeRoot, AMailRootThatHasATextKeepsIt)
{
    FillEmptyMailRoot("D:\\other");
    EXPECT_EQ(MailRootText(), "C:\\store");
}

TEST_F(PostofficeRoot, AMailRootIsCutAtItsField)
{
    Process().MailRoot[0] = 0;
    FillEmptyMailRoot("");
    EXPECT_EQ(MailRootText(), "");
    FillEmptyMailRoot(std::string(2000, 'r'));
    EXPECT_EQ(MailRootText(), std::string(1023, 'r'));
}

TEST_F(PostofficeRoot, ManyThreadsThatAskAtOnceGetTheOneModule)
{
    TakeHandles("sized");
    UseModules("sized");
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) threads.emplace_back([&] { EXPECT_EQ(Of("custom"), "C:\\sized root"); });
    for (std::thread& thread : threads) thread.join();
    ForgetOptionsModule();
    EXPECT_EQ(TakeHandles("sized"), 1);
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
