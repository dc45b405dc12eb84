#include "tests/torture/Journal.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace velmora::torture {

namespace {

// Texts have no blanks at their ends and are never empty in the file.
std::string Field(const std::string& text) { return text.empty() ? "-" : text; }
std::string Value(const std::string& field) { return field == "-" ? "" : field; }

}  // namespace

int64_t TimeNow()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Journal::Journal(const std::filesystem::path& path) : file_(std::fopen(path.string().c_str(), "ab"))
{
    if (!file_) throw std::runtime_error("no journal " + path.string());
}

Journal::~Journal() { std::fclose(file_); }

void Journal::Write(uint32_t thread, Deed deed, uint32_t folder, const std::string& id, uint32_t number, const std::string& text)
{
    const std::lock_guard lock(mutex_);
    const std::string line = std::to_string(TimeNow()) + ' ' + std::to_string(thread) + ' ' + static_cast<char>(deed) + ' ' +
                             std::to_string(folder) + ' ' + std::to_string(number) + ' ' + Field(id) + ' ' + Field(text) + '\n';
    std::fwrite(line.data(), 1, line.size(), file_);
    std::fflush(file_);
}

void JournalReader::ReadOn(std::vector<Record>& records)
{
    std::ifstream file(path_, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(position_));
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    size_t begin = 0;
    for (size_t end = 0; (end = bytes.find('\n', begin)) != std::string::npos; begin = end + 1) {
        std::istringstream line(bytes.substr(begin, end - begin));
        Record record;
        char deed = 0;
        line >> record.time >> record.thread >> deed >> record.folder >> record.number >> record.id >> std::ws;
        std::getline(line, record.text);
        record.process = process_;
        record.deed = static_cast<Deed>(deed);
        record.id = Value(record.id);
        record.text = Value(record.text);
        records.push_back(std::move(record));
    }
    position_ += begin;
}

}  // namespace velmora::torture
