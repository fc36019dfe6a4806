#include "vorta/common/exceptions.h"
#include "vorta/common/serialization.h"

#include <gtest/gtest.h>

#include <exception>
#include <sstream>
#include <type_traits>

namespace {

using namespace Vorta;

TEST(Exceptions, DetailsAreEndedByAFullStop) {
    const ArgumentInvalidException error("Not enough iris values for HDR measurement", "spec.irisHDRValues");
    EXPECT_STREQ(error.what(), "Not enough iris values for HDR measurement. Invalid parameter: spec.irisHDRValues");
}

TEST(Exceptions, DetailsThatEndInAFullStopGetNoSecondOne) {
    const ArgumentInvalidException error("Not enough iris values for HDR measurement.", "spec.irisHDRValues");
    EXPECT_STREQ(error.what(), "Not enough iris values for HDR measurement. Invalid parameter: spec.irisHDRValues");
}

TEST(Exceptions, EmptyDetailsSaySo) {
    EXPECT_STREQ(ArgumentInvalidException("", "name").what(), "No error details. Invalid parameter: name");
}

TEST(Exceptions, ValueStandsInQuotes) {
    const ArgumentOutOfRangeException error("Too large", "iris", "64");
    EXPECT_STREQ(error.what(), "Too large. Invalid parameter: iris = '64'");
    EXPECT_EQ(error.parameter(), "iris");
    EXPECT_STREQ(ArgumentInvalidException("Bad", "name", "").what(), "Bad. Invalid parameter: name = ''");
}

TEST(Exceptions, NullPointer) {
    const ArgumentNullException error("cloud");
    EXPECT_STREQ(error.what(), "A valid pointer was expected, but the parameter was null. Invalid parameter: cloud");
    EXPECT_EQ(error.parameter(), "cloud");
}

TEST(Exceptions, PlainOnesKeepTheirMessage) {
    EXPECT_STREQ(LogicException("not connected").what(), "not connected");
    EXPECT_STREQ(IOException("").what(), "");
    EXPECT_STREQ(RuntimeException("LogHandler == nullptr").what(), "LogHandler == nullptr");
}

TEST(Exceptions, Hierarchy) {
    static_assert(std::is_base_of_v<std::runtime_error, Exception>);
    static_assert(std::is_base_of_v<Exception, ArgumentException>);
    static_assert(std::is_base_of_v<ArgumentException, ArgumentInvalidException>);
    static_assert(std::is_base_of_v<ArgumentException, ArgumentOutOfRangeException>);
    static_assert(std::is_base_of_v<ArgumentException, ArgumentNullException>);
    static_assert(std::is_base_of_v<Exception, LogicException>);
    static_assert(std::is_base_of_v<Exception, IOException>);
    static_assert(std::is_base_of_v<Exception, RuntimeException>);
    // Siblings stay apart, so that one can be caught without the other.
    static_assert(!std::is_base_of_v<ArgumentInvalidException, ArgumentOutOfRangeException>);
    static_assert(!std::is_base_of_v<LogicException, IOException>);
}

TEST(Exceptions, CanBeCarriedToAnotherThread) {
    const std::exception_ptr carried = std::make_exception_ptr(ArgumentInvalidException("Bad", "name", "x"));
    try {
        std::rethrow_exception(carried);
        FAIL() << "nothing was thrown";
    } catch (const ArgumentException& error) {
        EXPECT_STREQ(error.what(), "Bad. Invalid parameter: name = 'x'");
        EXPECT_EQ(error.parameter(), "name");
    }
}

TEST(Exceptions, WriteTheirMessageToAStream) {
    using Vorta::Serialization::operator<<;
    std::ostringstream out;
    out << static_cast<const std::exception&>(IOException("no such file"));
    EXPECT_EQ(out.str(), "no such file");
}

} // namespace
