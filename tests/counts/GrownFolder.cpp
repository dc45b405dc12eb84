#include "tests/counts/GrownFolder.h"

#include <chrono>

#include "common/Text.h"

namespace velmora::test {

std::string GrownItemName(uint32_t uid) { return FormatHex8(uid) + ".MAI"; }

std::string GrownIndex(uint32_t items)
{
    std::string bytes = "<BASEELEMENT LASTUID=\"x" + FormatHex8(items) + "\">";
    bytes.reserve(size_t{items} * 256 + 64);
    for (uint32_t uid = 1; uid <= items; ++uid) {
        bytes.append("<ELEMENT ID=\"").append(GrownItemName(uid)).append("\" UID=\"").append(std::to_string(uid)).append("\">");
        bytes.append("<FLAGSTATUS>\\SEEN</FLAGSTATUS><FROM>Alma Lund &lt;a.lund7@example.net&gt;</FROM><READ>1</READ>");
        bytes.append("<SIZE>4096</SIZE><SUBJECT>agenda about the window repair</SUBJECT></ELEMENT>");
    }
    return bytes.append("</BASEELEMENT>\r\n");
}

std::string GrownCounts(uint32_t items)
{
    const uint32_t words[13] = {0, 0, 0, 0, 0, 1, items, items, 0, 0, 0, items, 0};
    std::string bytes;
    for (const uint32_t word : words)
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(static_cast<unsigned char>(word >> shift));
    return bytes;
}

GrownFolder::GrownFolder(TestStore& store, uint32_t items)
    : items_(items), name_("Grown" + FormatHex8(items)), path_(store.MakeFolder(name_))
{
    WriteFileBytes(IndexFile(), GrownIndex(items));
    WriteFileBytes(path_ / "_FOLDER.DAT", GrownCounts(items));
    // Older than any tick of the file system's clock that a measured write could fall into.
    std::filesystem::last_write_time(IndexFile(), std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
}

}  // namespace velmora::test
