// A stand-in for the engine in tests. It records how it was started and then follows a plan,
// so a test can make it print, write files, pause, exit with a code or crash.
//
// Environment:
//   TESTENGINE_RECORD  file that receives the working folder and then each argument, one a line
//   TESTENGINE_PLAN    file of steps, one a line:
//     out TEXT      write TEXT to standard output and flush (escapes: \n \t \\ \xHH)
//     err TEXT      the same on standard error
//     sleep MS      pause
//     write PATH TEXT   create PATH holding TEXT (PATH without blanks)
//     output TEXT   write TEXT to the file named after "--output"
//     exit CODE     end with CODE
//     crash         end by an abort signal

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace {

std::string unescape(const std::string &vText)
{
    std::string result;
    for (std::size_t i = 0; i < vText.size(); ++i) {
        if (vText[i] != '\\' || i + 1 == vText.size()) {
            result += vText[i];
            continue;
        }
        const char next = vText[++i];
        if (next == 'n')
            result += '\n';
        else if (next == 't')
            result += '\t';
        else if (next == 'x' && i + 2 < vText.size()) {
            result += static_cast<char>(std::stoi(vText.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else
            result += next;
    }
    return result;
}

void crash()
{
#ifndef _WIN32
    // No core file for a crash that is asked for.
    rlimit none {0, 0};
    setrlimit(RLIMIT_CORE, &none);
#endif
    std::abort();
}

} // namespace

int main(int argc, char *argv[])
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (const char *record = std::getenv("TESTENGINE_RECORD")) {
        std::ofstream out(record, std::ios::binary);
        out << std::filesystem::current_path().string() << '\n';
        for (const std::string &argument : arguments)
            out << argument << '\n';
    }
    std::string outputFile;
    for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == "--output")
            outputFile = arguments[i + 1];
    }

    const char *planFile = std::getenv("TESTENGINE_PLAN");
    if (!planFile)
        return 0;
    std::ifstream plan(planFile, std::ios::binary);
    std::string line;
    while (std::getline(plan, line)) {
        const std::size_t blank = line.find(' ');
        const std::string step = line.substr(0, blank);
        const std::string rest
            = blank == std::string::npos ? std::string() : line.substr(blank + 1);
        if (step == "out") {
            std::fputs(unescape(rest).c_str(), stdout);
            std::fflush(stdout);
        } else if (step == "err") {
            std::fputs(unescape(rest).c_str(), stderr);
            std::fflush(stderr);
        } else if (step == "sleep") {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(rest)));
        } else if (step == "write") {
            const std::size_t split = rest.find(' ');
            std::ofstream(rest.substr(0, split), std::ios::binary)
                << unescape(split == std::string::npos ? std::string() : rest.substr(split + 1));
        } else if (step == "output") {
            std::ofstream(outputFile, std::ios::binary) << unescape(rest);
        } else if (step == "exit") {
            return std::stoi(rest);
        } else if (step == "crash") {
            crash();
        }
    }
    return 0;
}
