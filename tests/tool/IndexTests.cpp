// index dump, check and convert on the built program and its library.

#include <thread>

#include "tests/tool/DeliveryFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class IndexDump : public Delivery {
protected:
    fs::path IndexPath() const { return FolderPath() / "_index.xml"; }
};
class IndexCheck : public IndexDump {};
class IndexConvert : public IndexDump {
protected:
    std::string Convert(const std::string& place, const std::string& form) const
    {
        return JsonInStore({"index", "convert", place, "--to", form}).at(0).at("result");
    }
};

const std::string kTwoItems =
    "<BASEELEMENT LASTUID=\"x00000007\"><ELEMENT ID=\"a.MAI\" UID=\"2\"><A>1</A></ELEMENT><ELEMENT ID=\"-----\" "
    "UID=\"-\"><A>1</A></ELEMENT>"
    "<ELEMENT ID=\"c.MAI\" UID=\"7\"></ELEMENT></BASEELEMENT>\r\n";

// Every byte, blanks and line ends at the ends of values, nothing at all, and what only looks like a reference.
std::string ManyValues()
{
    std::string bytes = "<BASEELEMENT LASTUID=\"x0000000a\"><ELEMENT ID=\"a.MAI\" UID=\"3\"><ALL>";
    for (unsigned byte = 1; byte < 256; ++byte) {
        char reference[8];
        std::snprintf(reference, sizeof reference, "&#x%x;", byte);
        bytes += reference;
    }
    return bytes +
           "</ALL><BLANKS>  </BLANKS><CDATA>]]&gt;</CDATA><EMPTY></EMPTY><ENDS> x &#xd;&#xa;</ENDS><NESTED>&amp;amp;lt;&amp;#65;</NESTED>"
           "</ELEMENT><ELEMENT ID=\"b.MAI\" UID=\"10\"></ELEMENT></BASEELEMENT>";
}

}  // namespace

TEST_F(IndexDump, ShowsEveryPieceOfAFile)
{
    fs::path file = MakeFile("some.xml", kTwoItems);
    Outcome run = Tool({"--format", "tab", "index", "dump", file.string()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out,
              "offset\tlength\tpiece\tVL_ITEM_ID\tUID\tproperties\tform\tlastUid\n0\t33\troot\t\t\t\tstream\t7\n33\t46\telement\ta."
              "MAI\t2\t1\t\t\n"
              "79\t46\ttombstone\t\t\t1\t\t\n125\t38\telement\tc.MAI\t7\t0\t\t\n163\t14\tend\t\t\t\t\t\n177\t2\ttail\t\t\t\t\t\n");
    run = Tool({"index", "dump", file.string()});
    EXPECT_TRUE(run.out.starts_with("form stream, LASTUID 7 (x00000007), 2 elements, 1 tombstones, 179 bytes\n")) << run.out;
    EXPECT_EQ(ReadFileBytes(file), kTwoItems);
}

TEST_F(IndexDump, GapsAndWhatStandsAroundThePiecesHaveRowsToo)
{
    fs::path file = MakeFile("some.xml", "\n<BASEELEMENT>\n  <ELEMENT ID=\"a\" UID=\"1\"></ELEMENT>\n</BASEELEMENT>");
    std::string pieces;
    int64_t at = 0;
    for (const auto& row : nlohmann::json::parse(Tool({"--format", "json", "index", "dump", file.string()}).out)) {
        pieces += row.at("piece").get<std::string>() + " ";
        EXPECT_EQ(row.at("offset").get<int64_t>(), at);
        at += row.at("length").get<int64_t>();
    }
    EXPECT_EQ(pieces, "head root gap element gap end ");
    EXPECT_EQ(static_cast<uintmax_t>(at), fs::file_size(file));
}

TEST_F(IndexDump, OfAFolderIsWhatItsItemsAre)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two"});
    std::map<std::string, std::string> before = TreeOf(Root());
    HeldBlock block(FolderPath());
    nlohmann::json rows = JsonInStore({"index", "dump", kInbox});
    block.Release();
    ASSERT_EQ(rows.size(), 5u);
    EXPECT_EQ(rows[1].at("VL_ITEM_ID"), ids[0]);
    EXPECT_EQ(rows[2].at("VL_ITEM_ID"), ids[1]);
    EXPECT_EQ(TreeOf(Root()), before);
    ExpectRefusal({"index", "dump", "po/box/Outbox"}, 66, "the folder has no index: po/box/Outbox");
    ExpectRefusal({"index", "dump", "po/box/Nope"}, 66, "no such folder: po/box/Nope");
    ExpectRefusal({"index", "dump", "nope.xml"}, 66, "no such file, and not POSTOFFICE/MAILBOX/FOLDER: nope.xml");
    ExpectRefusal({"index", "dump", "/no/such/_index.xml"}, 66, "no such file, and not POSTOFFICE/MAILBOX/FOLDER: /no/such/_index.xml");
}

