#include "tests/persistence/PlainReader.h"

#include <cstring>
#include <optional>

namespace velmora::test {

namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

int DigitOf(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    return 99;
}

// Blanks and a sign at the front go; true for a minus.
bool TakeSign(std::string_view& text)
{
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    const bool minus = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
    return minus;
}

// The digits at the front, held at `limit`.
uint64_t Digits(std::string_view text, uint32_t base, uint64_t limit)
{
    uint64_t number = 0;
    for (const char c : text) {
        const int digit = DigitOf(c);
        if (digit >= static_cast<int>(base)) break;
        number = number * base + static_cast<uint64_t>(digit);
        if (number > limit) return limit + 1;
        // Held just above the limit, so that it cannot wrap however many digits follow.
    }
    return number;
}

constexpr int kBufferSize = 1024;

// The bytes of a file and a place in them.
class PlainStream {
public:
    explicit PlainStream(std::string_view bytes) : bytes_(bytes) {}

    // Bytes up to and without `delimiter`, at most 1,023. The delimiter is taken only when fewer stood before it. Gives
    // the number of bytes, or -1 when the end came first.
    int ReadUntil(char (&buffer)[kBufferSize], char delimiter)
    {
        int stored = 0;
        while (stored < kBufferSize - 1) {
            if (at_ == bytes_.size()) {
                buffer[stored] = '\0';
                return -1;
            }
            const char c = bytes_[at_++];
            if (c == delimiter) {
                buffer[stored] = '\0';
                return stored;
            }
            buffer[stored++] = c;
        }
        buffer[stored] = '\0';
        return stored;
    }

private:
    std::string_view bytes_;
    size_t at_ = 0;
};

// Replaces from left to right, going on right behind each byte put in place.
void ReplaceAll(std::string& text, const std::string& what, char by)
{
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) text.replace(at, what.size(), 1, by);
}

bool ReadLastUid(std::string_view tag, uint32_t& lastUid)
{
    const std::string_view attribute = "LASTUID=\"";
    const size_t found = tag.find(attribute);
    if (found == std::string_view::npos) return false;
    const size_t valueAt = found + attribute.size();
    const size_t quote = tag.find('"', valueAt + 1);
    if (quote == std::string_view::npos) return false;
    const std::string_view value = tag.substr(valueAt, quote - valueAt).substr(0, 1023);
    const bool newForm = value.front() == 'x';
    const std::string_view number = newForm ? value.substr(1) : value;
    std::string_view digits = number;
    if (TakeSign(digits))
        lastUid = 0;  // nobody gave it
    else
        lastUid = PlainUnsigned(number, newForm || value.front() == '0' ? 16 : 10);
    return newForm;
}

std::string Utf8Of(unsigned letter)
{
    if (letter < 0x800) return {static_cast<char>(0xC0 + letter / 64), static_cast<char>(0x80 + letter % 64)};
    return {static_cast<char>(0xE0 + letter / 4096), static_cast<char>(0x80 + letter / 64 % 64), static_cast<char>(0x80 + letter % 64)};
}

// A column's name in a document of the old form: letters up to 255, and those of Windows-1252, are bytes.
std::string PlainName(const std::string& name)
{
    constexpr unsigned kWindows[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
                                       0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
                                       0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
    std::string column;
    for (size_t at = 0; at < name.size(); ++at) {
        std::string utf8(1, name[at]);
        column += name[at];
        for (unsigned byte = 0x80; byte < 0x100; ++byte)
            for (const unsigned letter : {byte, byte < 0xA0 ? kWindows[byte - 0x80] : 0}) {
                if (letter == 0 || name.compare(at, Utf8Of(letter).size(), Utf8Of(letter)) != 0) continue;
                utf8 = Utf8Of(letter);
                column.back() = static_cast<char>(byte);
            }
        at += utf8.size() - 1;
    }
    return column;
}

void Store(PlainItem& item, const std::string& name, const std::string& value)
{
    const bool integer = name == "UID" || name == "READ";
    item.properties[name] = integer ? std::to_string(PlainLong(value)) : value;
}

std::string Get(const PlainItem& item, const std::string& name)
{
    const auto found = item.properties.find(name);
    return found == item.properties.end() ? std::string() : found->second;
}

// Steps 1 to 5 of an insert. No UID is left to give behind 2^32 - 1: then the insert fails.
bool Insert(PlainIndex& index, const std::shared_ptr<PlainItem>& item)
{
    uint32_t uid = static_cast<uint32_t>(PlainLong(Get(*item, "UID")));
    if (uid == 0) {
        if (index.lastUid == UINT32_MAX) return false;
        uid = ++index.lastUid;
        Store(*item, "UID", std::to_string(static_cast<int32_t>(uid)));
    } else if (uid > index.lastUid) {
        index.lastUid = uid;
    }
    const std::string id = Get(*item, "ID");
    if (!index.byId.emplace(id, item).second) return false;
    if (!index.byUid.emplace(uid, item).second) {
        index.byId.erase(id);
        return false;
    }
    return true;
}

// Any slot behind READ makes READ present, and every item that comes this far has one.
void MakeReadPresent(PlainItem& item) { item.properties.emplace("READ", "0"); }

bool Contains(const std::set<std::string>& selection, const std::string& id) { return selection.contains(id) || selection.contains("*"); }

bool EqualsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (DigitOf(a[i]) != DigitOf(b[i]) || (DigitOf(a[i]) == 99 && a[i] != b[i])) return false;
    return true;
}

