#pragma once

// A minimal test harness in plain C++, so the engine's tests never pull in Qt. Tests register by
// suite; a failed check is reported and the test carries on; a Row names the current case of a
// data-driven test. The process exits non-zero on any failure, or when no test matches.

#include <cmath>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace harness {

struct Registrar
{
    Registrar(const char *suite, const char *name, std::function<void()> body);
};

void fail(const char *file, int line, const std::string &message);

// Names the current case in failure messages while it lives.
class Row
{
public:
    explicit Row(const std::string &name);
    ~Row();
    Row(const Row &) = delete;
    Row &operator=(const Row &) = delete;

private:
    std::string previous;
};

// A fresh empty folder, removed with everything in it when the object dies.
class TempFolder
{
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;
    const std::filesystem::path &path() const { return folder; }
    std::filesystem::path operator/(const std::string &name) const { return folder / name; }
    void write(const std::string &name, const std::string &content) const;

private:
    std::filesystem::path folder;
};

std::string readFile(const std::filesystem::path &path);
std::vector<std::string> lines(const std::string &text);
std::vector<std::string> words(const std::string &text);

// The rows of a table file beside the tests, one row a line: fields apart by blanks, the first
// naming the row. A field holding blanks, or nothing, is written in double quotes, inside which
// \n, \" and \\ stand for a line break, a quote and a backslash. Lines starting with "#" and
// blank lines are comments.
std::vector<std::vector<std::string>> table(const std::string &name);

template<typename T>
std::string show(const T &value)
{
    std::ostringstream out;
    out << value;
    return out.str();
}

// Functions rather than macro bodies, so each operand is evaluated exactly once.
template<typename A, typename E>
void checkEqual(const char *file, int line, const char *text, const A &actual, const E &expected)
{
    if (!(actual == expected))
        fail(file, line,
             std::string(text) + ": got " + show(actual) + ", expected " + show(expected));
}

inline void checkNear(const char *file, int line, const char *text, double actual, double expected,
                      double tolerance)
{
    if (!(std::fabs(actual - expected) <= tolerance))
        fail(file, line,
             std::string(text) + ": got " + show(actual) + ", expected " + show(expected)
                 + " within " + show(tolerance));
}

} // namespace harness

#define DEMO_TEST(suite, name) \
    static void suite##_##name(); \
    static const harness::Registrar suite##_##name##_registrar(#suite, #name, suite##_##name); \
    static void suite##_##name()

#define CHECK_MSG(condition, message) \
    ((condition) \
         ? void() \
         : harness::fail(__FILE__, __LINE__, std::string("CHECK(" #condition ") ") + (message)))
#define CHECK(condition) CHECK_MSG(condition, "")
#define CHECK_EQ(actual, expected) \
    harness::checkEqual(__FILE__, __LINE__, #actual " == " #expected, actual, expected)
#define CHECK_NEAR(actual, expected, tolerance) \
    harness::checkNear(__FILE__, __LINE__, #actual " near " #expected, actual, expected, tolerance)
