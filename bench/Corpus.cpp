#include "bench/Corpus.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace velmora::bench {
namespace {

constexpr uint64_t kSeed = 0x56454C4D4F5241;
constexpr std::time_t kFirstDate = 1704067200;  // 2024-01-01 00:00:00 UTC

// SplitMix64: small, well spread, and the same everywhere.
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed) {}
    uint64_t Next()
    {
        uint64_t z = (state_ += 0x9E3779B97F4A7C15);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }
    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(Next() % bound); }
    bool OneIn(uint32_t n) { return Below(n) == 0; }

private:
    uint64_t state_;
};

constexpr std::array<std::string_view, 16> kGiven = {"Alma", "Bruno", "Clara", "Denis", "Elena", "Felix", "Gita", "Henrik",
                                                     "Ines", "Jonas", "Katka", "Leo",   "Mira",  "Nils",  "Olga", "Pavel"};
constexpr std::array<std::string_view, 16> kFamily = {"Aalto",  "Berger", "Conti", "Duval", "Eriksen", "Farkas", "Grau",   "Hruby",
                                                      "Ivanic", "Jonker", "Kral",  "Lund",  "Marsh",   "Nemec",  "Orsini", "Pohl"};
constexpr std::array<std::string_view, 6> kDomains = {"example.com",      "example.net",      "example.org",
                                                      "post.example.com", "mail.example.net", "team.example.org"};
constexpr std::array<std::string_view, 32> kWords = {"agenda",  "answer",  "bridge", "budget",  "change",   "copy",    "delay",  "draft",
                                                     "early",   "figures", "garden", "harbour", "invoice",  "journey", "key",    "ladder",
                                                     "meeting", "news",    "offer",  "parcel",  "question", "repair",  "sample", "ticket",
                                                     "update",  "visit",   "week",   "window",  "with",     "about",   "for",    "and"};

template <size_t N>
std::string_view Pick(Random& random, const std::array<std::string_view, N>& from)
{
    return from[random.Below(N)];
}

std::string Words(Random& random, uint32_t count)
{
    std::string text;
    for (uint32_t i = 0; i < count; ++i) {
        if (i > 0) text += ' ';
        text += Pick(random, kWords);
    }
    return text;
}

std::string Person(Random& random)
{
    const std::string_view given = Pick(random, kGiven);
    const std::string_view family = Pick(random, kFamily);
    std::string address(1, static_cast<char>(given[0] + 32));
    address.append(".").append(family).append(std::to_string(random.Below(100))).append("@").append(Pick(random, kDomains));
    address[2] = static_cast<char>(address[2] + 32);
    if (random.OneIn(8)) return address;
    std::string person;
    if (random.OneIn(3))
        person.append("\"").append(family).append(", ").append(given).append("\"");
    else
        person.append(given).append(" ").append(family);
    return person.append(" <").append(address).append(">");
}

std::string People(Random& random, uint32_t count)
{
    std::string list = Person(random);
    for (uint32_t i = 1; i < count; ++i) list.append(", ").append(Person(random));
    return list;
}

std::string FormatTime(const char* format, std::time_t time)
{
    char text[64];
    const size_t size = std::strftime(text, sizeof text, format, std::gmtime(&time));
    return std::string(text, size);
}

// What one mail is about; both forms of an item are made from it.
struct Mail {
    std::string from, to, cc, subject, messageId;
    std::time_t sent = 0;
    bool attachment = false;
};

Mail MailOf(uint32_t number, Random& random)
{
    Mail mail;
    mail.sent = kFirstDate + std::time_t{number} * 211 + random.Below(200);
    mail.from = Person(random);
    mail.to = People(random, random.Below(10) < 7 ? 1 : 2 + random.Below(5));
    if (random.Below(10) < 3) mail.cc = People(random, 1 + random.Below(4));
    static constexpr std::array<std::string_view, 6> kPrefixes = {"", "", "", "Re: ", "Fwd: ", "[group] "};
    mail.subject = std::string(Pick(random, kPrefixes)) + Words(random, 2 + random.Below(9));
    char token[32];
    std::snprintf(token, sizeof token, "<%016llx.%u@", static_cast<unsigned long long>(random.Next()), number);
    mail.messageId = std::string(token).append(Pick(random, kDomains)).append(">");
    mail.attachment = random.OneIn(4);
    return mail;
}

std::string Escaped(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else
            out += c;
    }
    return out;
}

void Child(std::string& out, const char* name, std::string_view value)
{
    out.append("<").append(name).append(">").append(Escaped(value)).append("</").append(name).append(">");
}

// Complete when the stamp holds this text; it changes with the generator.
constexpr char kStamp[] = "corpus 1\n";

bool IsComplete(const std::filesystem::path& directory)
{
    std::ifstream stamp(directory / "_complete", std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stamp), {}) == kStamp;
}