TEST_F(IndexDump, AFaultEndsItBehindWhatWasRead)
{
    std::string cut = kTwoItems.substr(0, 90);
    fs::path file = MakeFile("some.xml", cut);
    Outcome run = Tool({"--format", "tab", "index", "dump", file.string()});
    EXPECT_EQ(run.exitCode, 65);
    EXPECT_TRUE(run.out.ends_with("\n33\t46\telement\ta.MAI\t2\t1\t\t\n79\t11\tunread\t\t\t\t\t\n")) << run.out;
    EXPECT_EQ(run.err, "vlstore: " + file.string() + ": byte 90, line 1: the file ends within a tag\n");
}

TEST_F(IndexCheck, SaysWhatAGoodIndexIs)
{
    ImportSubjects({"one", "two"});
    std::map<std::string, std::string> before = TreeOf(Root());
    nlohmann::json row = JsonInStore({"index", "check", kInbox}).at(0);
    EXPECT_EQ(row, nlohmann::json({{"file", IndexPath().string()},
                                   {"form", "stream"},
                                   {"lastUid", 2},
                                   {"elements", 2},
                                   {"tombstones", 0},
                                   {"bytes", fs::file_size(IndexPath())}}));
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(IndexCheck, NamesTheFirstFaultWithByteAndLine)
{
    fs::path file = MakeFile("some.xml", "<BASEELEMENT LASTUID=\"9\">\n<ELEMENT ID=\"a\">\n</ELEMENT></BASEELEMENT>");
    Outcome run = Tool({"--format", "json", "index", "check", file.string()});
    EXPECT_EQ(run.exitCode, 65);
    EXPECT_EQ(run.err, "vlstore: " + file.string() + ": byte 26, line 2: an element without a UID\n");
    nlohmann::json row = nlohmann::json::parse(run.out).at(0);
    EXPECT_EQ(row.at("fault"), "an element without a UID");
    EXPECT_EQ(row.at("offset"), 26);
    EXPECT_EQ(row.at("line"), 2);
    WriteFileBytes(file, "");
    EXPECT_EQ(Tool({"index", "check", file.string()}).err, "vlstore: " + file.string() + ": byte 0, line 1: there is no root element\n");
}

TEST_F(IndexCheck, WhateverTheStoreWritesIsGood)
{
    ImportSubjects({"one", "two", "three"});
    InStore({"item", "remove", kInbox, "00000002.MAI", "--yes"});
    EXPECT_EQ(JsonInStore({"index", "check", kInbox}).at(0).at("form"), "stream");
    InStore({"settings", "set", "Use XML Stream Index Serialisation", "0"});
    InStore({"item", "set", kInbox, "00000001.MAI", "PR_VL_READ", "1"});
    EXPECT_EQ(JsonInStore({"index", "check", kInbox}).at(0).at("form"), "dom-old");
    InStore({"settings", "set", "MSXML Index Serialisation Produces Old Format", "0"});
    InStore({"item", "set", kInbox, "00000001.MAI", "PR_VL_READ", "0"});
    EXPECT_EQ(JsonInStore({"index", "check", kInbox}).at(0).at("form"), "dom-new");
    for (const char* id : {"00000001.MAI", "00000003.MAI"}) InStore({"item", "remove", kInbox, id, "--yes"});
    EXPECT_EQ(JsonInStore({"index", "check", kInbox}).at(0).at("elements"), 0);
}

TEST_F(IndexConvert, BringsAFolderFromEveryFormToEveryOther)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two", "three"});
    InStore({"item", "remove", kInbox, ids[1], "--yes"});
    InStore({"item", "set", kInbox, ids[0], "PR_VL_FLAGSTATUS", "\\SEEN \\FLAGGED"});
    nlohmann::json listed = JsonInStore({"item", "list", kInbox});
    for (const char* form : {"dom-old", "dom-new", "stream", "dom-new", "dom-old", "stream"}) {
        SCOPED_TRACE(form);
        EXPECT_EQ(Convert(kInbox, form), "converted");
        nlohmann::json row = JsonInStore({"index", "check", kInbox}).at(0);
        EXPECT_EQ(row.at("form"), form);
        EXPECT_EQ(row.at("elements"), 2);
        EXPECT_EQ(row.at("tombstones"), 0);
        EXPECT_EQ(row.at("lastUid"), 3);
        EXPECT_EQ(Convert(kInbox, form), "is in that form");
        EXPECT_FALSE(fs::exists(FolderPath() / "_index.blk"));
    }
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}), listed);
    std::vector<std::string> names = FileNames(FolderPath());
    std::erase_if(names, [](const std::string& name) { return name.find(".tmp") == std::string::npos; });
    EXPECT_EQ(names, std::vector<std::string>{});
}

