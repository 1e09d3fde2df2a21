// Interception of ks___Abort: the hook turns a fatal or consistency check into a VenAbort
// exception that unwinds through the library back to the test.
#include <sstream>

#include "support/ven_test.hpp"

namespace ven::test
{

namespace
{

[[noreturn]] void throwVenAbort(const char* message, const char* path, int line, const char* condition)
{
    AbortRecord record;
    if (message != nullptr) {
        record.message = message;
    }
    record.path = path != nullptr ? path : "(NULL path)";
    record.line = line;
    if (condition != nullptr) {
        record.condition = condition;
    }
    throw VenAbort(std::move(record));
}

std::string quoted(const std::optional<std::string>& text)
{
    return text ? "\"" + *text + "\"" : "NULL";
}

bool sameText(const std::optional<std::string>& got, const char* expected)
{
    return got ? expected != nullptr && *got == expected : expected == nullptr;
}

} // namespace

std::string describe(const AbortRecord& record)
{
    std::ostringstream text;
    text << "ks___Abort(message " << quoted(record.message) << ", path \"" << record.path << "\", line "
         << record.line << ", condition " << quoted(record.condition) << ")";
    return text.str();
}

VenAbort::VenAbort(AbortRecord record) : record_(std::move(record)), text_(describe(record_)) {}

void installAbortHook()
{
    ksAbortSetHook(&throwVenAbort);
}

void removeAbortHook()
{
    ksAbortSetHook(nullptr);
}

::testing::AssertionResult abortedWith(const std::optional<AbortRecord>& got, const char* statement,
                                       const char* path, int line, const char* condition, const char* message)
{
    AbortRecord expected{message != nullptr ? std::optional<std::string>(message) : std::nullopt, path, line,
                         condition != nullptr ? std::optional<std::string>(condition) : std::nullopt};
    if (!got) {
        return ::testing::AssertionFailure()
               << statement << "\n  returned, but should have ended in " << describe(expected);
    }
    if (got->path == path && got->line == line && sameText(got->condition, condition) &&
        sameText(got->message, message)) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << statement << "\n  ended in " << describe(*got) << "\n  expected " << describe(expected);
}

} // namespace ven::test