class PlainPass {
public:
    PlainPass(PlainIndex& index, std::string_view bytes, const PlainOptions& options)
        : index_(index), options_(options), stream_(bytes), filterActive_(!options.selection.empty())
    {
    }

    PlainOutcome Run()
    {
        while (Round()) {
        }
        return Finish();
    }

private:
    void FaultOfOrder(const std::string& message)
    {
        if (ok_) fault_ = message;
        ok_ = false;
    }
    void Fault(const std::string& message)
    {
        FaultOfOrder(message);
        faultInElement_ = true;
    }

    bool Round()
    {
        char buffer[kBufferSize];
        text_.clear();
        int got = stream_.ReadUntil(buffer, '<');
        if (got == -1) return false;
        text_.append(buffer, static_cast<size_t>(got));
        while (got >= kBufferSize - 1) {
            got = stream_.ReadUntil(buffer, '<');
            if (got == -1) break;
            text_.append(buffer, static_cast<size_t>(got));
        }
        tagStart_ = position_ + static_cast<uint32_t>(text_.size());

        got = stream_.ReadUntil(buffer, '>');
        if (got != -1) {
            tag_.assign(buffer, static_cast<size_t>(got));
            position_ = tagStart_ + 2 + static_cast<uint32_t>(tag_.size());
            Tag();
        }
        const bool stop = tombstoneCount_ >= options_.garbageThreshold && (options_.level < 3 || filterActive_);
        return !stop;
    }

    void Tag()
    {
        closing_ = !tag_.empty() && tag_[0] == '/';
        name_ = closing_ ? tag_.substr(1) : tag_;
        if (name_.substr(0, 11) == "BASEELEMENT")
            RootTag();
        else if (name_.substr(0, 7) == "ELEMENT")
            ElementTag();
        else
            PropertyTag();
    }

    void RootTag()
    {
        if (closing_) {
            if (!rootStartSeen_)
                Fault("Encountered root element end tag before root element start tag");
            else if (rootEndSeen_)
                Fault("Encountered root element end tag after already encountering a root element end tag");
            rootEndSeen_ = true;
            return;
        }
        if (rootStartSeen_) Fault("Encountered root element start tag after already encountering a root element start tag");
        rootStartSeen_ = true;
        if (ReadLastUid(tag_, index_.lastUid)) {
            newFormat_ = true;
        } else {
            index_.loadSelection.clear();
            filterActive_ = false;
            index_.rewriteRequired = true;
        }
        if (tag_.find('/') != std::string::npos) {
            rootEndSeen_ = true;
            index_.loadSelection.clear();
            filterActive_ = false;
            index_.rewriteRequired = true;
        }
    }

    void ElementTag()
    {
        if (!rootStartSeen_)
            Fault("Encountered element tag before encountering a root element start tag");
        else if (rootEndSeen_)
            Fault("Encountered element tag after already encountering a root element end tag");
        else if (!currentProperty_.empty())
            Fault("Encountered element start tag nested within a property (" + currentProperty_ + ")");
        else if (!closing_ && elementOpen_)
            Fault("Encountered element start tag nested within another element");
        else if (closing_ && !elementOpen_)
            Fault("Encountered element end tag before encountering a matching element start tag");
        if (closing_)
            ElementEnd();
        else
            ElementStart();
    }

