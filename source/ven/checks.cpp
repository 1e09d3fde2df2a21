// The process stop behind every fatal check of the library.
#include "ven/checks.hpp"

#include "ks/ks.h"

namespace ven
{

void stopOnCondition(const char* path, int line, const char* condition)
{
    ks___Abort(nullptr, path, line, condition);
}

void stopOnMessage(const char* path, int line, const char* message)
{
    ks___Abort(message, path, line, nullptr);
}

} // namespace ven
