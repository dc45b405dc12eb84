#include "Message.h"

#include <cstdio>

#include "Text.h"

namespace vlstore {

namespace {

std::string WithoutControls(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        size_t length = Utf8SequenceLength(text);
        std::string_view piece = text.substr(0, length ? length : 1);
        if (piece == "\n" || piece == "\r") {
            shown += ' ';
        } else if (IsControl(piece)) {
            char escape[sizeof "\\x00"];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(piece.back())));
            shown += escape;
        } else {
            shown += piece;
        }
        text.remove_prefix(piece.size());
    }
    return shown;
}

}  // namespace

void PutMessage(const std::string& text) { std::fprintf(stderr, "vlstore: %s\n", WithoutControls(text).c_str()); }

}  // namespace vlstore
