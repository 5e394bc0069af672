#include "commandline.h"
#include "engine.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const CommandLine commandLine = CommandLine::parse(arguments);
    switch (commandLine.action) {
    case CommandLine::Action::Help:
        std::cout << CommandLine::usage();
        return 0;
    case CommandLine::Action::Version:
        std::cout << "tovrel-demo " << Engine::version() << '\n';
        return 0;
    case CommandLine::Action::UsageError:
        std::cerr << "ERROR: " << commandLine.error << "\n\n" << CommandLine::usage();
        return 2;
    case CommandLine::Action::Run:
        break;
    }
    Engine engine(std::cout, std::cerr);
    return engine.run(commandLine);
}