    void ElementStart()
    {
        elementOpen_ = true;
        faultInElement_ = false;
        currentItem_.reset();
        bool idSeen = false;
        size_t at = 0;
        for (;;) {
            const size_t blank = tag_.find(' ', at);
            if (blank == std::string::npos) break;
            const size_t nameAt = blank + 1;
            const size_t equals = tag_.find('=', nameAt + 1);
            if (equals == std::string::npos) break;
            const size_t quote = tag_.find('"', equals + 1);
            const size_t closingQuote = quote == std::string::npos ? quote : tag_.find('"', quote + 2);
            if (closingQuote == std::string::npos) {
                Fault("Unable to parse ID attribute, Tag=[" + tag_ + "]");
                break;
            }
            if (!Attribute(tag_.substr(nameAt, equals - nameAt), tag_.substr(quote + 1, closingQuote - quote - 1), idSeen)) {
                currentItem_.reset();
                return;
            }
            at = closingQuote + 1;
        }
        if (!idSeen) Fault("Encountered element start tag without an ID");
    }

    // False when the element is to be skipped.
    bool Attribute(const std::string& name, std::string value, bool& idSeen)
    {
        if (name == "ID") idSeen = true;
        // A document of the old form has references here as well.
        if (!newFormat_) {
            ReplaceAll(value, "&quot;", '"');
            ReplaceAll(value, "&apos;", '\'');
            value = PlainDecode(value);
        }
        if (name == "UID" && newFormat_) {
            // Without a sign, as UIDs are everywhere: a folder whose UIDs have passed 2^31 is in order too.
            const uint32_t uid = static_cast<uint32_t>(PlainLong(value));
            if (previousUid_ && uid < *previousUid_)
                FaultOfOrder("Encountered element with UID out of order. This UID=" + std::to_string(uid) +
                             ", Previous UID=" + std::to_string(*previousUid_) + ", Largest/Last UID=" + std::to_string(index_.lastUid));
            previousUid_ = uid;
        }
        if (value.find_first_not_of('-') == std::string::npos) {
            ++tombstoneCount_;
            return false;
        }
        if (filterActive_ && !index_.rewriteRequired) {
            if (EqualsIgnoringCase(name, "ID") && !Contains(options_.selection, value)) return false;
        } else if (options_.verifyItemFiles && name == "ID") {
            if (!options_.itemFiles.contains(value)) return false;
        }
        if (!currentItem_) currentItem_ = std::make_shared<PlainItem>();
        currentItem_->fileOffset = tagStart_;
        Store(*currentItem_, name, value);
        return true;
    }

    void ElementEnd()
    {
        elementOpen_ = false;
        if (!currentItem_) return;
        currentItem_->fileLength = position_ - currentItem_->fileOffset;
        Store(*currentItem_, "IDX", std::to_string(nextIdx_));
        MakeReadPresent(*currentItem_);
        if (Insert(index_, currentItem_)) {
            // An element with a fault in it has no place.
            if (faultInElement_) currentItem_->fileOffset = currentItem_->fileLength = 0;
            if (newFormat_)
                Append(currentItem_);
            else
                index_.sequence.push_back(currentItem_);  // not in its place yet; the sequence owns it all the same
        } else {
            ++index_.refused;
        }
        ++nextIdx_;
        currentItem_.reset();
    }

    void Append(const std::shared_ptr<PlainItem>& item)
    {
        index_.sequence.push_back(item);
        Store(*item, "SEQ", std::to_string(nextSeq_++));
    }

    void PropertyTag()
    {
        if (!rootStartSeen_)
            Fault("Encountered property tag (" + tag_ + ") before encountering a root element start tag");
        else if (rootEndSeen_)
            Fault("Encountered property tag (" + tag_ + ") after already encountering a root element end tag");
        else if (!elementOpen_)
            Fault("Encountered property tag (" + tag_ + ") outside an element");
        if (options_.level == 2) return;
        if (!closing_) {
            if (!currentProperty_.empty())
                Fault("Encountered property start tag (" + tag_ + ") nested within another property (" + currentProperty_ + ")");
            currentProperty_ = tag_;
            return;
        }
        if (name_ != currentProperty_)
            Fault("Encountered property end tag (" + tag_ + ") that does not match previous property start tag (" + currentProperty_ + ")");
        currentProperty_.clear();
        if (currentItem_) Store(*currentItem_, newFormat_ ? name_ : PlainName(name_), PlainDecode(text_));
    }

