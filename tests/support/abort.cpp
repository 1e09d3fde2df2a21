// Interception of ks___Abort: the hook turns a fatal or consistency check into a VenAbort
// exception that unwinds through the library back to the test.
#include "support/ven_test.hpp"

namespace ven::test
{

namespace
{

std::optional<std::string> textOrNull(const char* text)
{
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

[[noreturn]] void throwVenAbort(const char* message, const char* path, int line, const char* condition)
{
    throw VenAbort(
        {textOrNull(message), path != nullptr ? path : "(NULL path)", line, textOrNull(condition)});
}

std::string quoted(const std::optional<std::string>& text)
{
    return text ? "\"" + *text + "\"" : "NULL";
}

std::string describe(const AbortRecord& record)
{
    return "ks___Abort(message " + quoted(record.message) + ", path \"" + record.path + "\", line " +
           std::to_string(record.line) + ", condition " + quoted(record.condition) + ")";
}

} // namespace

VenAbort::VenAbort(AbortRecord record) : record_(std::move(record)), text_(describe(record_)) {}

void installAbortHook()
{
    ksAbortSetHook(&throwVenAbort);
}

::testing::AssertionResult abortedWith(const std::optional<AbortRecord>& got, const char* statement,
                                       const char* path, int line, const char* condition, const char* message)
{
    AbortRecord expected{textOrNull(message), path, line, textOrNull(condition)};
    if (!got) {
        return ::testing::AssertionFailure()
               << statement << "\n  returned, but should have ended in " << describe(expected);
    }
    if (describe(*got) == describe(expected)) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << statement << "\n  ended in " << describe(*got) << "\n  expected " << describe(expected);
}

} // namespace ven::test
