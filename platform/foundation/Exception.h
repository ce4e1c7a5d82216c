#pragma once

#include "platform/export.h"

#include <exception>
#include <string>

namespace Kt::Exception {

/// Root of everything that the host's libraries and this one throw: a text, and the place in the
/// source where it was thrown. The text is complete and is what a user's report will quote.
class CEL_PLATFORM_API Base : public std::exception
{
public:
    Base(const char* message, const char* file, int line)
        : message_(message)
        , file_(file)
        , line_(line)
    {
    }

    const char* what() const noexcept override { return message_.c_str(); }
    const std::string& message() const noexcept { return message_; }

    /// Source module, for example "cel\Cel". Never null, may be empty.
    const char* file() const noexcept { return file_; }
    int line() const noexcept { return line_; }

private:
    std::string message_;
    const char* file_; ///< a literal of the throwing site
    int line_;
};

/// Misuse of a model or a fault found while it runs.
class CEL_PLATFORM_API RuntimeError : public Base
{
public:
    using Base::Base;
};

} // namespace Kt::Exception
