// Interception of ks___Abort: the hook throws what it received, so that a fatal or consistency
// check unwinds through the library back to the test.
#include "support/ven_test.hpp"

namespace ven::test
{

namespace
{

std::optional<std::string> textOrNull(const char* text)
{
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

std::string quoted(const std::optional<std::string>& text)
{
    return text ? "\"" + *text + "\"" : "NULL";
}

} // namespace

AbortRecord::AbortRecord(const char* message, const char* path, int line, const char* condition)
    : message(textOrNull(message)), path(path != nullptr ? path : "(NULL path)"), line(line),
      condition(textOrNull(condition)),
      text("ks___Abort(message " + quoted(this->message) + ", path \"" + this->path + "\", line " +
           std::to_string(line) + ", condition " + quoted(this->condition) + ")")
{
}

void installAbortHook()
{
    ksAbortSetHook([](const char* message, const char* path, int line, const char* condition) {
        throw AbortRecord(message, path, line, condition);
    });
}

::testing::AssertionResult abortedWith(const std::optional<AbortRecord>& got, const char* statement,
                                       const char* path, int line, const char* condition, const char* message)
{
    const std::string expected = AbortRecord(message, path, line, condition).text;
    if (!got) {
        return ::testing::AssertionFailure()
               << statement << "\n  returned, but should have ended in " << expected;
    }
    if (got->text == expected) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << statement << "\n  ended in " << got->text << "\n  expected " << expected;
}

} // namespace ven::test
