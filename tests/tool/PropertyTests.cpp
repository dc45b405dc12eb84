// property list, and item get and item set with the types of every kind of folder.

#include <set>

#include "tests/tool/ItemFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class Property : public Item {
protected:
    // A folder's index with one item in it, as another service of the store left it.
    void WriteIndex(const fs::path& directory, const std::string& id, const std::string& columns) const
    {
        fs::create_directories(directory);
        // The frame around the element is taken from an index that the store made.
        ImportSubjects({"frame"});
        std::string index = ReadFileBytes(FolderPath() / "_index.xml");
        size_t begin = index.find("<ELEMENT "), end = index.find("</ELEMENT>");
        ASSERT_TRUE(begin != std::string::npos && end != std::string::npos);
        std::string element = "<ELEMENT ID=\"" + id + "\" UID=\"1\">" + columns + "</ELEMENT>";
        index.replace(begin, end + std::string("</ELEMENT>").size() - begin, element);
        WriteFileBytes(directory / "_index.xml", index);
    }
    std::string ValueOf(const std::string& folder, const std::string& id, const std::string& property) const
    {
        std::string out = InStore({"item", "get", folder, id, property}).out;
        return out.substr(0, out.size() - 1);
    }
    std::string SetTo(const std::string& folder, const std::string& id, const std::string& property, const std::string& value) const
    {
        std::string out = InStore({"item", "set", folder, id, property, "--", value}).out;
        return out.empty() ? out : out.substr(0, out.size() - 1);
    }
};

constexpr const char* kCalendar = "po/box/Calendar";
constexpr const char* kTasks = "po/box/Tasks";
constexpr const char* kFiles = "po/box/$FILEROOT/x";

// Types that are no text, by kind; all others are.
const std::map<std::string, std::map<std::string, std::string>> kTypes = {
    {"mail", {{"PR_SENSITIVITY", "int32"}}},
    {"contacts", {{"VL_MODIFIED_DATE", "int32"}, {"PR_SENSITIVITY", "int32"}, {"PR_BIRTHDAY", "filetime"}}},
    {"calendar",
     {{"PR_SENSITIVITY", "int32"},
      {"PR_START_DATE", "filetime"},
      {"PR_BNP_Start", "filetime"},
      {"PR_END_DATE", "filetime"},
      {"PR_BNP_End", "filetime"},
      {"PR_BNP_AllDayEvent", "bool"},
      {"PR_BNP_ReminderSet", "int32"},
      {"PR_BNP_ReminderMinutesBeforeStart", "int32"},
      {"PR_BNP_Importance", "int32"},
      {"PR_BNP_BusyStatus", "int32"},
      {"PR_BNP_IsRecurring", "int32"},
      {"PR_BNP_RecurrenceType", "int32"},
      {"PR_BNP_RecurrenceState", "int32"},
      {"PR_BNP_RecurrenceInstance", "int32"},
      {"PR_BNP_RecurrenceInterval", "int32"},
      {"PR_BNP_Occurrences", "int32"},
      {"PR_BNP_PatternStartDate", "filetime"},
      {"PR_BNP_PatternEndDate", "filetime"},
      {"PR_BNP_NoEndDate", "int32"},
      {"PR_BNP_RecurrenceDayOfMonth", "int32"},
      {"PR_BNP_RecurrenceDayOfWeekMask", "int32"},
      {"PR_BNP_RecurrenceMonthOfYear", "int32"}}},
    {"tasks",
     {{"PR_SENSITIVITY", "int32"},
      {"PR_IMPORTANCE", "int32"},
      {"PR_MESSAGE_SIZE", "int32"},
      {"PR_BNP_Status", "int32"},
      {"PR_BNP_StartDate", "filetime"},
      {"PR_BNP_DueDate", "filetime"},
      {"PR_BNP_PercentComplete", "double"},
      {"PR_BNP_Complete", "bool"},
      {"PR_BNP_TotalWork", "int32"},
      {"PR_BNP_ActualWork", "int32"},
      {"PR_VL_NumAttachments", "int32"},
      {"PR_VL_ReadStatus", "int32"},
      {"PR_BNP_IsRecurring", "int32"},
      {"PR_BNP_RecurrenceType", "int32"},
      {"PR_BNP_RecurrenceInterval", "int32"},
      {"PR_BNP_Occurrences", "int32"},
      {"PR_BNP_PatternStartDate", "filetime"},
      {"PR_BNP_PatternEndDate", "filetime"},
      {"PR_BNP_NoEndDate", "int32"},
      {"PR_BNP_RecurrenceDayOfMonth", "int32"},
      {"PR_BNP_RecurrenceDayOfWeekMask", "int32"},
      {"PR_BNP_RecurrenceMonthOfYear", "int32"}}},
    {"files",
     {{"PR_MESSAGE_SIZE", "int32"},
      {"PR_VL_ReadStatus", "int32"},
      {"PR_LAST_MODIFIED_DATE", "filetime"},
      {"PR_CREATED_DATE", "filetime"},
      {"PR_LAST_ACCESSED_DATE", "filetime"},
      {"PR_FILE_TYPE", "int32"}}},
};

