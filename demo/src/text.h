#pragma once

#include <string>
#include <string_view>
#include <vector>

#if defined(__GNUC__)
#define TEXT_PRINTF_LIKE __attribute__((format(printf, 1, 2)))
#else
#define TEXT_PRINTF_LIKE
#endif

// Small string helpers shared by the script and data readers and the report.
class Text
{
public:
    static std::string trim(std::string_view text);
    static std::string upper(std::string_view text);
    static std::string lower(std::string_view text);
    static bool equalNoCase(std::string_view a, std::string_view b);
    // Splits at runs of any of the separator characters; empty pieces are dropped.
    static std::vector<std::string> tokens(std::string_view text, std::string_view separators);
    // A variable name: a letter or "_" first, then letters, digits, "_" or "."; letters include
    // any non-ASCII UTF-8 character.
    static bool isName(std::string_view text);
    static bool parseInteger(std::string_view text, long long &value);
    static bool parseUnsigned(std::string_view text, unsigned long long &value);
    // A finite number in the C locale's notation, whatever the user's locale is.
    static bool parseNumber(std::string_view text, double &value);
    // printf-style formatting into a std::string.
    static std::string format(const char *pattern, ...) TEXT_PRINTF_LIKE;
};
