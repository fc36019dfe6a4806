#pragma once

#include "vorta/common/export.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace Vorta {

/// Root of every failure that the camera library and the application report.
///
/// `what()` is a whole sentence for the user: what failed, on which file or value, why, and where it helps what to do.
class VORTA_COMMON_EXPORT Exception : public std::runtime_error {
public:
    explicit Exception(const std::string& message);
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    ~Exception() override;
};

/// A caller handed over something unusable.
///
/// The message is the details, ended by a full stop ("No error details." when there are none), followed by
/// " Invalid parameter: " and the parameter's name, with its value in quotes when one is given.
class VORTA_COMMON_EXPORT ArgumentException : public Exception {
public:
    ArgumentException(std::string_view details, std::string_view parameter);
    ArgumentException(std::string_view details, std::string_view parameter, std::string_view value);
    ArgumentException(const ArgumentException&) = default;
    ArgumentException& operator=(const ArgumentException&) = default;
    ~ArgumentException() override;

    [[nodiscard]] const std::string& parameter() const noexcept { return parameter_; }

private:
    std::string parameter_;
};

/// An argument whose value cannot be used.
class VORTA_COMMON_EXPORT ArgumentInvalidException : public ArgumentException {
public:
    using ArgumentException::ArgumentException;
    ArgumentInvalidException(const ArgumentInvalidException&) = default;
    ArgumentInvalidException& operator=(const ArgumentInvalidException&) = default;
    ~ArgumentInvalidException() override;
};

/// An argument of the right kind that lies outside its permitted range.
class VORTA_COMMON_EXPORT ArgumentOutOfRangeException : public ArgumentException {
public:
    using ArgumentException::ArgumentException;
    ArgumentOutOfRangeException(const ArgumentOutOfRangeException&) = default;
    ArgumentOutOfRangeException& operator=(const ArgumentOutOfRangeException&) = default;
    ~ArgumentOutOfRangeException() override;
};

/// A null pointer or an empty handle where an object is required.
class VORTA_COMMON_EXPORT ArgumentNullException : public ArgumentException {
public:
    explicit ArgumentNullException(std::string_view parameter);
    ArgumentNullException(const ArgumentNullException&) = default;
    ArgumentNullException& operator=(const ArgumentNullException&) = default;
    ~ArgumentNullException() override;
};

/// An operation called in a state that does not allow it.
class VORTA_COMMON_EXPORT LogicException : public Exception {
public:
    using Exception::Exception;
    LogicException(const LogicException&) = default;
    LogicException& operator=(const LogicException&) = default;
    ~LogicException() override;
};

/// A file or device that cannot be read or written.
class VORTA_COMMON_EXPORT IOException : public Exception {
public:
    using Exception::Exception;
    IOException(const IOException&) = default;
    IOException& operator=(const IOException&) = default;
    ~IOException() override;
};

/// A failure that only running could show, for instance a camera that vanished.
class VORTA_COMMON_EXPORT RuntimeException : public Exception {
public:
    using Exception::Exception;
    RuntimeException(const RuntimeException&) = default;
    RuntimeException& operator=(const RuntimeException&) = default;
    ~RuntimeException() override;
};

} // namespace Vorta