// With the three names that every kind has.
const std::map<std::string, size_t> kNameCounts = {{"mail", 18}, {"contacts", 44}, {"calendar", 39}, {"tasks", 34}, {"files", 11}};

}  // namespace

TEST_F(Property, ListNamesEveryPropertyOfAKindWithItsType)
{
    for (const auto& [kind, types] : kTypes) {
        SCOPED_TRACE(kind);
        Outcome run = Tool({"--format", "json", "property", "list", kind});
        ASSERT_EQ(run.exitCode, 0) << run.err;
        nlohmann::json rows = nlohmann::json::parse(run.out);
        EXPECT_EQ(rows.size(), kNameCounts.at(kind));
        size_t typed = 0;
        std::set<std::string> names;
        for (const auto& row : rows) {
            std::string name = row.at("property");
            SCOPED_TRACE(name);
            EXPECT_TRUE(names.insert(name).second);
            // A name that the library does not know has this one.
            EXPECT_NE(row.at("typeCode"), 1);
            bool common = name == "VL_ITEM_CLASS" || name == "VL_ITEM_MODIFIEDDATE";
            auto found = types.find(name);
            if (found != types.end()) ++typed;
            EXPECT_EQ(row.at("type"), common ? "int32" : found != types.end() ? found->second : "text");
        }
        EXPECT_EQ(typed, types.size());
    }
}

TEST_F(Property, AnUnknownKindIsAUsageError)
{
    for (const char* kind : {"", "letters", "0", "Mail"}) {
        Outcome run = Tool({"property", "list", kind});
        EXPECT_EQ(run.exitCode, 64);
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(run.err.starts_with("vlstore: KIND: ")) << run.err;
    }
    EXPECT_EQ(Tool({"property", "list"}).exitCode, 64);
}

TEST_F(Property, OfAllItemsInOneRun)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two"});
    InStore({"item", "set", kInbox, ids[1], "PR_SENSITIVITY", "2"});
    EXPECT_EQ(InStore({"--format", "tab", "item", "get", kInbox, "pr_subject", "--all"}).out,
              "VL_ITEM_ID\tPR_SUBJECT\n00000001.MAI\tone\n00000002.MAI\ttwo\n");
    EXPECT_EQ(
        JsonInStore({"item", "get", kInbox, "PR_SENSITIVITY", "--all"}),
        nlohmann::json::array({{{"VL_ITEM_ID", ids[0]}, {"PR_SENSITIVITY", nullptr}}, {{"VL_ITEM_ID", ids[1]}, {"PR_SENSITIVITY", 2}}}));
    EXPECT_EQ(InStore({"--format", "tab", "item", "get", kInbox, "VL_ITEM_ID", "--all"}).out, "VL_ITEM_ID\n00000001.MAI\n00000002.MAI\n");
    EXPECT_EQ(InStore({"--format", "tab", "item", "get", kInbox, "VL_MAILBOX", "--all"}).out,
              "VL_ITEM_ID\tVL_MAILBOX\n00000001.MAI\tbox\n00000002.MAI\tbox\n");
    ExpectRefusal({"item", "get", kInbox, ids[0], "PR_SUBJECT", "--all"}, 64, "with --all there is no ID");
    ExpectRefusal({"item", "get", kInbox, "PR_NOPE", "--all"}, 65, "no such property: PR_NOPE");
    ExpectRefusal({"item", "get", kInbox, "PR_SUBJECT"}, 64, "PROPERTY is required (--help tells more)");
    ExpectRefusal({"item", "get", kInbox, ids[0], "PR_SENSITIVITY"}, 65, "no PR_SENSITIVITY in 00000001.MAI");
}

