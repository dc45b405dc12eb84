// Where imported messages come from: files, directories of files, Maildirs and mbox files.
#ifndef VLSTORE_MESSAGESOURCE_H
#define VLSTORE_MESSAGESOURCE_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace vlstore {

class MboxReader;

struct MessageSource {
    enum class Form { Message, Mbox };
    std::filesystem::path path;
    Form form = Form::Message;
    std::string flags;  // of a Maildir file: the letters behind ":2,"
};

struct SkippedEntry {
    std::filesystem::path path;
    const char* reason;  // "hidden" and its like
};

struct SourceList {
    std::vector<MessageSource> sources;
    std::vector<SkippedEntry> skipped;  // what lies in a directory and is not taken
};

// What the paths of the command line stand for, in their order; inside a directory by name.
// A file is an mbox when it is called one (.mbox, .mbx) or begins as one, but never when it is called a message (.eml, .mai).
// A directory with "cur" or "new" in it is a Maildir; of any other, the plain files that hold a message or an mbox are
// taken, hidden ones left out, and directories below it are not entered. Every entry that is left out is among the skipped
// ones; a file that may not be read is among the sources, where its turn ends in a failure.
// Throws Failure when a path does not exist or cannot be read.
SourceList CollectSources(const std::vector<std::string>& paths);

// The messages of one source, their bytes as they stand.
class MessageStream {
public:
    explicit MessageStream(const MessageSource& source);
    ~MessageStream();

    // The next message, false at the end. Throws Failure when it cannot be read.
    bool Next(std::string& message);
    // The source of the last message in words: a path, with "#" and a number in an mbox.
    std::string Label() const;

private:
    const MessageSource& source_;
    std::unique_ptr<MboxReader> mbox_;
    size_t count_ = 0;
};

}  // namespace vlstore

#endif
