// The functions a shared library exports, read from its dynamic symbol table, so that a sweep
// can prove it has a row for each.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace ven::test
{

// The defined global functions whose names start with `prefix`, of the library that holds `address`.
std::set<std::string> exportedFunctions(const void* address, std::string_view prefix);

} // namespace ven::test
