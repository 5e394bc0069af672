#include "text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace {

// The whole text as one number of type T; a leading "+" is allowed, as users write it.
template<typename T>
bool parseWhole(std::string_view text, T &value)
{
    if (!text.empty() && text[0] == '+')
        text.remove_prefix(1);
    const auto end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return !text.empty() && result.ec == std::errc() && result.ptr == end;
}

} // namespace

std::string Text::trim(std::string_view text)
{
    const char *blanks = " \t\r\n\f\v";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    const auto last = text.find_last_not_of(blanks);
    return std::string(text.substr(first, last - first + 1));
}

std::string Text::upper(std::string_view text)
{
    std::string result(text);
    for (char &c : result)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return result;
}

std::string Text::lower(std::string_view text)
{
    std::string result(text);
    for (char &c : result)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return result;
}

bool Text::equalNoCase(std::string_view a, std::string_view b)
{
    return upper(a) == upper(b);
}

std::vector<std::string> Text::tokens(std::string_view text, std::string_view separators)
{
    std::vector<std::string> result;
    std::size_t pos = 0;
    while (pos < text.size()) {
        const auto start = text.find_first_not_of(separators, pos);
        if (start == std::string_view::npos)
            break;
        auto end = text.find_first_of(separators, start);
        if (end == std::string_view::npos)
            end = text.size();
        result.emplace_back(text.substr(start, end - start));
        pos = end;
    }
    return result;
}

bool Text::isName(std::string_view text)
{
    if (text.empty())
        return false;
    // Bytes of UTF-8 sequences count as letters, so names such as "größe" are accepted.
    auto letter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'
            || static_cast<unsigned char>(c) >= 0x80;
    };
    if (!letter(text[0]))
        return false;
    for (char c : text)
        if (!letter(c) && !(c >= '0' && c <= '9') && c != '.')
            return false;
    return true;
}

bool Text::parseInteger(std::string_view text, long long &value)
{
    return parseWhole(text, value);
}

bool Text::parseUnsigned(std::string_view text, unsigned long long &value)
{
    return parseWhole(text, value);
}

bool Text::parseNumber(std::string_view text, double &value)
{
    return parseWhole(text, value) && std::isfinite(value);
}

std::string Text::format(const char *pattern, ...)
{
    va_list args;
    va_start(args, pattern);
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(nullptr, 0, pattern, args);
    va_end(args);
    std::string result(static_cast<std::size_t>(std::max(needed, 0)), '\0');
    // The terminating NUL goes into the string's own terminator.
    if (needed > 0)
        std::vsnprintf(result.data(), result.size() + 1, pattern, copy);
    va_end(copy);
    return result;
}