    PlainOutcome Finish()
    {
        if (!newFormat_) {
            index_.sequence.clear();
            for (const auto& [uid, item] : index_.byUid) Append(item);
        }
        if (tombstoneCount_ >= options_.garbageThreshold) {
            index_.loadSelection.clear();
            index_.rewriteRequired = true;
            if (options_.level < 3 || filterActive_) {
                index_ = PlainIndex();
                return {2, {}};
            }
        }
        if (!rootStartSeen_)
            Fault("Did not find root element start tag");
        else if (!rootEndSeen_)
            Fault("Did not find root element end tag");
        if (!ok_) return {0, fault_};
        if (options_.verifyItemFiles && options_.level == 3) index_.rewriteRequired = true;
        return {1, {}};
    }

    PlainIndex& index_;
    const PlainOptions& options_;
    PlainStream stream_;
    bool ok_ = true;
    std::string fault_;
    bool newFormat_ = false;
    bool rootStartSeen_ = false;
    bool rootEndSeen_ = false;
    bool elementOpen_ = false;
    bool faultInElement_ = false;  // since the last start tag of an element
    bool filterActive_;
    bool closing_ = false;
    std::string currentProperty_;
    std::shared_ptr<PlainItem> currentItem_;
    std::string text_;
    std::string tag_;
    std::string name_;
    uint32_t tombstoneCount_ = 0;
    uint32_t nextSeq_ = 1;
    uint32_t nextIdx_ = 1;
    std::optional<uint32_t> previousUid_;
    uint32_t position_ = 0;
    uint32_t tagStart_ = 0;
};

}  // namespace

uint32_t PlainUnsigned(std::string_view text, uint32_t base)
{
    const bool minus = TakeSign(text);
    if (base == 16 && text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') && DigitOf(text[2]) < 16)
        text.remove_prefix(2);
    const uint64_t number = Digits(text, base, UINT32_MAX);
    if (number > UINT32_MAX) return UINT32_MAX;
    return minus ? static_cast<uint32_t>(0 - number) : static_cast<uint32_t>(number);
}

int32_t PlainLong(std::string_view text)
{
    const bool minus = TakeSign(text);
    const int64_t number = static_cast<int64_t>(Digits(text, 10, uint64_t{1} << 31));
    if (minus) return number > -int64_t{INT32_MIN} ? INT32_MIN : static_cast<int32_t>(-number);
    return number > INT32_MAX ? INT32_MAX : static_cast<int32_t>(number);
}

std::set<std::string> PlainSelection(std::string_view list)
{
    std::set<std::string> ids;
    std::string id;
    for (const char c : list) {
        if (c != ',') {
            id += c;
            continue;
        }
        if (!id.empty()) ids.insert(id);
        id.clear();
    }
    if (!id.empty()) ids.insert(id);
    return ids;
}

std::string PlainDecode(std::string text)
{
    for (;;) {
        const size_t at = text.find("&#");
        if (at == std::string::npos) break;
        const size_t end = text.find(';', at + 2);
        if (end == std::string::npos) break;
        const bool hexadecimal = text[at + 2] == 'x';
        const std::string digits = text.substr(at + (hexadecimal ? 3 : 2), end - at - (hexadecimal ? 3 : 2));
        const uint32_t number = hexadecimal ? PlainUnsigned(digits, 16) : static_cast<uint32_t>(PlainLong(digits));
        text.replace(at, end - at + 1, 1, static_cast<char>(number & 0xFF));
    }
    ReplaceAll(text, "&lt;", '<');
    ReplaceAll(text, "&gt;", '>');
    ReplaceAll(text, "&amp;", '&');
    return text;
}

PlainOutcome PlainParse(PlainIndex& index, std::string_view bytes, const PlainOptions& options)
{
    return PlainPass(index, bytes, options).Run();
}

PlainOutcome PlainLoad(PlainIndex& index, std::string_view bytes, PlainOptions options, bool fileIsThere)
{
    if (!fileIsThere) bytes = {};
    if (options.level == 1) {
        const std::string_view line = bytes.substr(0, bytes.find('\n')).substr(0, 1023);
        if (line.size() > 33) {
            if (!ReadLastUid(line, index.lastUid)) {
                index.loadSelection.clear();
                options.selection.clear();
                index.rewriteRequired = true;
                options.level = 3;
            } else if (line[32] == '/') {
                index.loadSelection.clear();
                index.rewriteRequired = true;
                return {3, {}};
            } else {
                return {1, {}};
            }
        }
    }
    PlainOutcome outcome = PlainParse(index, bytes, options);
    if (outcome.result == 2) {
        options.selection.clear();
        options.level = 3;
        outcome = PlainParse(index, bytes, options);
    }
    outcome.result = outcome.result == 1 ? options.level : 0;
    return outcome;
}

}  // namespace velmora::test
