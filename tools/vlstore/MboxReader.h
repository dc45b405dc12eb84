// An mbox file, message by message.
//
// A message begins behind a separator, a line "From ADDRESS Thu Jan  1 00:00:00 1970" that stands at the start of the file or
// behind an empty line, and ends before the empty line in front of the next one. The time may be without its seconds, and a
// zone may stand before or behind the year; a line "From ..." with no such date is text of its message. Inside, a line of any
// number of ">" and then "From " has lost one ">" when the reader hands it out. Every other byte is kept, line ends among them.
#ifndef VLSTORE_MBOXREADER_H
#define VLSTORE_MBOXREADER_H

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace vlstore {

class MboxReader {
public:
    // Throws Failure when the file cannot be opened or does not begin as an mbox; an empty file has no messages.
    explicit MboxReader(const std::filesystem::path& path);
    // The next message; false behind the last one.
    bool Next(std::string& message);

    // Whether a file begins as an mbox; false for one that cannot be read.
    static bool LooksLikeMbox(const std::filesystem::path& path);

private:
    bool ReadLine();

    std::filesystem::path path_;
    std::ifstream file_;
    std::string line_;  // with its line end
    bool insideMessage_ = false;
};

}  // namespace vlstore

#endif
