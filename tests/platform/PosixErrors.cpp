// The table from the system's errors to the Windows numbers, row by row.
#include <gtest/gtest.h>

#include <cerrno>
#include <set>

#include "platform/posix/Errors.h"

namespace velmora::test {

namespace {

struct Expected {
    int systemError;
    DWORD number;
};

constexpr Expected kExpected[] = {
    {ENOENT, 2},      {ENOTDIR, 3},     {EMFILE, 4},         {ENFILE, 4},  {EACCES, 5},  {EPERM, 5},        {EISDIR, 5},
    {EROFS, 5},       {ENXIO, 5},       {EBADF, 6},          {ENOMEM, 8},  {EXDEV, 17},  {EWOULDBLOCK, 32}, {ETXTBSY, 32},
    {ENOLCK, 33},     {EOPNOTSUPP, 50}, {ENOSYS, 50},        {EEXIST, 80}, {EINVAL, 87}, {ENOSPC, 112},     {EDQUOT, 112},
    {ENOTEMPTY, 145}, {EBUSY, 170},     {ENAMETOOLONG, 206}, {EFBIG, 223}, {EINTR, 995}, {EIO, 1117},       {ELOOP, 1921},
};

TEST(PosixErrors, EachRowGivesItsNumber)
{
    for (const Expected& row : kExpected) {
        EXPECT_EQ(platform::WindowsErrorOf(row.systemError), row.number) << row.systemError;
        errno = row.systemError;
        EXPECT_EQ(platform::PresentError(), row.number);
    }
}

TEST(PosixErrors, NoRowIsUntestedAndNoneStandsTwice)
{
    size_t count = 0;
    const platform::ErrorRow* rows = platform::ErrorRows(count);
    EXPECT_EQ(count, std::size(kExpected));
    std::set<int> seen;
    for (size_t i = 0; i < count; ++i) EXPECT_TRUE(seen.insert(rows[i].systemError).second) << rows[i].systemError;
}

TEST(PosixErrors, AnErrorWithoutARowIsAGeneralFailure)
{
    EXPECT_EQ(platform::WindowsErrorOf(ECONNRESET), ERROR_GEN_FAILURE);
    EXPECT_EQ(platform::WindowsErrorOf(0), ERROR_SUCCESS);
}

}  // namespace

}  // namespace velmora::test
