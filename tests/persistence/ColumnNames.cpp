// Damaged files invent names until the process-wide table of names is full. Where all tests run in one process, the
// columns that they use by name are put into it first.
#include <gtest/gtest.h>

#include "index/IndexPropertyTable.h"

namespace velmora::test {
namespace {

class ColumnNames : public testing::Environment {
public:
    void SetUp() override
    {
        for (const char* name :
             {"SUBJECT",   "TO",  "CC", "FLAGS",       "FLAGSTATUS", "SIZE", "LABEL", "X",         "X-Column",     "a lower-case column",
              "SEQ",       "IDX", "",   "MESSAGEDATE", "RECEIVED",   "FROM", "CLASS", "VL_STATUS", "MODIFIEDDATE", "ATTACHMENTS",
              "IMPORTANCE"})
            IndexPropertyTable::LookUp(name);
    }
};

[[maybe_unused]] testing::Environment* const columnNames = testing::AddGlobalTestEnvironment(new ColumnNames);

}  // namespace
}  // namespace velmora::test
