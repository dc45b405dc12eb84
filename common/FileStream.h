// A binary file stream with one position, a write buffer and the share modes of the platform.
//
// It stands where C or C++ streams would, because those cannot say how a file is shared with other processes. A failed
// operation sets Failed(); like an iostream it then does nothing until ClearState().
#ifndef VELMORA_COMMON_FILESTREAM_H
#define VELMORA_COMMON_FILESTREAM_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace velmora {

// Last-write time (FILETIME) and size in bytes of a file; both 0 for one that is not there.
struct FileStamp {
    uint64_t lastWrite = 0;
    uint64_t size = 0;
};

class FileStream {
public:
    enum class Sharing {
        ReadWrite,  // others may read and write at the same time, none may delete
        None,       // nobody else may have the file open
    };

    FileStream() = default;
    ~FileStream();
    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    // Each returns whether the file is open and leaves the state failed otherwise; LastError() tells why.
    bool OpenRead(const std::string& path, Sharing sharing = Sharing::ReadWrite);
    bool OpenTruncate(const std::string& path, Sharing sharing = Sharing::ReadWrite);  // makes or empties the file
    bool OpenUpdate(const std::string& path, Sharing sharing = Sharing::ReadWrite);    // reads and writes an existing file
    bool OpenAlways(const std::string& path, Sharing sharing = Sharing::ReadWrite);    // the same; makes one that is missing

    bool IsOpen() const { return handle_ != nullptr; }
    bool Failed() const { return failed_ || bad_; }
    bool Bad() const { return bad_; }
    // Bytes that were written since the file was opened did not reach it: a write failed, or the stream had failed before it.
    // Clearing the state does not bring them back.
    bool LostBytes() const { return lostBytes_; }
    void ClearState() { failed_ = bad_ = false; }
    uint32_t LastError() const { return lastError_; }

    // Up to `size` bytes from the position; fewer at the end of the file, which sets Failed() as a stream's read does.
    size_t Read(void* buffer, size_t size);
    // Appends to the write buffer at the position.
    void Write(std::string_view bytes);
    void SeekTo(uint64_t offset);
    void SeekToEnd();
    // Where the next byte is read or written; UINT64_MAX while Failed(), as a failed stream answers.
    uint64_t Position() const;
    void Flush();
    // Cuts the file at the position, or extends it to there, behind a flush. False when that fails, which sets Bad().
    [[nodiscard]] bool Truncate();
    // Last-write time and size of the open file, without what is still in the write buffer; both 0 when they cannot be had. The
    // system may note the time of this stream's own writes only when it is closed.
    FileStamp Stamp() const;
    // Flushes and closes; returns false when bytes could not be written.
    bool Close();

private:
    bool Open(const std::string& path, uint32_t access, Sharing sharing, uint32_t disposition);
    void FlushBuffer();
    void WriteThrough(const char* bytes, size_t size);
    void MoveTo(uint64_t distance, uint32_t from);
    void SetBad();

    void* handle_ = nullptr;
    bool failed_ = false;
    bool bad_ = false;
    bool lostBytes_ = false;
    uint32_t lastError_ = 0;
    uint64_t position_ = 0;  // of the file, behind what is flushed
    std::unique_ptr<char[]> buffer_;
    size_t used_ = 0;
};

// The whole file as bytes; false when it cannot be opened or read.
[[nodiscard]] bool ReadWholeFile(const std::string& path, std::string& bytes);

// The time comes from the opened file, so that it is fresh on a network file system, and from a directory search when the open
// fails.
FileStamp ReadFileStamp(const std::string& path);

// Moves the last write of a file to a microsecond behind `lastWrite` (FILETIME), for a file whose next change has to be told
// from this one although both may fall into one tick of the file system's clock. A file that does not open stays.
void MoveLastWriteOn(const std::string& path, uint64_t lastWrite);

}  // namespace velmora

#endif
