#include "vorta/common/exceptions.h"

namespace Vorta {

namespace {

std::string composeMessage(std::string_view details, const std::string& parameterText) {
    std::string message{details.empty() ? "No error details." : details};
    if (!message.ends_with('.'))
        message += '.';
    return message + " Invalid parameter: " + parameterText;
}

std::string withValue(std::string_view parameter, std::string_view value) {
    return std::string{parameter} + " = '" + std::string{value} + "'";
}

} // namespace

Exception::Exception(const std::string& message) : std::runtime_error(message) {}

ArgumentException::ArgumentException(std::string_view details, std::string_view parameter)
    : Exception(composeMessage(details, std::string{parameter})), parameter_(parameter) {}

ArgumentException::ArgumentException(std::string_view details, std::string_view parameter, std::string_view value)
    : Exception(composeMessage(details, withValue(parameter, value))), parameter_(parameter) {}

ArgumentNullException::ArgumentNullException(std::string_view parameter)
    : ArgumentException("A valid pointer was expected, but the parameter was null.", parameter) {}

// Defined here so that each class has one home for its type information, whichever library throws it.
Exception::~Exception() = default;
ArgumentException::~ArgumentException() = default;
ArgumentInvalidException::~ArgumentInvalidException() = default;
ArgumentOutOfRangeException::~ArgumentOutOfRangeException() = default;
ArgumentNullException::~ArgumentNullException() = default;
LogicException::~LogicException() = default;
IOException::~IOException() = default;
RuntimeException::~RuntimeException() = default;

} // namespace Vorta
