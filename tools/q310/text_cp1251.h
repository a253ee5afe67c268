// Windows-1251 <-> UTF-8 for the texts the library exchanges with its host.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace q310cli
{

// Every byte maps to a code point (0x98, unused in the code page, becomes U+FFFD).
std::string Cp1251ToUtf8(std::string_view aText);

// Nothing when the text is not valid UTF-8 or holds a character the code page has not.
std::optional<std::string> Utf8ToCp1251(std::string_view aText);

} // namespace q310cli
