// What a verb found, in the form that was asked for.
//
// table  for a person: columns cut to the width of the terminal, or to the one that COLUMNS asks for, and whole without either;
//        control characters shown as blanks, nothing decoded
// tab    for a shell: a line of names, then a line a row; "\t", "\n", "\r" and "\\" stand for what would break a line
// json   for a program: an array of objects, valid UTF-8; text as strings, counts as numbers, what is absent as null
#ifndef VLSTORE_OUTPUT_H
#define VLSTORE_OUTPUT_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <variant>
#include <vector>

namespace vlstore {

enum class Format { Table, Json, Tab };

// A value: absent, yes or no, a number, or text in whatever bytes the store holds.
using Cell = std::variant<std::monostate, bool, int64_t, double, std::string>;

// A value as a line of text: "yes", "12", "0.5"; empty when it is absent.
std::string TextOf(const Cell& cell);
using Row = std::vector<Cell>;

class Output {
public:
    // `stream` stays the caller's.
    Output(std::FILE* stream, Format format) : stream_(stream), format_(format) {}

    Format GetFormat() const { return format_; }

    // One object: in a table, and in tab form, a line for each name.
    void Record(const std::vector<std::string>& names, const Row& row);
    // A bare value for a shell to take up; an array with one object in JSON, with all of `row`.
    void Value(const std::vector<std::string>& names, const Row& row, size_t shown);
    // A line for a person; nothing in the other forms.
    void Remark(const std::string& text);

    // Rows under one heading. A table is held back until End, for its widths; the other forms go out row by row.
    void Begin(std::vector<std::string> names);
    void Add(Row row);
    void End();

    // Flushes, and throws Failure when anything could not be written.
    void Finish();

private:
    void Put(const std::string& text);
    void PutJsonObject(const std::vector<std::string>& names, const Row& row);
    void PutTable();

    std::FILE* stream_;
    Format format_;
    std::vector<std::string> names_;
    std::vector<std::vector<std::string>> held_;  // cells of a table, as shown
    size_t rows_ = 0;
};

}  // namespace vlstore

#endif