TEST_F(Property, OfACalendarAreReadInTheirTypes)
{
    WriteIndex(FolderPath("Calendar"), "Y1.CAL",
               "<SUBJECT>standup</SUBJECT><STARTIME>10</STARTIME><FINISHTIME>1704164645</FINISHTIME><ALLDAYEVENT>1</ALLDAYEVENT>"
               "<BUSYSTATUS>2</BUSYSTATUS>");
    EXPECT_EQ(ValueOf(kCalendar, "Y1.CAL", "PR_SUBJECT"), "standup");
    EXPECT_EQ(ValueOf(kCalendar, "Y1.CAL", "PR_BNP_Start"), "1970-01-01T00:00:10Z");
    EXPECT_EQ(ValueOf(kCalendar, "Y1.CAL", "PR_END_DATE"), "2024-01-02T03:04:05Z");
    EXPECT_EQ(ValueOf(kCalendar, "Y1.CAL", "PR_BNP_AllDayEvent"), "yes");
    nlohmann::json row = JsonInStore({"item", "get", kCalendar, "Y1.CAL", "PR_BNP_BusyStatus"})[0];
    EXPECT_EQ(row.at("PR_BNP_BusyStatus"), 2);
    EXPECT_EQ(JsonInStore({"item", "get", kCalendar, "PR_BNP_AllDayEvent", "--all"})[0].at("PR_BNP_AllDayEvent"), true);
    ExpectRefusal({"item", "get", kCalendar, "Y1.CAL", "PR_VL_FROM"}, 65, "no such property: PR_VL_FROM");
}

TEST_F(Property, OfACalendarAreSetInTheirTypes)
{
    WriteIndex(FolderPath("Calendar"), "Y1.CAL", "<SUBJECT>standup</SUBJECT><STARTIME>10</STARTIME>");
    struct Case {
        const char *property, *given, *shown, *stored;
    };
    for (const Case& one : {Case{"PR_BNP_Start", "2024-01-02T03:04:05Z", "2024-01-02T03:04:05Z", "<STARTIME>1704164645</STARTIME>"},
                            Case{"PR_BNP_End", "1970-01-01T00:00:00Z", "1970-01-01T00:00:00Z", "<FINISHTIME>0</FINISHTIME>"},
                            Case{"PR_BNP_AllDayEvent", "true", "yes", "<ALLDAYEVENT>1</ALLDAYEVENT>"},
                            Case{"PR_BNP_BusyStatus", "-2", "-2", "<BUSYSTATUS>-2</BUSYSTATUS>"},
                            Case{"PR_LOCATION", "here", "here", "<LOCATION>here</LOCATION>"},
                            Case{"PR_SENSITIVITY", "2", "2", "<SENSITIVITY>2</SENSITIVITY>"}}) {
        SCOPED_TRACE(one.property);
        EXPECT_EQ(SetTo(kCalendar, "Y1.CAL", one.property, one.given), one.shown);
        EXPECT_NE(ReadFileBytes(FolderPath("Calendar") / "_index.xml").find(one.stored), std::string::npos)
            << ReadFileBytes(FolderPath("Calendar") / "_index.xml");
    }
    ExpectRefusal({"item", "set", kCalendar, "Y1.CAL", "VL_ITEM_ID", "x"}, 65, "the store keeps this property itself: VL_ITEM_ID");
}

