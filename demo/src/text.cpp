#include "text.h"

#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>

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
    auto letter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
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
    if (!text.empty() && text[0] == '+')
        text.remove_prefix(1);
    const auto end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return !text.empty() && result.ec == std::errc() && result.ptr == end;
}

bool Text::parseUnsigned(std::string_view text, unsigned long long &value)
{
    if (!text.empty() && text[0] == '+')
        text.remove_prefix(1);
    const auto end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return !text.empty() && result.ec == std::errc() && result.ptr == end;
}

bool Text::parseNumber(std::string_view text, double &value)
{
    if (!text.empty() && text[0] == '+')
        text.remove_prefix(1);
    const auto end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return !text.empty() && result.ec == std::errc() && result.ptr == end && std::isfinite(value);
}

std::string Text::format(const char *pattern, ...)
{
    char buffer[256];
    va_list args;
    va_start(args, pattern);
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(buffer, sizeof buffer, pattern, args);
    va_end(args);
    std::string result;
    if (needed < 0) {
        va_end(copy);
        return result;
    }
    if (static_cast<std::size_t>(needed) < sizeof buffer) {
        result.assign(buffer, static_cast<std::size_t>(needed));
    } else {
        result.resize(static_cast<std::size_t>(needed) + 1);
        std::vsnprintf(result.data(), result.size(), pattern, copy);
        result.resize(static_cast<std::size_t>(needed));
    }
    va_end(copy);
    return result;
}
