#pragma once

// A minimal test harness: plain C++, no dependencies, so the engine's tests never pull in Qt.
// Tests register themselves by suite; checks record a failure and carry on; data-driven tests
// label each row with a Row so a failure names the case. The process exits non-zero on any
// failure, or when the suite filter matches no test.

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

// Names the current case of a data-driven test in failure messages while it lives.
class Row
{
public:
    explicit Row(std::string name);
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

template<typename T>
std::string show(const T &value)
{
    std::ostringstream out;
    out << value;
    return out.str();
}

} // namespace harness

#define DEMO_TEST(suite, name) \
    static void suite##_##name(); \
    static const harness::Registrar suite##_##name##_registrar(#suite, #name, suite##_##name); \
    static void suite##_##name()

#define CHECK(condition) \
    do { \
        if (!(condition)) \
            harness::fail(__FILE__, __LINE__, "CHECK(" #condition ")"); \
    } while (0)

#define CHECK_MSG(condition, message) \
    do { \
        if (!(condition)) \
            harness::fail(__FILE__, __LINE__, std::string("CHECK(" #condition "): ") + (message)); \
    } while (0)

#define CHECK_EQ(actual, expected) \
    do { \
        const auto &actualValue = (actual); \
        const auto &expectedValue = (expected); \
        if (!(actualValue == expectedValue)) \
            harness::fail(__FILE__, __LINE__, \
                          std::string(#actual " == " #expected ": got ") \
                              + harness::show(actualValue) + ", expected " \
                              + harness::show(expectedValue)); \
    } while (0)

#define CHECK_NEAR(actual, expected, tolerance) \
    do { \
        const double actualValue = (actual); \
        const double expectedValue = (expected); \
        if (!(std::fabs(actualValue - expectedValue) <= (tolerance))) \
            harness::fail(__FILE__, __LINE__, \
                          std::string(#actual " near " #expected ": got ") \
                              + harness::show(actualValue) + ", expected " \
                              + harness::show(expectedValue) + " within " \
                              + harness::show(tolerance)); \
    } while (0)