TEST_F(Property, WhatIsNoValueOfItsTypeIsRefused)
{
    WriteIndex(FolderPath("Calendar"), "Y1.CAL", "<SUBJECT>standup</SUBJECT>");
    std::map<std::string, std::string> before = TreeOf(Root());
    for (const char* value : {"", "now", "2024-01-02", "2024-01-02T03:04:05", "2024-02-30T00:00:00Z", "2024-01-02T24:00:00Z",
                              "1600-12-31T23:59:59Z", "2024-01-02T03:04:05.5Z", "+024-01-02T03:04:05Z"}) {
        ExpectRefusal({"item", "set", kCalendar, "Y1.CAL", "PR_BNP_Start", value}, 65,
                      std::string("PR_BNP_Start takes a time in UTC as 2024-03-04T07:15:30Z: \"") + value + "\"");
    }
    for (const char* value : {"", "2", "maybe"}) {
        ExpectRefusal({"item", "set", kCalendar, "Y1.CAL", "PR_BNP_AllDayEvent", value}, 65,
                      std::string("PR_BNP_AllDayEvent takes yes or no: \"") + value + "\"");
    }
    for (const char* value : {"", "1.5", "4294967296", " 1"}) {
        ExpectRefusal({"item", "set", kCalendar, "Y1.CAL", "PR_BNP_BusyStatus", value}, 65,
                      std::string("PR_BNP_BusyStatus takes a number of 32 bits: \"") + value + "\"");
    }
    ExpectRefusal({"item", "set", kTasks, "T1.TSK", "PR_BNP_PercentComplete", "half"}, 65,
                  "PR_BNP_PercentComplete takes a number: \"half\"");
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(Property, OfATaskAreNumbersWithAPointToo)
{
    WriteIndex(FolderPath("Tasks"), "T1.TSK", "<SUBJECT>paint</SUBJECT><PERCCOMP>0.25</PERCCOMP>");
    EXPECT_EQ(ValueOf(kTasks, "T1.TSK", "PR_BNP_PercentComplete"), "0.25");
    EXPECT_EQ(SetTo(kTasks, "T1.TSK", "PR_BNP_PercentComplete", "0.5"), "0.5");
    EXPECT_NE(ReadFileBytes(FolderPath("Tasks") / "_index.xml").find("<PERCCOMP>      0.50</PERCCOMP>"), std::string::npos);
    EXPECT_EQ(JsonInStore({"item", "get", kTasks, "T1.TSK", "PR_BNP_PercentComplete"})[0].at("PR_BNP_PercentComplete"), 0.5);
    EXPECT_EQ(SetTo(kTasks, "T1.TSK", "PR_BNP_Complete", "no"), "no");
    EXPECT_EQ(SetTo(kTasks, "T1.TSK", "PR_BNP_DueDate", "2030-05-06T07:08:09Z"), "2030-05-06T07:08:09Z");
}

TEST_F(Property, OfAFileAreThoseOfTheFileAsWell)
{
    fs::path directory = Root() / "POSTOFFICES" / "po" / "FILEROOT" / "box" / "x";
    WriteIndex(directory, "PLAN.TXT", "<SUBJECT>plan</SUBJECT><SIZE>4</SIZE>");
    WriteFileBytes(directory / "PLAN.TXT", "plan");
    EXPECT_EQ(ValueOf(kFiles, "PLAN.TXT", "PR_SUBJECT"), "plan");
    EXPECT_EQ(ValueOf(kFiles, "PLAN.TXT", "PR_MESSAGE_SIZE"), "4");
    std::string modified = ValueOf(kFiles, "PLAN.TXT", "PR_LAST_MODIFIED_DATE");
    EXPECT_TRUE(modified.starts_with("20") && modified.ends_with("Z") && modified[10] == 'T') << modified;
    EXPECT_EQ(SetTo(kFiles, "PLAN.TXT", "PR_SUBJECT", "another plan"), "another plan");
    EXPECT_EQ(SetTo(kFiles, "PLAN.TXT", "PR_VL_ReadStatus", "1"), "1");
    EXPECT_EQ(ValueOf(kFiles, "PLAN.TXT", "PR_SUBJECT"), "another plan");
    ExpectRefusal({"item", "set", kFiles, "PLAN.TXT", "PR_CREATED_DATE", "2024-01-02T03:04:05Z"}, 65,
                  "the store keeps this property itself: PR_CREATED_DATE");
    ExpectRefusal({"item", "get", "po/box/$FILEROOT/nope", "PLAN.TXT", "PR_SUBJECT"}, 66, "no such folder: po/box/$FILEROOT/nope");
    ExpectRefusal({"item", "get", "po/box/$FILEROOTx", "PLAN.TXT", "PR_SUBJECT"}, 69,
                  "not a folder that this tool opens: po/box/$FILEROOTx");
    ExpectRefusal({"item", "get", "po/box/$VCFROOT", "A.VCF", "PR_SUBJECT"}, 69, "not a folder that this tool opens: po/box/$VCFROOT");
}

}  // namespace velmora::test