void WriteFile(const std::filesystem::path& path, std::string_view bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace

std::string ItemName(uint32_t number)
{
    char name[32];
    std::snprintf(name, sizeof name, "%X.MAI", 0x10000 + number * 5);
    return name;
}

std::string IndexElement(uint32_t number)
{
    Random random(kSeed ^ (uint64_t{number} << 20));
    const Mail mail = MailOf(number, random);
    static constexpr std::array<std::string_view, 4> kFlags = {"\\SEEN", "\\SEEN", "\\SEEN \\ANSWERED", "\\RECENT"};
    const std::string_view flags = Pick(random, kFlags);

    std::string out = "<ELEMENT ID=\"" + ItemName(number) + "\" UID=\"" + std::to_string(number + 1) + "\">";
    Child(out, "ATTACHMENTS", mail.attachment ? "1" : "0");
    Child(out, "CC", mail.cc);
    Child(out, "CLASS", "");
    Child(out, "FLAGSTATUS", flags);
    Child(out, "FROM", mail.from);
    Child(out, "IMPORTANCE", "3");
    Child(out, "KEYWORDS", random.OneIn(5) ? Words(random, 2) : "");
    Child(out, "MESSAGEDATE", FormatTime("%Y-%m-%dT%H:%M:%S", mail.sent));
    Child(out, "MESSAGEID", mail.messageId);
    Child(out, "MODIFIEDDATE", std::to_string(1480000000 + number * 3));
    Child(out, "READ", flags.find("SEEN") == std::string_view::npos ? "0" : "1");
    Child(out, "RECEIVED", FormatTime("%Y-%m-%dT%H:%M:%S", mail.sent + 12));
    Child(out, "SIZE", std::to_string(2000 + random.Below(5000)));
    Child(out, "STATE", "0");
    Child(out, "SUBJECT", mail.subject);
    Child(out, "TO", mail.to);
    return out.append("</ELEMENT>");
}

std::string MessageText(uint32_t number)
{
    Random random(kSeed ^ (uint64_t{number} << 20));
    const Mail mail = MailOf(number, random);
    const std::string date = FormatTime("%a, %d %b %Y %H:%M:%S +0000", mail.sent);

    std::string text;
    for (uint32_t hop = 0, hops = 1 + random.Below(3); hop < hops; ++hop) {
        text.append("Received: from ").append(Pick(random, kDomains)).append(" ([192.0.2.").append(std::to_string(random.Below(255)));
        text.append("])\r\n\tby ").append(Pick(random, kDomains)).append(" with ESMTPS;\r\n\t").append(date).append("\r\n");
    }
    text.append("Received: from list by post.example.com; ").append(date).append("\r\n");
    text.append("Message-ID: ").append(mail.messageId).append("\r\nDate: ").append(date);
    text.append("\r\nFrom: ").append(mail.from).append("\r\nTo: ").append(mail.to);
    if (!mail.cc.empty()) text.append("\r\nCc: ").append(mail.cc);
    text.append("\r\nSubject: ").append(mail.subject);
    for (uint32_t i = 0, extra = random.Below(8); i < extra; ++i)
        text.append("\r\nX-Trace-").append(std::to_string(i)).append(": ").append(Words(random, 8));
    text.append("\r\nMIME-Version: 1.0\r\n");

    const std::string boundary = "part-" + std::to_string(number);
    if (mail.attachment)
        text.append("Content-Type: multipart/mixed; boundary=\"").append(boundary).append("\"\r\n\r\n--").append(boundary).append("\r\n");
    text.append("Content-Type: text/plain; charset=us-ascii\r\n\r\n");
    const size_t target = text.size() + 1500 + random.Below(2500);
    while (text.size() < target) text.append(Words(random, 10)).append("\r\n");
    if (mail.attachment) {
        text.append("--").append(boundary).append("\r\nContent-Type: application/octet-stream\r\n");
        text.append("Content-Disposition: attachment; filename=\"data.bin\"\r\n\r\n").append(Words(random, 40)).append("\r\n--");
        text.append(boundary).append("--\r\n");
    }
    return text;
}

std::filesystem::path MakeIndexFile(const std::filesystem::path& directory, uint32_t items)
{
    const std::filesystem::path file = directory / "_index.xml";
    if (IsComplete(directory)) return file;
    std::filesystem::create_directories(directory);
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    char header[64];
    std::snprintf(header, sizeof header, "<BASEELEMENT LASTUID=\"x%08x\">", items);
    out << header;
    for (uint32_t i = 0; i < items; ++i) out << IndexElement(i);
    out << "</BASEELEMENT>\r\n";
    out.close();
    if (!out) throw std::runtime_error("cannot write " + file.string());
    WriteFile(directory / "_complete", kStamp);
    return file;
}

void MakeMessages(const std::filesystem::path& directory, uint32_t count)
{
    if (IsComplete(directory)) return;
    std::filesystem::create_directories(directory);
    for (uint32_t i = 0; i < count; ++i) WriteFile(directory / ItemName(i), MessageText(i));
    WriteFile(directory / "_complete", kStamp);
}

std::vector<std::filesystem::path> MakeTree(const std::filesystem::path& directory, uint32_t folders)
{
    constexpr uint32_t kFamily = 10, kItems = 20;
    const bool complete = IsComplete(directory);
    std::vector<std::filesystem::path> paths = {directory};
    std::filesystem::path parent;
    for (uint32_t folder = 0; folder < folders; ++folder) {
        char name[16];
        std::snprintf(name, sizeof name, "Folder%05u", folder);
        if (folder % kFamily == 0) parent = directory / name;
        paths.push_back(folder % kFamily == 0 ? parent : parent / name);
        if (complete) continue;
        std::filesystem::create_directories(paths.back());
        std::string index = "<BASEELEMENT LASTUID=\"x00000014\">";
        for (uint32_t item = 0; item < kItems; ++item) index += IndexElement(folder + item);
        WriteFile(paths.back() / "_index.xml", index + "</BASEELEMENT>\r\n");
    }
    if (!complete) WriteFile(directory / "_complete", kStamp);
    return paths;
}

void OverwriteFile(const std::filesystem::path& from, const std::filesystem::path& to)
{
    std::filesystem::create_directories(to.parent_path());
    std::filesystem::copy_file(from, to, std::filesystem::copy_options::overwrite_existing);
}

}  // namespace velmora::bench