TEST_F(IndexConvert, IsALineForEachNameInTabForm)
{
    fs::path file = MakeFile("folder/_index.xml", kTwoItems);
    Outcome run = Tool({"--format", "tab", "index", "convert", file.string(), "--to", "dom-old"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    const std::string sizes =
        "\nbytesBefore\t" + std::to_string(kTwoItems.size()) + "\nbytesAfter\t" + std::to_string(fs::file_size(file)) + "\n";
    EXPECT_TRUE(run.out.starts_with("file\t")) << run.out;
    EXPECT_TRUE(run.out.ends_with("\nresult\tconverted\nfrom\tstream\nto\tdom-old\nelements\t2\ntombstones\t1" + sizes)) << run.out;
}

TEST_F(IndexConvert, KeepsValuesOfAllBytesAndItemsWithoutFiles)
{
    fs::path file = MakeFile("folder/_index.xml", ManyValues());
    std::string values;
    for (const char* form : {"stream", "dom-old", "dom-new", "stream", "dom-new", "dom-old", "stream"}) {
        SCOPED_TRACE(form);
        Outcome run = Tool({"index", "convert", file.string(), "--to", form});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        if (std::string(form) != "stream") continue;
        if (values.empty()) values = ReadFileBytes(file);
        EXPECT_EQ(ReadFileBytes(file), values);
    }
    EXPECT_TRUE(values.starts_with("<BASEELEMENT LASTUID=\"x0000000a\"><ELEMENT ID=\"a.MAI\" UID=\"3\"><ALL>&#x1;")) << values;
    EXPECT_NE(values.find("<EMPTY></EMPTY><ENDS> x \r\n</ENDS><NESTED>&amp;amp;lt;&amp;#65;</NESTED><READ>0</READ>"), std::string::npos)
        << values;
    EXPECT_EQ(FileNames(file.parent_path()), std::vector<std::string>{"_index.xml"});
}

TEST_F(IndexConvert, AnIndexWithAValueThatWouldChangeStaysAsItIs)
{
    // In the library it is a number.
    for (const char* value : {"yes", "01", "4294967297", ""}) {
        const std::string stream = "<BASEELEMENT LASTUID=\"x00000003\"><ELEMENT ID=\"a.MAI\" UID=\"3\"><READ>" + std::string(value) +
                                   "</READ></ELEMENT></BASEELEMENT>\r\n";
        fs::path file = MakeFile("folder/_index.xml", stream);
        for (const char* form : {"dom-old", "dom-new"}) {
            Outcome run = Tool({"index", "convert", file.string(), "--to", form});
            EXPECT_EQ(run.exitCode, 65) << value;
            EXPECT_EQ(run.out, "") << value;
            EXPECT_EQ(run.err, "vlstore: " + file.string() + " stays as it is, since converted the item a.MAI has other values\n") << value;
        }
        EXPECT_EQ(ReadFileBytes(file), stream);
        EXPECT_EQ(FileNames(file.parent_path()), std::vector<std::string>{"_index.xml"});
    }
}

TEST_F(IndexConvert, ANameThatADocumentEscapesKeepsTheOldForm)
{
    const std::string stream =
        "<BASEELEMENT LASTUID=\"x00000003\"><ELEMENT ID=\"R&D.MAI\" UID=\"3\"><READ>1</READ></ELEMENT></BASEELEMENT>\r\n";
    fs::path file = MakeFile("folder/_index.xml", stream);
    Outcome run = Tool({"index", "convert", file.string(), "--to", "dom-new"});
    EXPECT_EQ(run.exitCode, 65);
    EXPECT_EQ(run.err, "vlstore: " + file.string() + " stays as it is: for its items the library writes dom-old\n");
    EXPECT_EQ(ReadFileBytes(file), stream);
    EXPECT_EQ(Tool({"index", "convert", file.string(), "--to", "dom-old"}).exitCode, 0);
    EXPECT_NE(ReadFileBytes(file).find("ID=\"R&amp;D.MAI\""), std::string::npos);
    EXPECT_EQ(Tool({"index", "convert", file.string(), "--to", "stream"}).exitCode, 0);
    EXPECT_EQ(ReadFileBytes(file), stream);
}

TEST_F(IndexConvert, TakesADocumentOfAnotherWriter)
{
    fs::path file =
        MakeFile("folder/_groups.xml",
                 "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<BASEELEMENT LASTUID=\"4\">\r\n <ELEMENT UID='4' ID='b'><A>\xC3\xA9</A>"
                 "<B/></ELEMENT><!-- x -->\r\n <ELEMENT ID=\"a\" UID=\"1\"/></BASEELEMENT>");
    EXPECT_EQ(Tool({"index", "check", file.string()}).exitCode, 65);
    Outcome run = Tool({"index", "convert", file.string(), "--to", "stream"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(
        ReadFileBytes(file),
        "<BASEELEMENT LASTUID=\"x00000004\"><ELEMENT ID=\"a\" UID=\"1\"><READ>0</READ></ELEMENT><ELEMENT ID=\"b\" UID=\"4\"><A>&#xe9;</A>"
        "<B></B><READ>0</READ></ELEMENT>"
        "</BASEELEMENT>\r\n");
    EXPECT_EQ(FileNames(file.parent_path()), std::vector<std::string>{"_groups.xml"});
}

TEST_F(IndexConvert, ADamagedIndexStaysAsItIs)
{
    fs::path file = MakeFile("folder/_index.xml", kTwoItems.substr(0, 100));
    Outcome run = Tool({"index", "convert", file.string(), "--to", "dom-old"});
    EXPECT_EQ(run.exitCode, 65);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("vlstore: " + file.string() + ": byte 100, line 1: ")) << run.err;
    EXPECT_EQ(ReadFileBytes(file), kTwoItems.substr(0, 100));
}

TEST_F(IndexConvert, ADryRunWritesNothing)
{
    ImportSubjects({"one", "two"});
    std::map<std::string, std::string> before = TreeOf(Root());
    fs::file_time_type touched = fs::last_write_time(FolderPath());
    nlohmann::json row = JsonInStore({"index", "convert", kInbox, "--to", "dom-old", "--dry-run"}).at(0);
    EXPECT_EQ(row.at("result"), "would be converted");
    EXPECT_EQ(row.at("from"), "stream");
    EXPECT_EQ(row.at("elements"), 2);
    EXPECT_EQ(TreeOf(Root()), before);
    EXPECT_EQ(fs::last_write_time(FolderPath()), touched);
}

TEST_F(IndexConvert, ABusyFolderStaysAsItIs)
{
    ImportSubjects({"one"});
    std::string bytes = ReadFileBytes(IndexPath());
    HeldBlock block(FolderPath());
    ExpectRefusal({"index", "convert", kInbox, "--to", "dom-old"}, 75, "folder is busy (lock held): po/box/Inbox");
    EXPECT_EQ(ReadFileBytes(IndexPath()), bytes);
    // With --wait it is done when the other one is.
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        block.Release();
    });
    Outcome run = InStore({"--wait", "index", "convert", kInbox, "--to", "dom-old"});
    other.join();
    EXPECT_EQ(JsonInStore({"index", "check", kInbox}).at(0).at("form"), "dom-old") << run.err;
}

TEST_F(IndexConvert, ABlockFileThatWasLeftBehindIsNamed)
{
    ImportSubjects({"one"});
    fs::path block = FolderPath() / "_index.blk";
    WriteFileBytes(block, "");
    ExpectRefusal({"index", "convert", kInbox, "--to", "dom-old"}, 75,
                  "a block file was left behind; --wait takes it away: " + block.string());
}

}  // namespace velmora::test
