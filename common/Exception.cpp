#include "common/Exception.h"

#include <utility>

namespace velmora {

Exception::Exception(std::string message, std::string source, uint32_t line)
    : message_(std::move(message)), source_(std::move(source)), line_(line), formatted_(Exception::Format())
{
}

std::string Exception::Format() const
{
    std::string text;
    if (!message_.empty()) text = message_ + " ";
    if (source_.empty()) return text;
    text += "(" + source_;
    if (line_ > 0) text += ":" + std::to_string(line_);
    return text + ")";
}

}  // namespace velmora
