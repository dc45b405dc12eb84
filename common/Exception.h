// The exception that the library throws on purpose: a text and the place for the log.
#ifndef VELMORA_COMMON_EXCEPTION_H
#define VELMORA_COMMON_EXCEPTION_H

#include <cstdint>
#include <exception>
#include <string>

#include "platform/ComError.h"

namespace velmora {

class Exception : public std::exception {
public:
    explicit Exception(std::string message, std::string source = {}, uint32_t line = 0);
    ~Exception() override = default;

    virtual std::string Message() const { return message_; }
    virtual std::string Source() const { return source_; }
    virtual uint32_t Line() const { return line_; }

    // "message (source:line)". The message and its blank stand only when there is a message, the bracket only when
    // there is a source, the line only when it is above 0.
    virtual std::string Format() const;

    // The formatted text, valid as long as the exception.
    const char* what() const noexcept override { return formatted_.c_str(); }

private:
    std::string message_;
    std::string source_;
    uint32_t line_;
    std::string formatted_;
};

}  // namespace velmora

#endif
