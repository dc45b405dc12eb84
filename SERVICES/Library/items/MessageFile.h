// A message file open for reading: its bytes and its last write through one handle.
#ifndef VELMORA_ITEMS_MESSAGEFILE_H
#define VELMORA_ITEMS_MESSAGEFILE_H

#include <cstdint>
#include <string>

#include "persistence/StreamIndexReader.h"
#include "platform/win32.h"

namespace velmora {

// Shared as C streams share: others may read and write the file meanwhile, and delete it a moment later. Only a plain file
// is ever open.
class MessageFile : public ByteSource {
public:
    explicit MessageFile(const std::string& path);
    ~MessageFile() override;
    MessageFile(const MessageFile&) = delete;
    MessageFile& operator=(const MessageFile&) = delete;

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    // Why the system did not open it; 0 when it did.
    uint32_t OpenError() const { return openError_; }
    void Close();

    // The last write in DOS form, from the handle, else from a search for the path; 0 when neither tells.
    uint32_t DosLastWrite() const;

    // Bytes; 0 when it cannot be told.
    uint64_t Size() const;

    // Up to `size` bytes; 0 at the end or on a fault, which Failed() tells apart.
    size_t Read(char* buffer, size_t size) override;
    bool Failed() const { return failed_; }

private:
    std::string path_;
    HANDLE handle_;
    uint32_t openError_ = 0;
    bool failed_ = false;
};

}  // namespace velmora

#endif
