#include "Output.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>
#include <numeric>

#include "ExitCode.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace {

constexpr size_t kNoLimit = 0;
constexpr size_t kColumnGap = 2;
constexpr size_t kNarrowestColumn = 4;

nlohmann::ordered_json JsonOf(const Cell& cell)
{
    if (const auto* flag = std::get_if<bool>(&cell)) return *flag;
    if (const auto* number = std::get_if<int64_t>(&cell)) return *number;
    if (const auto* number = std::get_if<double>(&cell)) return *number;
    if (const auto* text = std::get_if<std::string>(&cell)) return ToUtf8(*text);
    return nullptr;
}

std::string ForTable(const Cell& cell)
{
    std::string text = ToUtf8(TextOf(cell)), shown;
    for (std::string_view rest = text; !rest.empty();) {
        std::string_view character = rest.substr(0, Utf8SequenceLength(rest));
        shown += IsControl(character) ? " " : character;
        rest.remove_prefix(character.size());
    }
    return shown;
}

std::string ForTab(const Cell& cell)
{
    std::string escaped;
    for (char c : TextOf(cell)) {
        switch (c) {
            case '\t':
                escaped += "\\t";
                break;
            case '\n':
                escaped += "\\n";
                break;
            case '\r':
                escaped += "\\r";
                break;
            case '\\':
                escaped += "\\\\";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

// A heading for a person: the name without what all names of its kind begin with.
std::string HeadingOf(const std::string& name)
{
    for (std::string_view prefix : {"PR_VL_", "PR_", "VL_ITEM_", "VL_"}) {
        if (name.starts_with(prefix)) return name.substr(prefix.size());
    }
    return name;
}

size_t LineWidth(const std::vector<size_t>& widths)
{
    return std::accumulate(widths.begin(), widths.end(), kColumnGap * (widths.size() - 1));
}

// What an item is asked for by is of no use when it is cut.
bool IsNeverCut(const std::string& name) { return name == "VL_ITEM_ID"; }

// Narrows the widest columns alone, to one common width, until the line fits.
void FitWidths(const std::vector<std::string>& names, std::vector<size_t>& widths, size_t columns)
{
    while (LineWidth(widths) > columns) {
        size_t widest = 0;
        for (size_t i = 0; i < widths.size(); ++i) {
            if (!IsNeverCut(names[i])) widest = std::max(widest, widths[i]);
        }
        if (widest <= kNarrowestColumn) return;
        for (size_t i = 0; i < widths.size(); ++i) {
            if (!IsNeverCut(names[i])) widths[i] = std::min(widths[i], widest - 1);
        }
    }
}

// A pipe takes whole tables unless its user asks for less.
size_t WidthOf(std::FILE* stream)
{
    if (size_t columns = TerminalColumns(stream)) return columns;
    const char* asked = std::getenv("COLUMNS");
    return asked ? ParseNumber(asked).value_or(kNoLimit) : kNoLimit;
}

}  // namespace

std::string TextOf(const Cell& cell)
{
    if (const auto* flag = std::get_if<bool>(&cell)) return *flag ? "yes" : "no";
    if (const auto* number = std::get_if<int64_t>(&cell)) return std::to_string(*number);
    if (const auto* text = std::get_if<std::string>(&cell)) return *text;
    if (const auto* number = std::get_if<double>(&cell)) {
        char shown[32];  // the shortest text that reads back as the same number
        return {shown, std::to_chars(shown, std::end(shown), *number).ptr};
    }
    return {};
}

void Output::Put(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stream_); }

void Output::PutJsonObject(const std::vector<std::string>& names, const Row& row)
{
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (size_t i = 0; i < names.size(); ++i) object[names[i]] = JsonOf(row[i]);
    Put(object.dump());
}

void Output::Record(const std::vector<std::string>& names, const Row& row)
{
    if (format_ == Format::Json) {
        Put("[\n  ");
        PutJsonObject(names, row);
        Put("\n]\n");
        return;
    }
    size_t width = 0;
    for (const std::string& name : names) width = std::max(width, name.size());
    for (size_t i = 0; i < names.size(); ++i) {
        if (format_ == Format::Tab) {
            Put(names[i] + "\t" + ForTab(row[i]) + "\n");
        } else {
            Put(names[i] + std::string(width - names[i].size() + kColumnGap, ' ') + ForTable(row[i]) + "\n");
        }
    }
}

void Output::Value(const std::vector<std::string>& names, const Row& row, size_t shown)
{
    if (format_ == Format::Json) return Record(names, row);
    Put((format_ == Format::Tab ? ForTab(row[shown]) : TextOf(row[shown])) + "\n");
}

void Output::Remark(const std::string& text)
{
    if (format_ == Format::Table) Put(ForTable(text) + "\n");
}

void Output::Begin(std::vector<std::string> names)
{
    names_ = std::move(names);
    held_.clear();
    rows_ = 0;
    if (format_ == Format::Json) Put("[");
    if (format_ != Format::Tab) return;
    for (size_t i = 0; i < names_.size(); ++i) Put((i ? "\t" : "") + names_[i]);
    Put("\n");
}

void Output::Add(Row row)
{
    if (format_ == Format::Json) {
        Put(rows_ ? ",\n  " : "\n  ");
        PutJsonObject(names_, row);
    } else if (format_ == Format::Tab) {
        for (size_t i = 0; i < row.size(); ++i) Put((i ? "\t" : "") + ForTab(row[i]));
        Put("\n");
    } else {
        std::vector<std::string> shown;
        for (const Cell& cell : row) shown.push_back(ForTable(cell));
        held_.push_back(std::move(shown));
    }
    ++rows_;
}

void Output::End()
{
    if (format_ == Format::Json) Put(rows_ ? "\n]\n" : "]\n");
    if (format_ == Format::Table) PutTable();
}

void Output::PutTable()
{
    std::vector<std::string> headings;
    std::vector<size_t> widths, narrow;  // with the headings in full, and with them cut to their columns
    for (const std::string& name : names_) {
        headings.push_back(HeadingOf(name));
        widths.push_back(headings.back().size());
        narrow.push_back(kNarrowestColumn);
    }
    for (const auto& row : held_) {
        for (size_t i = 0; i < row.size(); ++i) {
            size_t width = CountCodePoints(row[i]);
            widths[i] = std::max(widths[i], width);
            narrow[i] = std::max(narrow[i], width);
        }
    }
    size_t columns = WidthOf(stream_);
    if (columns != kNoLimit && LineWidth(widths) > columns) {
        widths = narrow;
        FitWidths(names_, widths, columns);
    }

    auto putLine = [&](const std::vector<std::string>& cells) {
        std::string line;
        for (size_t i = 0; i < cells.size(); ++i) {
            std::string_view cut = FirstCodePoints(cells[i], widths[i]);
            line.append(cut);
            line.append(widths[i] - CountCodePoints(cut) + kColumnGap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        Put(line + "\n");
    };
    putLine(headings);
    for (const auto& row : held_) putLine(row);
}

void Output::Finish()
{
    if (std::fflush(stream_) != 0 || std::ferror(stream_)) throw Failure(ExitCode::IoError, "cannot write to standard output");
}

}  // namespace vlstore
