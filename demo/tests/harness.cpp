#include "harness.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <random>

namespace harness {

namespace {

struct Test
{
    std::string suite;
    std::string name;
    std::function<void()> body;
};

std::vector<Test> &tests()
{
    static std::vector<Test> all;
    return all;
}

int failures = 0;
std::string rowName;

} // namespace

Registrar::Registrar(const char *suite, const char *name, std::function<void()> body)
{
    tests().push_back({suite, name, std::move(body)});
}

void fail(const char *file, int line, const std::string &message)
{
    ++failures;
    std::cerr << "FAIL " << file << ":" << line << ": "
              << (rowName.empty() ? "" : "[" + rowName + "] ") << message << std::endl;
}

Row::Row(const std::string &name)
    : previous(rowName)
{
    rowName = previous.empty() ? name : previous + " / " + name;
}

Row::~Row()
{
    rowName = previous;
}

TempFolder::TempFolder()
{
    // Suites run as parallel processes; creating the folder is what claims its name.
    std::random_device random;
    do
        folder = std::filesystem::temp_directory_path()
            / ("tovrel-demo-test-" + std::to_string(random()));
    while (!std::filesystem::create_directory(folder));
}

TempFolder::~TempFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

void TempFolder::write(const std::string &name, const std::string &content) const
{
    std::ofstream(folder / name, std::ios::binary) << content;
}

std::string readFile(const std::filesystem::path &path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::vector<std::string> lines(const std::string &text)
{
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

std::vector<std::string> words(const std::string &text)
{
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string word; in >> word;)
        result.push_back(word);
    return result;
}

std::vector<std::vector<std::string>> table(const std::string &name)
{
    std::vector<std::vector<std::string>> rows;
    for (const std::string &line :
         lines(readFile(std::filesystem::path(TOVREL_DEMO_TESTS) / name))) {
        if (line.find_first_not_of(' ') == std::string::npos || line[0] == '#')
            continue;
        std::vector<std::string> fields;
        for (std::size_t i = line.find_first_not_of(' '); i < line.size();
             i = line.find_first_not_of(' ', i)) {
            std::string field;
            if (line[i] != '"') {
                const std::size_t end = std::min(line.find(' ', i), line.size());
                field = line.substr(i, end - i);
                i = end;
            } else {
                for (++i; i < line.size() && line[i] != '"'; ++i)
                    field += line[i] == '\\' && ++i < line.size()
                        ? (line[i] == 'n' ? '\n' : line[i])
                        : line[i];
                ++i;
            }
            fields.push_back(field);
        }
        rows.push_back(fields);
    }
    if (rows.empty())
        fail(__FILE__, __LINE__, "no rows in " + name);
    return rows;
}

} // namespace harness

// Usage: tovrel-demo-tests [SUITE]  runs every test, or those of one suite.
int main(int argc, char **argv)
{
    const std::string only = argc > 1 ? argv[1] : "";
    int ran = 0;
    for (const auto &test : harness::tests()) {
        if (!only.empty() && test.suite != only)
            continue;
        const int before = harness::failures;
        try {
            test.body();
        } catch (const std::exception &error) {
            harness::fail(__FILE__, __LINE__, std::string("unexpected exception: ") + error.what());
        }
        ++ran;
        std::cout << (harness::failures == before ? "PASS " : "FAIL ") << test.suite << "."
                  << test.name << std::endl;
    }
    std::cout << ran << " tests matching \"" << only << "\", " << harness::failures
              << " failed checks" << std::endl;
    return ran > 0 && harness::failures == 0 ? 0 : 1;
}
